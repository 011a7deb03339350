// The modules of the typed bases of the three tables, of the shared collections with their records, and of this
// room's resource tables.
#include <cstddef>
#include <optional>

#include "LoamTunnelNiLib/Records.h"
#include "Pivot/ModuleTables.h"
#include "Shoal/ReportedReads.h"

namespace {

using namespace LoamTunnelNiLib;
using namespace Pivot::Inspect;

using Handle = InLifModelSwTableBase::EntryHandle;
struct EntryHandleRecord : Record<Handle, Asic::OrderedSwTable::EntryHandle> {
  static constexpr std::array attributes{stored<&Handle::key>(514, "key"),
                                         stored<&Handle::swTable>(515, "swTable")};
};

using Table = InLifModelSwTableBase;
struct SwTableBaseRecord : Record<Table, Asic::OrderedSwTableWithMarkSweep> {
  static constexpr std::array attributes{
      operation<&Table::entryWrite, "key", "entry", "dependantEntryHandle">(770, "entryWrite"),
      operation<&Table::entryRemove, "key", "dependantEntryHandle">(771, "entryRemove"),
      operation<&Table::entryRemoveAll, "dependantEntryHandle">(772, "entryRemoveAll"),
      operation<&Table::entryRead, "key">(773, "entryRead"),
      operation<&Table::entry, "key">(774, "entry"),
      operation<&Table::entryHas, "key">(775, "entryHas"),
      operation<&Table::entrys>(776, "entrys"),
      operation<&Table::initIterState>(777, "initIterState"),
      operation<&Table::initIterStateFromKey, "key">(778, "initIterStateFromKey")};
};

using IterState = InLifModelSwTableIteratorState;
using Flags = IterState::State;
struct FlagsRecord : Record<Flags> {
  static constexpr std::array attributes{
      computed<&Flags::entryValid>(130, "entryValid"), computed<&Flags::inAddColl>(131, "inAddColl"),
      computed<&Flags::inTblCfg>(132, "inTblCfg"), computed<&Flags::tableRemoved>(133, "tableRemoved"),
      computed<&Flags::bookmarkValid>(134, "bookmarkValid")};
};
struct IterStateRecord : Record<IterState, Pivot::Node> {
  static constexpr auto stateOf =
      static_cast<Flags const& (IterState::*)() const noexcept>(&IterState::state);
  static constexpr std::array attributes{
      stored<stateOf>(258, "state"), stored<&IterState::swTable>(259, "swTable"),
      operation<&IterState::maybeUpdateCurrentEntry>(260, "maybeUpdateCurrentEntry")};
};

struct ConfigRecordRecord : Record<InLifModelConfigShoalEntry> {
  using T = InLifModelConfigShoalEntry;
  static constexpr std::array attributes{PIVOT_FIELD(T, 130, tableEntry), PIVOT_FIELD(T, 131, rsrcKeys),
                                         PIVOT_FIELD(T, 132, logVersion), PIVOT_FIELD(T, 133, isDeleted)};
};

struct LogRecordRecord : Record<InLifModelLogShoalEntry> {
  using T = InLifModelLogShoalEntry;
  static constexpr std::array attributes{PIVOT_FIELD(T, 130, logVersion),
                                         PIVOT_FIELD(T, 131, logEntry),
                                         PIVOT_FIELD(T, 132, unitId),
                                         PIVOT_FIELD(T, 133, logFlags),
                                         computed<&T::isEntryDeleted>(134, "isEntryDeleted"),
                                         computed<&T::isTableDeleted>(135, "isTableDeleted")};
};

// A shared collection, read only: what a table has published is the table's. Damage is reported to the
// collection, and the read goes on with the default record, or as at the end of the walk.
template <class Collection, class RecordType, auto MapOf>
struct ShoalAccess {
  using Object = Collection;
  using Map = typename Collection::Map;
  using Traits = Shoal::RecordTraits<RecordType>;
  using Key = typename Traits::Key;
  using Member = RecordType;
  static constexpr bool kReportsMissing = false;

  static std::size_t count(Object const& object) { return map(object).size(); }
  static bool has(Object const& object, Key const& key) { return found(object, key) != nullptr; }
  static void read(Pivot::OpResult& result, Object const& object, Key const& key) {
    Member const* const record = found(object, key);
    opResultEncode<Member>(result, record == nullptr ? Member() : *record);
  }
  static std::optional<Key> first(Object const& object) {
    return keyOf(guarded(object, [&](Shoal::IterHint& hint) { return map(object).first(hint); }));
  }
  static std::optional<Key> from(Object const& object, Key const& key) {
    return has(object, key) ? key : after(object, key);
  }
  static std::optional<Key> after(Object const& object, Key const& key) {
    return keyOf(guarded(object, [&](Shoal::IterHint& hint) { return map(object).next(key, hint); }));
  }

 private:
  static Map const& map(Object const& object) { return (object.*MapOf)(); }
  template <class Read>
  static Member const* guarded(Object const& object, Read read) {
    Shoal::IterHint hint;
    return Shoal::readOr(const_cast<Object&>(object).shoalMap(), nullptr, [&] { return read(hint); });
  }
  static Member const* found(Object const& object, Key const& key) {
    return guarded(object, [&](Shoal::IterHint&) { return map(object).find(key); });
  }
  static std::optional<Key> keyOf(Member const* record) {
    return record == nullptr ? std::nullopt : std::optional<Key>(Traits::key(*record));
  }
};

using Config = InLifModelConfigShoal;
constexpr auto configMap =
    static_cast<Config::Map const& (Config::*)() const noexcept>(&Config::swTableEntries);
struct ConfigShoalRecord : Record<Config, Pivot::Node> {
  static constexpr std::array attributes{
      collection<ShoalAccess<Config, InLifModelConfigShoalEntry, configMap>>(130, Config::kAttribute)};
};

using Log = InLifModelEntryLogShoal;
constexpr auto logMap = static_cast<Log::Map const& (Log::*)() const noexcept>(&Log::entryLogConfig);
struct LogShoalRecord : Record<Log, Pivot::Node> {
  static constexpr std::array attributes{
      collection<ShoalAccess<Log, InLifModelLogShoalEntry, logMap>>(130, Log::kAttribute)};
};

}  // namespace

PIVOT_DEFINE_MODULE(_InLifModelSwTable_b3052fe9d4761ca8_vexModule, EntryHandleRecord, SwTableBaseRecord,
                    FlagsRecord, IterStateRecord)
PIVOT_DEFINE_MODULE(_InLifModelShoal_46c90ba2e5d718f3_vexModule, ConfigRecordRecord, LogRecordRecord,
                    ConfigShoalRecord, LogShoalRecord)
BURSAR_DEFINE_TABLE_MODULE(LoamTunnelNiLib::InLifDataResourceTable,
                           _InLifDataResourceTable_0f8e37c2b6d19a54_vexModule)
BURSAR_DEFINE_TABLE_MODULE(LoamTunnelNiLib::LearnEnableResourceTable,
                           _LearnEnableResourceTable_d1694ab83e07f25c_vexModule)
BURSAR_DEFINE_TABLE_MODULE(LoamTunnelNiLib::IveResourceTableResourceTable,
                           _IveResourceTableResourceTable_63b5f80c4ae2d917_vexModule)

namespace LoamTunnelNiLib {

PIVOT_DEFINE_TYPE_DATA(InLifModelConfigShoal)
PIVOT_DEFINE_TYPE_DATA(InLifModelEntryLogShoal)

}  // namespace LoamTunnelNiLib
