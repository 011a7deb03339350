#include "LoamInLif/EntryWrapperCore.h"

namespace LoamInLif {

void EntryWrapperCore::setResolvedFields() {
  forEachKind([this]<class Kind>() { entry_.logEntry.*Kind::resolvedField = resolvedValue<Kind>(); });
}

}  // namespace LoamInLif
