// The modules of the bases of tables, handles, logs and resolver entries, and of what the units of a table
// instance share. The ids are those under which the classes publish.
#include <vector>

#include "Asic/Records.h"
#include "Pivot/ModuleTables.h"

PIVOT_NAME_TYPE(Asic::OrderedTableType)

template <>
struct fmt::formatter<Asic::OrderedTableType> : fmt::formatter<std::uint32_t> {
  auto format(Asic::OrderedTableType type, format_context& context) const {
    return fmt::formatter<std::uint32_t>::format(static_cast<std::uint32_t>(type), context);
  }
};

namespace {

using namespace Asic;
using namespace Pivot::Inspect;

struct CanonicalTableNameRecord : Record<CanonicalTableName, Pivot::Node> {
  static constexpr std::array attributes{stored<&CanonicalTableName::type>(130, "type"),
                                         stored<&CanonicalTableName::group>(131, "group"),
                                         stored<&CanonicalTableName::tableNamespace>(132, "tableNamespace"),
                                         stored<&CanonicalTableName::tableName>(133, "tableName"),
                                         operation<&CanonicalTableName::name>(134, "name")};
};

struct DependencyEntryHandleRecord : Record<DependencyEntryHandle, Pivot::Node> {
  static constexpr std::array attributes{
      stored<&DependencyEntryHandle::entryState>(DependencyEntryHandle::kFieldEntryState, "entryState"),
      operation<&DependencyEntryHandle::handleEntryState>(131, "handleEntryState"),
      operation<&DependencyEntryHandle::hwIndexForDependentField, "field">(132, "hwIndexForDependentField"),
      operation<&DependencyEntryHandle::handleIndexSuggestions>(133, "handleIndexSuggestions"),
      operation<&DependencyEntryHandle::entryTableVersion>(134, "entryTableVersion"),
      operation<&DependencyEntryHandle::tableName>(135, "tableName"),
      operation<&DependencyEntryHandle::tableId>(136, "tableId")};
};

struct SwTableBaseEntryHandleRecord : Record<SwTableBase::EntryHandle, DependencyEntryHandle> {};

using OrderedHandle = OrderedSwTable::EntryHandle;
struct OrderedEntryHandleRecord : Record<OrderedHandle, SwTableBase::EntryHandle> {
  static constexpr std::array attributes{
      stored<&OrderedHandle::entryVersion>(386, "entryVersion"),
      stored<&OrderedHandle::logVersion, &OrderedHandle::logVersionIs>(387, "logVersion"),
      operation<&OrderedHandle::entryStateIs, "state">(388, "entryStateIs")};
};

struct SwTableBaseRecord : Record<SwTableBase, Vex::Entity> {
  static constexpr std::array attributes{
      operation<&SwTableBase::doCreateHwTable>(258, "doCreateHwTable"),
      operation<&SwTableBase::doCreateHwTableResponse>(259, "doCreateHwTableResponse")};
};

struct NamedSwTableRecord : Record<NamedSwTable, SwTableBase> {
  static constexpr std::array attributes{stored<&NamedSwTable::canonicalName>(386, "canonicalName"),
                                         computed<&NamedSwTable::name>(387, "name"),
                                         operation<&NamedSwTable::reconcile>(388, "reconcile")};
};

struct OrderedSwTableRecord : Record<OrderedSwTable, NamedSwTable> {
  static constexpr std::array attributes{
      stored<&OrderedSwTable::tableId>(514, "tableId"),
      stored<&OrderedSwTable::unitId>(515, "unitId"),
      stored<&OrderedSwTable::swTableSet>(516, "swTableSet"),
      stored<&OrderedSwTable::stats>(OrderedSwTable::kFieldStats, "stats"),
      stored<&OrderedSwTable::status, &OrderedSwTable::statusIs>(OrderedSwTable::kFieldStatus, "status"),
      operation<&OrderedSwTable::tableStatusVersion, "version">(519, "tableStatusVersion"),
      operation<&OrderedSwTable::hasPendingHwWrites>(520, "hasPendingHwWrites")};
};

struct OrderedSwTableWithMarkSweepRecord : Record<OrderedSwTableWithMarkSweep, OrderedSwTable> {
  static constexpr std::array attributes{operation<&OrderedSwTableWithMarkSweep::mark>(642, "mark"),
                                         operation<&OrderedSwTableWithMarkSweep::sweep>(643, "sweep")};
};

struct SwTableStatsRecord : Record<SwTableStats, Pivot::Node> {
  static constexpr std::array attributes{
      stored<&SwTableStats::entryWriteCnt>(130, "entryWriteCnt"),
      stored<&SwTableStats::entryRemoveCnt>(131, "entryRemoveCnt"),
      stored<&SwTableStats::commitCnt>(132, "commitCnt"),
      stored<&SwTableStats::resolveFailCnt>(133, "resolveFailCnt"),
      stored<&SwTableStats::updateCnt>(134, "updateCnt"),
      stored<&SwTableStats::updateWithFailedResourceCnt>(135, "updateWithFailedResourceCnt"),
      stored<&SwTableStats::tableClearCnt>(136, "tableClearCnt"),
      stored<&SwTableStats::suppressedWriteCnt>(137, "suppressedWriteCnt"),
      stored<&SwTableStats::suppressCheckDiffCnt>(138, "suppressCheckDiffCnt"),
      stored<&SwTableStats::lastCommitTime>(139, "lastCommitTime")};
};

struct OrderedSwTableStatusRecord : Record<OrderedSwTableStatus, Pivot::Node> {
  static constexpr std::array attributes{stored<&OrderedSwTableStatus::tableId>(130, "tableId"),
                                         stored<&OrderedSwTableStatus::pendingHwWrites>(
                                             OrderedSwTableStatus::kFieldPendingHwWrites, "pendingHwWrites")};
};

std::vector<UnitId> unitsOf(OrderedSwTableSet const& set) {
  std::vector<UnitId> units;
  set.forEachTable([&](Pivot::Ptr<OrderedSwTable> const& table) { units.push_back(table->unitId()); });
  return units;
}
struct OrderedSwTableSetRecord : Record<OrderedSwTableSet, Pivot::Node> {
  static constexpr std::array attributes{
      stored<&OrderedSwTableSet::tableId>(130, "tableId"), stored<&OrderedSwTableSet::status>(131, "status"),
      collection<ListedAccess<&OrderedSwTableSet::swTable, &unitsOf>>(132, "swTable"),
      operation<&OrderedSwTableSet::maybeUpdatePendingHwWrites, "changed">(133,
                                                                           "maybeUpdatePendingHwWrites")};
};

struct ResolverEntryRecord : Record<ResolverEntry, Pivot::Node> {
  static constexpr std::array attributes{
      stored<&ResolverEntry::dependantEntryHandle>(130, "dependantEntryHandle"),
      stored<&ResolverEntry::flags>(131, "flags"),
      computed<&ResolverEntry::isEntryDeleted>(132, "isEntryDeleted"),
      computed<&ResolverEntry::isTableDeleted>(133, "isTableDeleted"),
      computed<&ResolverEntry::suppressIdenticalWrites>(134, "suppressIdenticalWrites"),
      operation<&ResolverEntry::isResolved>(135, "isResolved"),
      listed<&ResolverEntry::commitEntry, "resolvedEntry">(136, "commitEntry")};
};

struct EntryLogBaseRecord : Record<EntryLogBase, Pivot::Node> {
  static constexpr std::array attributes{stored<&EntryLogBase::tableId>(130, "tableId"),
                                         stored<&EntryLogBase::entityManager>(131, "entityManager"),
                                         stored<&EntryLogBase::groupInterface>(132, "groupInterface"),
                                         stored<&EntryLogBase::agentName>(133, "agentName"),
                                         stored<&EntryLogBase::tableVersion>(134, "tableVersion"),
                                         stored<&EntryLogBase::cleanedVersion>(135, "cleanedVersion")};
};

}  // namespace

