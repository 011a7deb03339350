// The set of needed versions, kept in order of table id.
#include "Asic/NeededEntry.h"

#include <algorithm>

namespace Asic {

COBBLE_TRACKER(NeededEntry)

namespace {

bool lowerTable(TableVersion const& version, SwTableId tableId) {
  return version.tableId() < tableId;
}

}  // namespace

void NeededEntry::add(TableVersion const& version) {
  if (version.logVersion() == LogVersion()) return;
  auto const at = std::lower_bound(versions_.begin(), versions_.end(), version.tableId(), lowerTable);
  if (at == versions_.end() || at->tableId() != version.tableId()) {
    versions_.insert(at, version);
  } else if (at->logVersion() < version.logVersion()) {
    *at = version;
  }
}

LogVersion NeededEntry::version(SwTableId tableId) const {
  auto const at = std::lower_bound(versions_.begin(), versions_.end(), tableId, lowerTable);
  return at != versions_.end() && at->tableId() == tableId ? at->logVersion() : LogVersion();
}

}  // namespace Asic
