#include "Shoal/EntityManager.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "Shoal/CheckedWord.h"
#include "Shoal/RootDirectory.h"
#include "Shoal/StoreRoot.h"
#include "Vex/Trace.h"

namespace VexSharedMem {
namespace {

Vex::TraceHandle traceHandle("SharedMem");

struct Type {
  TypeFactory factory;
  std::uint32_t storeCapacity;
};

struct Mounted {
  std::string typeName;
  Shoal::CollectionSpec spec;
  Pivot::Ptr<Pivot::Node> entity;
};

// Types are registered by static initialisers, so their table is made when first asked for.
std::map<std::string, Type>& types() {
  static std::map<std::string, Type> table;
  return table;
}

std::map<std::string, Mounted>& mounted() {
  static std::map<std::string, Mounted> table;
  return table;
}

Pivot::Status mountNew(Shoal::CollectionSpec const& spec, std::string const& typeName, TypeFactory factory) {
  Pivot::Status status = StoreRoot::claim(spec.role);
  if (!status) return status;
  Pivot::Ptr<Pivot::Node> entity = factory(spec, status);
  if (status) mounted()[spec.path] = {typeName, spec, std::move(entity)};
  return status;
}

// The number of records that a file tells of itself; 0 if it is gone or can't be read. Its type is not known
// here, so nothing is mapped.
std::uint32_t countOf(std::string const& path) {
  int error = 0;
  Shoal::Descriptor const file = Shoal::openFileOf(path, false, error);
  Shoal::FileHeader header;
  if (!file.isOpen() || ::pread(file.get(), static_cast<void*>(&header), sizeof(header), 0) != sizeof(header))
    return 0;
  std::uint64_t const word = header.control.liveCount.load(std::memory_order_relaxed);
  bool const whole =
      Shoal::CheckedWord::valid(word, Shoal::WordPlace::liveCount, Shoal::saltOf(header.fixed.incarnation));
  return whole ? Shoal::CheckedWord::payload(word) : 0;
}

}  // namespace

void typeRegister(std::string const& typeName, TypeFactory factory, std::uint32_t storeCapacity) {
  types()[typeName] = {factory, storeCapacity};
}

ShmemEntities::~ShmemEntities() = default;
MountGroup::~MountGroup() = default;
EntityManager::~EntityManager() = default;

Pivot::Status MountGroup::mount(Pivot::String const& path, Pivot::String const& typeName,
                                VexShoal::MountInfo const& info) {
  auto const refuse = [&](std::string why) {
    VEX_TRACE(traceHandle, 1, "mount of '{}' refused: {}", path, why);
    return Pivot::Status::refused(std::move(why));
  };
  auto const type = types().find(typeName);
  if (type == types().end()) return refuse(fmt::format("type '{}' is not registered", typeName));
  if (info.type() != 0 || info.flag() != 0)
    return refuse(fmt::format("mount type {} with flag {}, expected 0 and 0", info.type(), info.flag()));
  Shoal::CollectionSpec const spec{path, info.maxEntries(),
                                   std::max(type->second.storeCapacity, info.maxEntries()),
                                   StoreRoot::Role::agent};
  if (auto const found = mounted().find(path); found != mounted().end()) {
    Mounted const& have = found->second;
    if (have.typeName != typeName || have.spec.capacity != spec.capacity)
      return refuse(fmt::format("mounted as '{}' for {} records, asked for '{}' for {}", have.typeName,
                                have.spec.capacity, typeName, spec.capacity));
    return Pivot::Status::ok();
  }
  Pivot::Status const status = mountNew(spec, typeName, type->second.factory);
  return status ? status : refuse(status.message());
}

EntityManager::EntityManager(Pivot::String systemName, bool local)
    : systemName_(std::move(systemName)), local_(local) {}

Pivot::Ptr<EntityManager> EntityManager::getEntityManager(Pivot::String const& systemName, bool local) {
  static std::map<std::pair<Pivot::String, bool>, Pivot::Ptr<EntityManager>> managers;
  Pivot::Ptr<EntityManager>& manager = managers[{systemName, local}];
  if (manager == nullptr) manager = Pivot::make<EntityManager>(systemName, local);
  return manager;
}

Pivot::Ptr<MountGroup> EntityManager::getMountGroup() {
  return Pivot::make<MountGroup>();
}

Pivot::Ptr<Pivot::Node> EntityManager::getEntity(Pivot::String const& path) const {
  auto const found = mounted().find(path);
  return found != mounted().end() ? found->second.entity : nullptr;
}

Pivot::Ptr<ShmemEntities> EntityManager::findEntities(Pivot::String const& path, std::uint32_t type) const {
  Pivot::Ptr<ShmemEntities> entities = Pivot::make<ShmemEntities>();
  if (type != static_cast<std::uint32_t>(VexSharedMemType::collection)) return entities;
  for (std::string const& below : StoreRoot::list(path)) entities->count_[below] = countOf(below);
  return entities;
}

void EntityManager::unmountAll() {
  mounted().clear();
}

}  // namespace VexSharedMem