PIVOT_DEFINE_MODULE(_OrderedSwTable_c2f7083e6d4a915b_vexModule, CanonicalTableNameRecord,
                    DependencyEntryHandleRecord, SwTableBaseEntryHandleRecord, OrderedEntryHandleRecord,
                    SwTableBaseRecord, NamedSwTableRecord, OrderedSwTableRecord,
                    OrderedSwTableWithMarkSweepRecord)
PIVOT_DEFINE_MODULE(_OrderedSwTableSet_0a6d94e1b75c38f2_vexModule, SwTableStatsRecord,
                    OrderedSwTableStatusRecord, OrderedSwTableSetRecord)
PIVOT_DEFINE_MODULE(_ResolverEntry_d85b1e7724c0f936_vexModule, ResolverEntryRecord)
PIVOT_DEFINE_MODULE(_EntryLogBase_3e90c75ab8d1642f_vexModule, EntryLogBaseRecord)

namespace Asic {

PIVOT_DEFINE_TYPE_DATA(CanonicalTableName)
PIVOT_DEFINE_TYPE_DATA(SwTableStats)
PIVOT_DEFINE_TYPE_DATA(OrderedSwTableStatus)
PIVOT_DEFINE_TYPE_DATA(OrderedSwTableSet)

}  // namespace Asic
