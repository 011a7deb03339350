// The shared store by path: what the agent mounts and finds again. A collection type registers under its name
// how an object of it is mounted; a mount makes the object, which stays in the table of the process until
// StoreRoot::release(). All managers of a process look into that one table: the system name and the local
// flag tell handles apart, not stores. Agent's thread.
#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "Cobble/Export.h"
#include "Pivot/Node.h"
#include "Pivot/Status.h"
#include "Shoal/CollectionSpec.h"
#include "Shoal/MountInfo.h"

namespace VexSharedMem {

enum class VexSharedMemType : std::uint32_t { collection = 1 };

// Makes and mounts an object of a collection type. Null with a refused status if the mount was refused.
using TypeFactory = Pivot::Ptr<Pivot::Node> (*)(Shoal::CollectionSpec const& spec, Pivot::Status& status);

// `storeCapacity`: records that the store takes of this type when that is more than the client's maximum; 0 =
// the maximum. Before the first mount; registering again replaces.
LOAM_FRAMEWORK_EXPORT void typeRegister(std::string const& typeName, TypeFactory factory,
                                        std::uint32_t storeCapacity = 0);

// The factory of a node type T that is default-constructible and gives its Shoal::ShoalMapBase& from
// shoalMap().
template <class T>
Pivot::Ptr<Pivot::Node> mountedNode(Shoal::CollectionSpec const& spec, Pivot::Status& status) {
  Pivot::Ptr<T> node = Pivot::make<T>();
  status = node->shoalMap().mount(spec);
  return status ? Pivot::Ptr<Pivot::Node>(node) : nullptr;
}

template <class T>
void typeRegister(std::string const& typeName, std::uint32_t storeCapacity = 0) {
  typeRegister(typeName, &mountedNode<T>, storeCapacity);
}

// What exists below a path: each path with its number of records (0 if the file is lost or can't be read).
class LOAM_FRAMEWORK_EXPORT ShmemEntities : public Pivot::Node {
 public:
  ~ShmemEntities() override;

  using Count = std::map<Pivot::String, std::uint32_t>;
  Count const& count() const { return count_; }
  std::uint32_t size() const { return static_cast<std::uint32_t>(count_.size()); }

 private:
  friend class EntityManager;
  Count count_;
};

class LOAM_FRAMEWORK_EXPORT MountGroup : public Pivot::Node {
 public:
  ~MountGroup() override;

  // Opens or makes the collection at once; a path that is mounted already stays as it is. Refused, also
  // traced at level 1: an unknown type, a mount of another type or size, or what ShoalMapBase::mount refuses.
  // The agent's role is claimed if no one has.
  Pivot::Status mount(Pivot::String const& path, Pivot::String const& typeName,
                      VexShoal::MountInfo const& info);
  // The mounts are done when they return; this ends the group.
  void doClose() {}
};

class LOAM_FRAMEWORK_EXPORT EntityManager : public Pivot::Node {
 public:
  EntityManager(Pivot::String systemName, bool local);
  ~EntityManager() override;

  // The handle of that name and flag; always the same one.
  static Pivot::Ptr<EntityManager> getEntityManager(Pivot::String const& systemName, bool local);

  Pivot::String const& systemName() const { return systemName_; }
  bool local() const { return local_; }
  Pivot::Ptr<MountGroup> getMountGroup();
  // The mounted object, null if nothing is mounted there.
  Pivot::Ptr<Pivot::Node> getEntity(Pivot::String const& path) const;
  // The collections below a path, mounted or not, the path itself excluded, in ascending order; also one that
  // exists no more but was never given up.
  Pivot::Ptr<ShmemEntities> findEntities(
      Pivot::String const& path,
      std::uint32_t type = static_cast<std::uint32_t>(VexSharedMemType::collection)) const;
  Pivot::Ptr<ShmemEntities> findEntities(Pivot::String const& path, VexSharedMemType type) const {
    return findEntities(path, static_cast<std::uint32_t>(type));
  }

  // Drops the table of mounted objects (StoreRoot::release calls it).
  static void unmountAll();

 private:
  Pivot::String systemName_;
  bool local_;
};

}  // namespace VexSharedMem
