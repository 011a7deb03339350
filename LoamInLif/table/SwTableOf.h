// The software table of one instance on one hardware unit: what it holds, and the operations of clients,
// framework and linkages on it. What it does with its state is the generic engine's,
// Asic::OrderedSwTableAccessor; here each operation hands over the table and its ten linkages. The real
// classes, InLif0SwTable and so on, stand in InLifNSwTable.h; bodies in SwTableOf-defs.h.
//
// Made by makeSwTable alone, complete when its ten linkages are set, then owned by its
// Asic::OrderedSwTableSet for as long as the group lives. The table owns its linkages, its helper, and the
// wrappers and handles in its collections; it shares entry log and resolver. Linkages and resolver entries
// point back plainly. One thread, no locks.
//
// Invariants: those of the engine (OrderedSwTableAccessor.h), and
//  6. markedKey grows only while inMarkingState is true, and the sweep empties it.
//  7. The linkages are set once, before the table is used, and stay until it goes.
//
// Each attribute follows the accessor rule of Pivot/Attribute.h and publishes under its field id.
#pragma once

#include <cstdint>

#include "Asic/EntryVersion.h"
#include "Asic/LogVersion.h"
#include "Asic/SwTableId.h"
#include "Asic/UnitId.h"
#include "Cobble/AllocTrack.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/Instance.h"
#include "LoamInLif/table/SwTableLinkages.h"
#include "LoamTunnelNiLib/InLifModelSwTableBase.h"
#include "OrderedTable/WaitCauses.h"
#include "Pivot/Attribute.h"
#include "Pivot/RQueue.h"
#include "Vex/HashMap2018.h"
#include "Vex/HashSet2018.h"

namespace Shoal {
template <class Record, class Key>
class ShoalMap;
}  // namespace Shoal
namespace Asic {
class GroupResolver;
class NeededEntry;
class OrderedSwTableSet;
class ResolverEntry;
template <class Key>
struct RestoreFindings;
template <class Key, class EntryHandle>
class SetAside;
}  // namespace Asic
namespace LoamTunnelNiLib {
struct InLifModelConfigShoalEntry;
}  // namespace LoamTunnelNiLib

namespace LoamInLif {

struct OldEntry;
template <class I>
class SwTableEntriesOf;

template <class I>
class LOAM_INLIF_EXPORT SwTableOf : public LoamTunnelNiLib::InLifModelSwTableBase {
 public:
  using SwTableConstants = typename I::Constants;
  using EntryLog = typename I::EntryLog;
  using EntryWrapper = typename I::EntryWrapper;
  using ResolverEntry = typename I::ResolverEntry;
  using SwTableHelperBase = typename I::SwTableHelperBase;
  using SwTableIteratorState = typename I::SwTableIteratorState;
  using OldEntry = LoamInLif::OldEntry;
  using ConfigRecord = LoamTunnelNiLib::InLifModelConfigShoalEntry;
  using ConfigMap = Shoal::ShoalMap<ConfigRecord, Key>;
  using BaseHandle = LoamTunnelNiLib::InLifModelSwTableBase::EntryHandle;
  static constexpr char const* traceFacility = I::swTableFacility;

  // Field ids. 903, 908 to 915 and 928 are operations; 906 is not used.
  static constexpr Pivot::FieldId kFieldSwTableHelper = 898;
  static constexpr Pivot::FieldId kFieldTransientAddEntry = 899;
  static constexpr Pivot::FieldId kFieldTransientRemoveEntry = 900;
  static constexpr Pivot::FieldId kFieldTransientVersionForKey = 901;
  static constexpr Pivot::FieldId kFieldTransientRemoveAllVersion = 902;
  static constexpr Pivot::FieldId kFieldEntryLog = 904;
  static constexpr Pivot::FieldId kFieldGroupResolver = 905;
  static constexpr Pivot::FieldId kFieldEntryHandleInLog = 907;
  static constexpr Pivot::FieldId kFieldMarkedKey = 916;
  static constexpr Pivot::FieldId kFieldInMarkingState = 917;

  // Collections: the node of each holds the key, or computes it from the value.
  struct WrapperKeyFunktor {
    Key const& operator()(Pivot::Ptr<EntryWrapper> const& entry) const { return entry->key(); }
  };
  using HN_TransientAddEntry = Vex::Hm2018NI<Pivot::Ptr<EntryWrapper>, WrapperKeyFunktor>;
  using HN_TransientRemoveEntry = Vex::Hm2018NI<Pivot::Ptr<EntryWrapper>, WrapperKeyFunktor>;
  using HN_TransientVersionForKey = Vex::Hm2018NE<Key, Asic::EntryVersion>;
  using TransientAddEntry = Vex::HashMap2018<HN_TransientAddEntry, I::Seeds::transientAddEntry>;
  using TransientRemoveEntry = Vex::HashMap2018<HN_TransientRemoveEntry, I::Seeds::transientRemoveEntry>;
  using TransientVersionForKey =
      Vex::HashMap2018<HN_TransientVersionForKey, I::Seeds::transientVersionForKey>;
  using MarkedKey = Vex::HashSet2018<Key, I::Seeds::markedKey>;

