#include "tools/inspect/Roots.h"

#include "Pivot/CollectionIterator.h"
#include "Pivot/Entity.h"
#include "Pivot/OpResult.h"
#include "agent/Host.h"

namespace Inlif {
namespace {

// Every interface has its table's name as a field, though no common base declares it.
void addInterfaces(Pivot::Node& registry, std::vector<Root>& roots) {
  auto const type = Pivot::TypeView::of(registry);
  auto const interfaces = type.field("swTableIntf");
  if (!interfaces) return;
  Pivot::OpResult interface;
  Pivot::OpResult name;
  for (Vex::MemberWalk walk(type, &registry, interfaces->attribute->id); walk; walk.inc()) {
    walk.object(interface);
    auto const view = interface.view();
    auto const tableName = view ? view->field("tableName") : std::nullopt;
    if (!tableName || view->inspect(name, interface.object(), tableName->attribute->id,
                                    Pivot::OpCode::read) != Pivot::OpStatus::done)
      continue;
    roots.push_back({name.text(), interface.node(), {{"units", {"swTableSet", "swTable"}}}});
  }
}

}  // namespace

std::vector<Root> rootsOf(LoamAgent::Host& host) {
  std::vector<Root> roots;
  Pivot::Ptr<Pivot::Node> const registry = Vex::Entity::singletonExists("Asic::SwTableInterfacesSingleton");
  if (registry) addInterfaces(*registry, roots);
  roots.push_back({"framework", Pivot::Ptr<Pivot::Node>(&host.framework()), {}});
  roots.push_back({"group", Pivot::Ptr<Pivot::Node>(&host.group()), {}});
  if (registry) roots.push_back({"registry", registry, {}});
  return roots;
}

}  // namespace Inlif
