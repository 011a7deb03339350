#include "Asic/SwTableBase.h"

namespace Asic {

SwTableBase::EntryHandle::~EntryHandle() = default;
void SwTableBase::EntryHandle::handleEntryState() {}
std::uint32_t SwTableBase::EntryHandle::hwIndexForDependentField(Pivot::FieldId) const {
  return 0xFFFFFFFF;
}
void SwTableBase::EntryHandle::handleIndexSuggestions() {}

SwTableBase::~SwTableBase() = default;
void SwTableBase::doCreateHwTable() {}
void SwTableBase::doCreateHwTableResponse() {}

}  // namespace Asic
