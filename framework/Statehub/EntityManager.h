// The central store: small entities by path that outlive the process. An entity is a node; what persists of
// it is one u64. The store does not know entity types: a type registers under its name how a node is made
// around its persisted value, and the value it was given tells the store of each change at once. Values live
// in a collection of the shared store, owned by the agent. All managers of a process look into that one
// collection and share the entities made around its values, until StoreRoot::release(): the system name and
// the local flag tell handles apart, not stores. Agent's thread.
#pragma once

#include <cstdint>
#include <map>
#include <utility>

#include "Cobble/Export.h"
#include "Pivot/Node.h"
#include "Pivot/Status.h"

namespace Statehub {

class PersistedValue;

// Where persisted values go.
class LOAM_FRAMEWORK_EXPORT ValueStore {
 public:
  virtual void saveValue(PersistedValue const& value) = 0;

 protected:
  ~ValueStore() = default;
};

// The persisted number of one entity.
class LOAM_FRAMEWORK_EXPORT PersistedValue : public Pivot::Node {
 public:
  PersistedValue(Pivot::String path, Pivot::String typeName)
      : path_(std::move(path)), typeName_(std::move(typeName)) {}
  ~PersistedValue() override;

  Pivot::String const& path() const { return path_; }
  Pivot::String const& typeName() const { return typeName_; }
  std::uint64_t value() const { return value_; }
  // Kept at once: a process killed after this returns has the new value in its next life, one killed within
  // it the old or the new one. After StoreRoot::release() it is kept no more.
  void valueIs(std::uint64_t value);

 private:
  friend class EntityStore;
  Pivot::String path_;
  Pivot::String typeName_;
  ValueStore* store_ = nullptr;  // null once the store has gone
  std::uint64_t value_ = 0;
};

class EntityStore;

// Makes the entity around its value; never null.
using EntityFactory = Pivot::Ptr<Pivot::Node> (*)(Pivot::Ptr<PersistedValue> const& value);

// Before the first entity of the type is asked for; registering again replaces. A type name has 1 to 63
// bytes.
LOAM_FRAMEWORK_EXPORT void typeRegister(Pivot::String const& typeName, EntityFactory factory);

class LOAM_FRAMEWORK_EXPORT EntityManager : public Pivot::Node {
 public:
  EntityManager(Pivot::String systemName, bool local);
  ~EntityManager() override;
  Pivot::TypeData typeData() const override;

  Pivot::String const& systemName() const { return systemName_; }
  bool local() const { return local_; }

  // The entity of a path: one of this life, or one that an earlier life made, with the value that it had.
  // Null if there is none, or if no type of its name is registered (traced at level 1).
  Pivot::Ptr<Pivot::Node> getEntity(Pivot::String const& path);
  // The entity of a path, made with value 0 if there is none. Null, traced at level 1: a type that is not
  // registered, a path of more than 239 bytes, or no room in the store. A path that another type holds: that
  // entity.
  Pivot::Ptr<Pivot::Node> entityIs(Pivot::String const& path, Pivot::String const& typeName);
  // An entity of this life and of this manager only; null takes it away. A persisted value of the path, and the
  // entity around it, stay.
  void entityIs(Pivot::String const& path, Pivot::Ptr<Pivot::Node> const& entity);

 private:
  Pivot::Ptr<EntityStore> openStore();

  Pivot::String systemName_;
  bool local_;
  std::map<Pivot::String, Pivot::Ptr<Pivot::Node>> entities_;
};

}  // namespace Statehub
