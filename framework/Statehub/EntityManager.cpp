#include "Statehub/EntityManager.h"

#include <array>
#include <cstring>
#include <utility>

#include "Pivot/Exceptions.h"
#include "Shoal/ShoalMap.h"
#include "Shoal/StoreRoot.h"
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

// The collection of persisted values, and how it is asked.
class EntityStore : public ValueStore {
 public:
  Pivot::Status mount() {
    using VexSharedMem::StoreRoot;
    if (Pivot::Status status = StoreRoot::claim(StoreRoot::Role::agent); !status) return status;
    return rows_.mount({kEntityPath, kMaxEntityRows, kMaxEntityRows, StoreRoot::Role::agent});
  }

  // False if there is none, or it can't be read, which is reported.
  bool find(Pivot::String const& path, EntityRow& out) {
    EntityPath key;
    if (!textIs(key.text, path)) return false;
    try {
      EntityRow const* row = rows_.find(key);
      if (row != nullptr) out = *row;
      return row != nullptr;
    } catch (Pivot::CorruptionDetectedException const& damage) {
      rows_.doCorruptionDetected(damage.what());
      return false;
    }
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

  Pivot::Ptr<PersistedValue> valueOf(Pivot::String const& path, Pivot::String const& typeName,
                                     std::uint64_t number) {
    Pivot::Ptr<PersistedValue> value = Pivot::make<PersistedValue>(path, typeName);
    value->value_ = number;
    value->store_ = this;
    return value;
  }

  void valueSaved(PersistedValue const& value) override {
    if (Pivot::Status const status = save(value); !status)
      VEX_TRACE(traceHandle, 1, "value {} of entity '{}' is not kept: {}", value.value(), value.path(),
                status.message());
  }

 private:
  Shoal::ShoalMap<EntityRow> rows_;
};

void PersistedValue::valueIs(std::uint64_t value) {
  value_ = value;
  store_->valueSaved(*this);
}

void typeRegister(Pivot::String const& typeName, EntityFactory factory) {
  factories()[typeName] = factory;
}

EntityManager::EntityManager(Pivot::String systemName, bool local)
    : systemName_(std::move(systemName)), local_(local) {}

EntityManager::~EntityManager() = default;

EntityStore* EntityManager::openStore() {
  if (store_ == nullptr) {
    Pivot::Ptr<EntityStore> store = Pivot::make<EntityStore>();
    if (Pivot::Status const status = store->mount(); !status) {
      VEX_TRACE(traceHandle, 1, "central store: {}", status.message());
      return nullptr;
    }
    store_ = store;
  }
  return static_cast<EntityStore*>(store_.get());
}

Pivot::Ptr<Pivot::Node> EntityManager::getEntity(Pivot::String const& path) {
  if (auto const found = entities_.find(path); found != entities_.end()) return found->second;
  EntityStore* store = openStore();
  EntityRow row{};
  if (store == nullptr || !store->find(path, row)) return nullptr;
  Pivot::String const typeName(row.typeName.data(), strnlen(row.typeName.data(), row.typeName.size()));
  auto const factory = factories().find(typeName);
  if (factory == factories().end()) {
    VEX_TRACE(traceHandle, 1, "entity '{}' is of type '{}', which is not registered", path, typeName);
    return nullptr;
  }
  return entities_[path] = factory->second(store->valueOf(path, typeName, row.value));
}

Pivot::Ptr<Pivot::Node> EntityManager::entityIs(Pivot::String const& path, Pivot::String const& typeName) {
  if (Pivot::Ptr<Pivot::Node> entity = getEntity(path); entity != nullptr) return entity;
  EntityStore* store = openStore();
  if (store == nullptr) return nullptr;
  auto const factory = factories().find(typeName);
  if (factory == factories().end()) {
    VEX_TRACE(traceHandle, 1, "entity '{}' is of type '{}', which is not registered", path, typeName);
    return nullptr;
  }
  Pivot::Ptr<PersistedValue> value = store->valueOf(path, typeName, 0);
  if (Pivot::Status const status = store->save(*value); !status) {
    VEX_TRACE(traceHandle, 1, "entity '{}' of type '{}': {}", path, typeName, status.message());
    return nullptr;
  }
  return entities_[path] = factory->second(value);
}

void EntityManager::entityIs(Pivot::String const& path, Pivot::Ptr<Pivot::Node> const& entity) {
  if (entity == nullptr)
    entities_.erase(path);
  else
    entities_[path] = entity;
}

}  // namespace Statehub