  // `swTableSet` will own the table and outlives it; `entryLog` has the unit's configuration mounted.
  SwTableOf(Pivot::Ptr<Asic::CanonicalTableName const> const& tableName, Asic::SwTableId tableId,
            Asic::UnitId unitId, Asic::OrderedSwTableSet* swTableSet, Pivot::Ptr<EntryLog> const& entryLog,
            Pivot::Ptr<Asic::GroupResolver> const& groupResolver);
  // Releases what it holds from the last attribute to the first, and publishes nothing.
  ~SwTableOf() override;

  // The virtual operations, in slot order.
  // Nothing to do: the hardware is reached through the entry log alone.
  void doCreateHwTable() override;
  void tableStatusVersion(Asic::LogVersion version) override;
  bool hasPendingHwWrites() override;
  void mark() override;
  void sweep() override;
  Handle entryWrite(Key const& key, Entry const& entry, Dependency const& dependantEntryHandle) override;
  Handle entryWriteWithResponseHandler(Key const& key, Entry const& entry,
                                       Dependency const& dependantEntryHandle,
                                       ResponseHandler const& handler) override;
  Handle entryRemove(Key const& key, Dependency const& dependantEntryHandle) override;
  Handle entryRemoveWithResponseHandler(Key const& key, Dependency const& dependantEntryHandle,
                                        ResponseHandler const& handler) override;
  void entryRemoveAll(Dependency const& dependantEntryHandle) override;
  void entryRemoveAllWithResponseHandler(Dependency const& dependantEntryHandle,
                                         ResponseHandler const& handler) override;
  Entry entryRead(Key const& key) const override;
  Entry entry(Key const& key) const override;
  bool entryHas(Key const& key) const override;
  std::uint32_t entrys() const override;
  EntryIteratorConst entryIteratorConst(Key const& key) const override;
  EntryIteratorConst entryIteratorConst() const override;
  Pivot::Ptr<LoamTunnelNiLib::InLifModelSwTableIteratorState> initIterState() const override;
  Pivot::Ptr<LoamTunnelNiLib::InLifModelSwTableIteratorState> initIterStateFromKey(
      Key const& key) const override;

  // The other operations.
  void commitEntry(Pivot::Ptr<Asic::ResolverEntry> const& resolvedEntry);
  // Brings a committed entry into line with its resources. The handle names the log version that carries it;
  // null when the key has no committed entry.
  Pivot::Ptr<Asic::OrderedSwTable::EntryHandle const> updateEntry(Key const& key);
  Pivot::Ptr<Asic::NeededEntry> getNeededEntrySet(Pivot::Ptr<EntryWrapper const> const& entry) const;
  bool isResolverEntryResolved(Pivot::Ptr<ResolverEntry> const& resolverEntry);
  // What an operation in the queue of this table waits for; reads only.
  Asic::WaitCauses waitCauses(ResolverEntry const& resolverEntry) const;
  // Fills the resource handles of a wrapper: `refresh` asks the resource tables, else the linkages give what
  // they follow for committed entries.
  void setRsrcPtrs(Pivot::Ptr<EntryWrapper> const& entry, bool refresh);
  // The committed entry, whatever is pending; the default entry for none.
  Entry entryFromConfig(Key const& key) const;
  void restoreEntries();
  // Empties the unit in the log; `updateResources` releases the resources of its entries.
  void clearTable(bool updateResources);
  // A snapshot of the merged view, a Ptr to the instance's SwTableEntries_py.
  auto getTableEntries_py() const {
    auto const snapshot = Pivot::make<typename I::SwTable::SwTableEntries_py>();
    fillSnapshot(*snapshot);
    return snapshot;
  }
  void handleInitialized();

  Pivot::Ptr<SwTableHelperBase> const& swTableHelper() const { return swTableHelper_; }
  // Whether no client's class stands in for the hooks.
  bool hasDefaultHooks() const;
  // Throws NullArgumentException for null: the hooks call the helper without a test.
  void swTableHelperIs(Pivot::Ptr<SwTableHelperBase> const& helper);

