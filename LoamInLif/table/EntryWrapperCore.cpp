#include "LoamInLif/table/EntryWrapperCore.h"

namespace LoamInLif {

void EntryWrapperCore::setResolvedFields() {
  forEachKind([this]<class Kind>() { entry_.logEntry.*Kind::resolvedField = resolvedValue<Kind>(); });
}

bool EntryWrapperCore::agreesWithResources() const {
  bool agrees = true;
  forEachKind([&]<class Kind>() {
    auto const& resource = resourceHandles_.*Kind::handleField;
    agrees = agrees && (!resource || resource->entryState() == Asic::EntryState::entryStateDone) &&
             entry_.logEntry.*Kind::resolvedField == resolvedValue<Kind>();
  });
  return agrees;
}

}  // namespace LoamInLif
