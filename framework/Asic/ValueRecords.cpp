// The module of the values that tables and handles hold: ids, versions and sets of versions.
#include <vector>

#include "Asic/Records.h"
#include "Pivot/ModuleTables.h"

namespace {

using namespace Asic;
using namespace Pivot::Inspect;

struct SwTableIdRecord : Record<SwTableId> {
  static constexpr std::array attributes{computed<&SwTableId::agentId>(130, "agentId"),
                                         computed<&SwTableId::groupId>(131, "groupId"),
                                         computed<&SwTableId::tblId>(132, "tblId"),
                                         computed<&SwTableId::agentAndGroupId>(133, "agentAndGroupId")};
};

struct MajorVersionRecord : Record<MajorVersion> {
  static constexpr std::array attributes{stored<&MajorVersion::value>(130, "value"),
                                         computed<&MajorVersion::valid>(131, "valid")};
};

struct EntryVersionRecord : Record<EntryVersion> {
  static constexpr std::array attributes{stored<&EntryVersion::majorVersion>(130, "majorVersion"),
                                         stored<&EntryVersion::word>(131, "word"),
                                         computed<&EntryVersion::valid>(132, "valid")};
};

struct LogVersionRecord : Record<LogVersion> {
  static constexpr std::array attributes{stored<&LogVersion::value>(130, "value")};
};

struct TableVersionRecord : Record<TableVersion> {
  static constexpr std::array attributes{
      stored<&TableVersion::tableId>(130, "tableId", TableVersionLayout::kTableIdOffset),
      stored<&TableVersion::logVersion>(131, "logVersion", TableVersionLayout::kLogVersionOffset)};
};

struct EntryFlagsRecord : Record<EntryFlags> {
  static constexpr std::array attributes{
      computed<&EntryFlags::isEntryDelete>(130, "isEntryDelete"),
      computed<&EntryFlags::isTableDelete>(131, "isTableDelete"),
      computed<&EntryFlags::suppressIdenticalWrites>(132, "suppressIdenticalWrites")};
};

std::vector<SwTableId> neededTables(NeededEntry const& needed) {
  std::vector<SwTableId> tables;
  for (TableVersion const& version : needed.versions()) tables.push_back(version.tableId());
  return tables;
}
struct NeededEntryRecord : Record<NeededEntry, Pivot::Node> {
  static constexpr std::array attributes{
      collection<ListedAccess<&NeededEntry::version, &neededTables>>(130, "tableVersion"),
      operation<&NeededEntry::add, "version">(131, "add")};
};

}  // namespace

PIVOT_DEFINE_MODULE(_Versions_f4083dc65b7e912a_vexModule, SwTableIdRecord, MajorVersionRecord,
                    EntryVersionRecord, LogVersionRecord, TableVersionRecord, EntryFlagsRecord,
                    NeededEntryRecord)

namespace Asic {

PIVOT_DEFINE_TYPE_DATA(NeededEntry)

}  // namespace Asic
