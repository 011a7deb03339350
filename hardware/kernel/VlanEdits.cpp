#include "hardware/kernel/VlanEdits.h"

#include <cstring>

namespace LoamHardware {

using LoamTunnelNiLib::VlanOp;

static_assert(sizeof(InlifEdit) == sizeof(VlanOp) && kInlifForms == LoamTunnelNiLib::kTagFormatCount);
static_assert(offsetof(InlifEdit, tagsRemoved) == offsetof(VlanOp, tagsRemoved));
static_assert(offsetof(InlifEdit, keepPriority) == offsetof(VlanOp, keepPriority));
static_assert(offsetof(InlifEdit, outerTpid) == offsetof(VlanOp, outerTpid));
static_assert(offsetof(InlifEdit, innerTpid) == offsetof(VlanOp, innerTpid));
static_assert(offsetof(InlifEdit, innerPriority) == offsetof(VlanOp, innerPriority));

VlanEdits::VlanEdits() : table_("bursar/LoamTunnelNiLib/IveResourceTable.featureLoamInLif") {}

void VlanEdits::changesInto(std::function<void(std::uint32_t, InlifProfile const&)> const& f) {
  if (!table_.ready(false)) return;
  // Read before the rows: what changes behind it is met by the next call.
  std::uint32_t const counter = table_.reader().changeCounter();
  if (counter == counterSeen_ && table_.openings() == openingSeen_) return;
  Shoal::Read const end = walk(table_, [&](Record const& record) {
    if (record.value == 0 || record.value >= kInlifProfiles) return true;
    InlifProfile profile{};
    std::memcpy(profile.edits, &record.key.vlanEdit, sizeof profile.edits);
    profile.known = 1;
    f(static_cast<std::uint32_t>(record.value), profile);
    return true;
  });
  if (end != Shoal::Read::absent) return;
  counterSeen_ = counter;
  openingSeen_ = table_.openings();
}

}  // namespace LoamHardware
