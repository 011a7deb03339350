// Entities and the singletons of the process. The registry is never destroyed: what outlives main stays as it
// is.
#include "Pivot/Entity.h"

#include "Pivot/RootRecords.h"
#include "Vex/HashMap2018.h"

namespace Vex {
namespace {

auto& singletons() {
  static auto* const theSingletons = new HashMap<Pivot::String, Pivot::Ptr<Entity>>;
  return *theSingletons;
}

}  // namespace

Entity::~Entity() = default;

Pivot::TypeData Entity::typeData() const {
  return Pivot::TypeNamed<Entity>::record;
}

void Entity::handleParent() {}

Pivot::Ptr<Entity> Entity::singletonExists(Pivot::String const& typeName) {
  return singletons().get(typeName);
}

Pivot::Ptr<Entity> Entity::singletonDel(Pivot::String const& typeName) {
  return singletons().take(typeName).value_or(nullptr);
}

void Entity::enterSingleton(Pivot::String const& typeName, Pivot::Ptr<Entity> entity) {
  singletons().set(typeName, std::move(entity));
}

}  // namespace Vex