  TransientAddEntry const& transientAddEntrys() const { return transientAddEntry_; }
  Pivot::Ptr<EntryWrapper> transientAddEntry(Key const& key) const {
    return Pivot::mapGet(transientAddEntry_, key);
  }
  EntryWrapper* transientAddEntryFind(Key const& key) const { return found(transientAddEntry_, key); }
  bool transientAddEntryHas(Key const& key) const { return transientAddEntry_.has(key); }
  void transientAddEntryIs(Pivot::Ptr<EntryWrapper> const& entry) {
    if (!entry) refuseNull("transientAddEntry", kFieldTransientAddEntry);
    Pivot::mapIs(publisher(), kFieldTransientAddEntry, transientAddEntry_, entry);
  }
  Pivot::Ptr<EntryWrapper> transientAddEntryDel(Key const& key) {
    return Pivot::mapDel(publisher(), kFieldTransientAddEntry, transientAddEntry_, key);
  }
  void transientAddEntryDelAll() {
    Pivot::delAll(publisher(), transientAddEntry_, [this](Key const& key) { transientAddEntryDel(key); });
  }

  TransientRemoveEntry const& transientRemoveEntrys() const { return transientRemoveEntry_; }
  Pivot::Ptr<EntryWrapper> transientRemoveEntry(Key const& key) const {
    return Pivot::mapGet(transientRemoveEntry_, key);
  }
  EntryWrapper* transientRemoveEntryFind(Key const& key) const { return found(transientRemoveEntry_, key); }
  bool transientRemoveEntryHas(Key const& key) const { return transientRemoveEntry_.has(key); }
  void transientRemoveEntryIs(Pivot::Ptr<EntryWrapper> const& entry) {
    if (!entry) refuseNull("transientRemoveEntry", kFieldTransientRemoveEntry);
    Pivot::mapIs(publisher(), kFieldTransientRemoveEntry, transientRemoveEntry_, entry);
  }
  Pivot::Ptr<EntryWrapper> transientRemoveEntryDel(Key const& key) {
    return Pivot::mapDel(publisher(), kFieldTransientRemoveEntry, transientRemoveEntry_, key);
  }
  void transientRemoveEntryDelAll() {
    Pivot::delAll(publisher(), transientRemoveEntry_,
                  [this](Key const& key) { transientRemoveEntryDel(key); });
  }

  TransientVersionForKey const& transientVersionForKeys() const { return transientVersionForKey_; }
  // The invalid version for a key that is not there.
  Asic::EntryVersion transientVersionForKey(Key const& key) const {
    return Pivot::mapGet(transientVersionForKey_, key);
  }
  bool transientVersionForKeyHas(Key const& key) const { return transientVersionForKey_.has(key); }
  Asic::EntryVersion const* transientVersionForKeyFind(Key const& key) const {
    return transientVersionForKey_.find(key);
  }
  void transientVersionForKeyIs(Key const& key, Asic::EntryVersion const& version) {
    Pivot::mapIs(publisher(), kFieldTransientVersionForKey, transientVersionForKey_, key, version);
  }
  Asic::EntryVersion transientVersionForKeyDel(Key const& key) {
    return Pivot::mapDel(publisher(), kFieldTransientVersionForKey, transientVersionForKey_, key);
  }
  void transientVersionForKeyDelAll() {
    Pivot::delAll(publisher(), transientVersionForKey_,
                  [this](Key const& key) { transientVersionForKeyDel(key); });
  }

  Asic::MajorVersion transientRemoveAllVersion() const { return transientRemoveAllVersion_; }
  void transientRemoveAllVersionIs(Asic::MajorVersion version) {
    Pivot::attributeIs(publisher(), kFieldTransientRemoveAllVersion, transientRemoveAllVersion_, version);
  }

  Pivot::Ptr<EntryLog> const& entryLog() const { return entryLog_; }
  Pivot::Ptr<Asic::GroupResolver> const& groupResolver() const { return groupResolver_; }

  // The queue of handles that the hardware has not acknowledged, oldest first. Handles go in and come out as
  // the instance's own EntryHandle; null for what is not there.
  template <class SwTable = typename I::SwTable>
  std::uint32_t entryHandleInLogEnq(Pivot::Ptr<typename SwTable::EntryHandle> const& handle) {
    return Pivot::queueEnq(publisher(), kFieldEntryHandleInLog, entryHandleInLog_, handle);
  }
  auto entryHandleInLogDeq() {
    return typedHandle(Pivot::queueDeq(publisher(), kFieldEntryHandleInLog, entryHandleInLog_));
  }
  auto entryHandleInLogFront() const { return typedHandle(entryHandleInLog_.front()); }
  auto entryHandleInLogBack() const { return typedHandle(entryHandleInLog_.back()); }
  auto entryHandleInLog(std::uint32_t index) const { return typedHandle(entryHandleInLog_.at(index)); }
  bool entryHandleInLogHas(std::uint32_t index) const { return entryHandleInLog_.has(index); }
  std::uint32_t entryHandleInLogs() const { return entryHandleInLog_.size(); }
  void entryHandleInLogDelAll() {
    Pivot::queueDelAll(publisher(), kFieldEntryHandleInLog, entryHandleInLog_);
  }

