// How versions and ids are told in traces and messages.
#include <fmt/ranges.h>

#include "Asic/EntryVersion.h"
#include "Asic/NeededEntry.h"
#include "Vex/Text.h"

namespace Asic {

std::string textOf(MajorVersion version) {
  return version.valid() ? fmt::to_string(version.value()) : "invalid";
}

std::string textOf(EntryVersion const& version) {
  return fmt::format("{{{}, {}}}", version.majorVersion(), version.word());
}

std::string textOf(LogVersion version) {
  return fmt::to_string(version.value());
}

std::string textOf(SwTableId id) {
  return fmt::format("{:02x}:{:02x}:{:04x}", id.agentId(), id.groupId(), id.tblId());
}

std::string textOf(TableVersion const& version) {
  return fmt::format("{}@{}", version.tableId(), version.logVersion());
}

std::string textOf(NeededEntry const& needed) {
  return fmt::format("{{{}}}", fmt::join(needed.versions(), ", "));
}

std::string textOf(Pivot::Ptr<NeededEntry const> const& needed) {
  return needed ? textOf(*needed) : "{}";
}

}  // namespace Asic
