#include "Statehub/EntityManager.h"

#include <array>
#include <cstring>
#include <utility>

#include "Shoal/Mounted.h"
#include "Shoal/ReportedReads.h"
#include "Statehub/EntityShoal.h"
#include "Vex/Trace.h"

namespace Statehub {
namespace {

Vex::TraceHandle traceHandle("Statehub");

std::map<Pivot::String, EntityFactory>& factories() {
  static std::map<Pivot::String, EntityFactory> table;
  return table;
}

template <std::size_t N>
bool textIs(std::array<char, N>& field, Pivot::String const& text) {
  if (text.empty() || text.size() >= N || text.find('\0') != Pivot::String::npos) return false;
  field.fill(0);
  std::memcpy(field.data(), text.data(), text.size());
  return true;
}

}  // namespace

// The collection of persisted values, mounted by its path like any other, so that a process has it once; and
// the entities that were made around them.
class EntityStore : public Pivot::Node, public ValueStore {
 public:
  static constexpr char const* kTypeName = "Statehub::EntityStore";

  ~EntityStore() override {
    for (auto const& [path, kept] : kept_) kept.value->store_ = nullptr;
  }
  Shoal::ShoalMapBase& shoalMap() { return rows_; }

  Pivot::Ptr<Pivot::Node> entity(Pivot::String const& path) const {
    auto const kept = kept_.find(path);
    return kept == kept_.end() ? nullptr : kept->second.entity;
  }
  Pivot::Ptr<Pivot::Node> makeEntity(Pivot::Ptr<PersistedValue> const& value, EntityFactory factory) {
    value->store_ = this;
    Kept& kept = kept_[value->path()];
    kept.value = value;
    return kept.entity = factory(value);
  }

  // False if there is none, or it can't be read, which is reported.
  bool find(Pivot::String const& path, EntityRow& out) {
    EntityPath key;
    if (!textIs(key.text, path)) return false;
    bool found = false;
    out = Shoal::recordOrDefault(rows_, key, &found);
    return found;
  }

  // Adds or replaces. Only a path that is new needs room.
  Pivot::Status save(PersistedValue const& value) {
    EntityRow row{};
    EntityRow there;
    if (!textIs(row.path.text, value.path()) || !textIs(row.typeName, value.typeName()))
      return Pivot::Status::refused("expected a path of 1 to 239 bytes and a type name of 1 to 63");
    row.value = value.value();
    Pivot::Status status = find(value.path(), there) ? Pivot::Status::ok() : rows_.reserve(1);
    if (status) rows_.set(row);
    return status;
  }

  static Pivot::Ptr<PersistedValue> valueOf(Pivot::String const& path, Pivot::String const& typeName,
                                            std::uint64_t number) {
    Pivot::Ptr<PersistedValue> value = Pivot::make<PersistedValue>(path, typeName);
    value->value_ = number;
    return value;
  }

  void saveValue(PersistedValue const& value) override {
    std::uint64_t const lossEpoch = rows_.lossEpoch();
    tellUnkept(value, save(value));
    // What the change found damaged took other values along.
    if (rows_.lossEpoch() != lossEpoch)
      for (auto const& [path, kept] : kept_) tellUnkept(*kept.value, save(*kept.value));
  }

 private:
  struct Kept {
    Pivot::Ptr<PersistedValue> value;
    Pivot::Ptr<Pivot::Node> entity;
  };

  static void tellUnkept(PersistedValue const& value, Pivot::Status const& status) {
    if (!status)
      VEX_TRACE(traceHandle, 1, "value {} of entity '{}' is not kept: {}", value.value(), value.path(),
                status.message());
  }

  Shoal::ShoalMap<EntityRow> rows_;
  std::map<Pivot::String, Kept> kept_;
};

PersistedValue::~PersistedValue() = default;

void PersistedValue::valueIs(std::uint64_t value) {
  value_ = value;
  if (store_ != nullptr) store_->saveValue(*this);
}

void typeRegister(Pivot::String const& typeName, EntityFactory factory) {
  factories()[typeName] = factory;
}

EntityManager::EntityManager(Pivot::String systemName, bool local)
    : systemName_(std::move(systemName)), local_(local) {}

EntityManager::~EntityManager() = default;

Pivot::Ptr<EntityStore> EntityManager::openStore() {
  Pivot::Ptr<VexSharedMem::EntityManager> const shared =
      VexSharedMem::EntityManager::getEntityManager(systemName_, local_);
  Pivot::Status status = Pivot::Status::ok();
  Pivot::Ptr<EntityStore> store = VexSharedMem::mounted<EntityStore>(
      *shared, kEntityPath, EntityStore::kTypeName, "entities", kMaxEntityRows, status);
  if (!status) VEX_TRACE(traceHandle, 1, "central store: {}", status.message());
  return store;
}

Pivot::Ptr<Pivot::Node> EntityManager::getEntity(Pivot::String const& path) {
  if (auto const found = entities_.find(path); found != entities_.end()) return found->second;
  Pivot::Ptr<EntityStore> const store = openStore();
  if (store == nullptr) return nullptr;
  if (Pivot::Ptr<Pivot::Node> entity = store->entity(path); entity != nullptr) return entity;
  EntityRow row{};
  if (!store->find(path, row)) return nullptr;
  Pivot::String const typeName(row.typeName.data(), strnlen(row.typeName.data(), row.typeName.size()));
  auto const factory = factories().find(typeName);
  if (factory == factories().end()) {
    VEX_TRACE(traceHandle, 1, "entity '{}' is of type '{}', which is not registered", path, typeName);
    return nullptr;
  }
  return store->makeEntity(EntityStore::valueOf(path, typeName, row.value), factory->second);
}

Pivot::Ptr<Pivot::Node> EntityManager::entityIs(Pivot::String const& path, Pivot::String const& typeName) {
  if (Pivot::Ptr<Pivot::Node> entity = getEntity(path); entity != nullptr) return entity;
  Pivot::Ptr<EntityStore> const store = openStore();
  if (store == nullptr) return nullptr;
  auto const factory = factories().find(typeName);
  if (factory == factories().end()) {
    VEX_TRACE(traceHandle, 1, "entity '{}' is of type '{}', which is not registered", path, typeName);
    return nullptr;
  }
  Pivot::Ptr<PersistedValue> const value = EntityStore::valueOf(path, typeName, 0);
  if (Pivot::Status const status = store->save(*value); !status) {
    VEX_TRACE(traceHandle, 1, "entity '{}' of type '{}': {}", path, typeName, status.message());
    return nullptr;
  }
  return store->makeEntity(value, factory->second);
}

void EntityManager::entityIs(Pivot::String const& path, Pivot::Ptr<Pivot::Node> const& entity) {
  if (entity == nullptr)
    entities_.erase(path);
  else
    entities_[path] = entity;
}

}  // namespace Statehub
