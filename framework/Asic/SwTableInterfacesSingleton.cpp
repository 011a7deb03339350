// The process-wide registry of table interfaces.
#include "Asic/SwTableInterfacesSingleton.h"

#include <utility>

#include "Vex/Assert.h"

namespace Asic {

Pivot::Ptr<SwTableInterfacesSingleton> SwTableInterfacesSingleton::existing() {
  return boost::dynamic_pointer_cast<SwTableInterfacesSingleton>(Vex::Entity::singletonExists(kTypeName));
}

Pivot::Ptr<SwTableInterfacesSingleton> SwTableInterfacesSingleton::singleton() {
  if (Pivot::Ptr<SwTableInterfacesSingleton> present = existing()) return present;
  return Vex::Entity::singletonIs<SwTableInterfacesSingleton>(kTypeName);
}

SwTableInterfacesSingleton::~SwTableInterfacesSingleton() {
  swTableIntfDelAll();
}

Pivot::Ptr<TableInterfaceBase> SwTableInterfacesSingleton::swTableIntf(Pivot::String const& key) const {
  auto const at = interfaces_.find(key);
  return at == interfaces_.end() ? nullptr : at->second;
}

void SwTableInterfacesSingleton::swTableIntfIs(Pivot::String const& key,
                                               Pivot::Ptr<TableInterfaceBase> const& interface) {
  VEX_ASSERT(interface != nullptr, "swTableIntf");
  Pivot::Ptr<TableInterfaceBase> const old = std::exchange(interfaces_[key], interface);
}

Pivot::Ptr<TableInterfaceBase> SwTableInterfacesSingleton::swTableIntfDel(Pivot::String const& key) {
  auto const at = interfaces_.find(key);
  if (at == interfaces_.end()) return nullptr;
  Pivot::Ptr<TableInterfaceBase> interface = std::move(at->second);
  interfaces_.erase(at);
  return interface;
}

void SwTableInterfacesSingleton::swTableIntfDelAll() {
  while (!interfaces_.empty()) swTableIntfDel(Pivot::String(interfaces_.begin()->first));
}

}  // namespace Asic