  MarkedKey const& markedKeys() const { return markedKey_; }
  bool markedKeyHas(Key const& key) const { return markedKey_.has(key); }
  void markedKeyIs(Key const& key) { Pivot::setIs(publisher(), kFieldMarkedKey, markedKey_, key); }
  // Whether the key was there.
  bool markedKeyDel(Key const& key) { return Pivot::setDel(publisher(), kFieldMarkedKey, markedKey_, key); }
  void markedKeyDelAll() {
    Pivot::delAll(publisher(), markedKey_, [this](Key const& key) { markedKeyDel(key); });
  }

  bool inMarkingState() const { return inMarkingState_; }
  void inMarkingStateIs(bool marking) {
    Pivot::attributeIs(publisher(), kFieldInMarkingState, inMarkingState_, marking);
  }

  // While restoreEntries has the linkages update its entries: which of them need it. Null at any other time,
  // and when every update is to be run. Not owned.
  using RestoreFindings = Asic::RestoreFindings<Key>;
  RestoreFindings const* restoreFindings() const { return restoreFindings_; }
  void restoreFindingsIs(RestoreFindings const* findings) { restoreFindings_ = findings; }

  // What the table has still to publish for which there was no room.
  using SetAside = Asic::SetAside<Key, BaseHandle>;
  SetAside& setAside() { return *setAside_; }
  SetAside const& setAside() const { return *setAside_; }

  // The linkage of a kind; null until makeSwTable has set it.
  template <class Kind>
  Pivot::Ptr<typename I::template Linkage<Kind>> const& linkage() const {
    return linkages_.template get<Kind>();
  }
  template <class Kind>
  void linkageIs(Pivot::Ptr<typename I::template Linkage<Kind>> const& linkage) {
    Pivot::attributeIs(publisher(), Kind::tableFieldId, linkages_.template get<Kind>(), linkage);
  }
#define LOAM_INLIF_LINKAGE_ATTRIBUTE(Instance, instance, Name, name)                          \
  auto const& name##Linkage() const {                                                         \
    return linkage<Name##Kind>();                                                             \
  }                                                                                           \
  void name##LinkageIs(Pivot::Ptr<typename I::template Linkage<Name##Kind>> const& linkage) { \
    linkageIs<Name##Kind>(linkage);                                                           \
  }
  LOAM_INLIF_EACH_KIND_OF(LOAM_INLIF_LINKAGE_ATTRIBUTE, , )
#undef LOAM_INLIF_LINKAGE_ATTRIBUTE

  // The committed records of the unit, or null while its configuration is not mounted.
  ConfigMap* configMap() const;

 private:
  friend struct RecordOf<SwTableOf>;
  using SwTable = typename I::SwTable;

  SwTable* self() {
    return static_cast<SwTable*>(this);
  }
  SwTable const* self() const {
    return static_cast<SwTable const*>(this);
  }
  template <class Map>
  static EntryWrapper* found(Map const& map, Key const& key) {
    auto const* const entry = map.find(key);
    return entry == nullptr ? nullptr : entry->get();
  }
  void fillSnapshot(SwTableEntriesOf<I>& snapshot) const;
  // Each call of a client ends the process when it comes from another thread than the agent's, or after the take-down.
  void checkCall(char const* call) const;
  [[noreturn]] void refuseNull(char const* attribute, Pivot::FieldId field) const;
  static auto typedHandle(Pivot::Ptr<BaseHandle> const& handle) {
    return boost::static_pointer_cast<typename I::SwTable::EntryHandle>(handle);
  }

  class SetAsideOfTable;

  static inline constinit Vex::AllocTrackTypeInfo handleArrayTracker_{"SwTable::entryHandleInLog arrays"};
  static inline constinit Vex::AllocTrackTypeInfo handleElementTracker_{"SwTable::entryHandleInLog elements"};

  // In the order of the field ids; destroyed in the opposite one.
  Pivot::Ptr<SwTableHelperBase> swTableHelper_;
  TransientAddEntry transientAddEntry_;
  TransientRemoveEntry transientRemoveEntry_;
  TransientVersionForKey transientVersionForKey_;
  Asic::MajorVersion transientRemoveAllVersion_;
  Pivot::Ptr<EntryLog> const entryLog_;
  Pivot::Ptr<Asic::GroupResolver> const groupResolver_;
  Pivot::RQueue<Pivot::Ptr<BaseHandle>> entryHandleInLog_{handleArrayTracker_, handleElementTracker_};
  MarkedKey markedKey_;
  bool inMarkingState_ = false;
  RestoreFindings const* restoreFindings_ = nullptr;
  Pivot::Ptr<SetAside> const setAside_;
  SwTableLinkages<I, Kinds> linkages_;
};

}  // namespace LoamInLif
