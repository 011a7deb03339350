// The records of the table of an instance, of its handles, snapshots and iterator states.
#pragma once

#include "types/FamilyRecords.h"

namespace LoamInLif {

// The handle has no field of its own.
template <class I>
struct EntryHandleRecord
    : Record<typename I::SwTable::EntryHandle, LoamTunnelNiLib::InLifModelSwTableBase::EntryHandle> {
  static constexpr auto constructor =
      constructedBy<&I::SwTable::EntryHandle::EntryHandleIs, "entryVersion", "key", "swTable">();
};

template <class I>
struct RecordOf<SwTableEntriesOf<I>> : Record<typename I::SwTable::SwTableEntries_py, Pivot::Node> {
  using T = SwTableEntriesOf<I>;
  static constexpr auto all = static_cast<typename T::TableEntries const& (T::*)() const>(&T::tableEntries);
  static constexpr auto one =
      static_cast<typename T::Entry (T::*)(typename T::Key const&) const>(&T::tableEntries);
  // A default entry may be a member, so a missing one is told apart (code 28).
  using Access = MapAccess<all, one, &T::tableEntriesIs, &T::tableEntriesDel, true>;
  static constexpr std::array attributes{collection<Access>(130, "tableEntries")};
};

// The queue of handles that the hardware has not acknowledged.
template <class I>
struct HandleQueue {
  using Object = typename I::SwTable;
  using Element = Pivot::Ptr<typename I::SwTable::EntryHandle>;

  static std::uint32_t size(Object const& table) { return table.entryHandleInLogs(); }
  static bool has(Object const& table, std::uint32_t index) { return table.entryHandleInLogHas(index); }
  static Element at(Object const& table, std::uint32_t index) { return table.entryHandleInLog(index); }
  static Element front(Object const& table) { return table.entryHandleInLogFront(); }
  static Element back(Object const& table) { return table.entryHandleInLogBack(); }
  static std::uint32_t enq(Object& table, Element const& handle) { return table.entryHandleInLogEnq(handle); }
  static Element deq(Object& table) { return table.entryHandleInLogDeq(); }
};

template <class I>
struct RecordOf<SwTableOf<I>> : Record<typename I::SwTable, LoamTunnelNiLib::InLifModelSwTableBase> {
  using T = SwTableOf<I>;
  using AddAccess = MapAccess<&T::transientAddEntrys, &T::transientAddEntry, &T::transientAddEntryIs,
                              &T::transientAddEntryDel>;
  using RemoveAccess = MapAccess<&T::transientRemoveEntrys, &T::transientRemoveEntry,
                                 &T::transientRemoveEntryIs, &T::transientRemoveEntryDel>;
  using VersionAccess = MapAccess<&T::transientVersionForKeys, &T::transientVersionForKey,
                                  &T::transientVersionForKeyIs, &T::transientVersionForKeyDel>;
  using MarkedAccess = SetAccess<&T::markedKeys, &T::markedKeyIs, &T::markedKeyDel>;

  template <class Kind>
  static constexpr Pivot::AttributeRecord linkage() {
    static_assert(sizeof(T::linkages_) == Kinds::size * sizeof(void*), "one pointer after another");
    return stored<&T::template linkage<Kind>, &T::template linkageIs<Kind>>(
        Kind::tableFieldId, Kind::tableAttribute,
        offsetof(T, linkages_) + Kinds::indexOf<Kind>() * sizeof(void*));
  }
#define LOAM_INLIF_LINKAGE_ROW(Name, keyField, handleField, resolvedField) linkage<Name##Kind>(),

  static constexpr std::array attributes{
      stored<&T::swTableHelper, &T::swTableHelperIs>(T::kFieldSwTableHelper, "swTableHelper",
                                                     offsetof(T, swTableHelper_)),
      collection<AddAccess>(T::kFieldTransientAddEntry, "transientAddEntry"),
      collection<RemoveAccess>(T::kFieldTransientRemoveEntry, "transientRemoveEntry"),
      collection<VersionAccess>(T::kFieldTransientVersionForKey, "transientVersionForKey"),
      stored<&T::transientRemoveAllVersion, &T::transientRemoveAllVersionIs>(
          T::kFieldTransientRemoveAllVersion, "transientRemoveAllVersion",
          offsetof(T, transientRemoveAllVersion_)),
      operation<&T::getTableEntries_py>(903, "getTableEntries_py"),
      stored<&T::entryLog>(T::kFieldEntryLog, "entryLog", offsetof(T, entryLog_)),
      stored<&T::groupResolver>(T::kFieldGroupResolver, "groupResolver", offsetof(T, groupResolver_)),
      queue<HandleQueue<I>>(T::kFieldEntryHandleInLog, "entryHandleInLog"),
      listed<&T::commitEntry, "resolvedEntry">(908, "commitEntry"),
      listed<&T::updateEntry, "key">(909, "updateEntry"),
      listed<&T::getNeededEntrySet, "entry">(910, "getNeededEntrySet"),
      listed<&T::isResolverEntryResolved, "resolverEntry">(911, "isResolverEntryResolved"),
      listed<&T::setRsrcPtrs, "entry", "refresh">(912, "setRsrcPtrs"),
      listed<&T::entryFromConfig, "key">(913, "entryFromConfig"),
      operation<&T::restoreEntries>(914, "restoreEntries"),
      operation<&T::clearTable, "updateResources">(915, "clearTable"),
      collection<MarkedAccess>(T::kFieldMarkedKey, "markedKey"),
      stored<&T::inMarkingState, &T::inMarkingStateIs>(T::kFieldInMarkingState, "inMarkingState",
                                                       offsetof(T, inMarkingState_)),
      LOAM_INLIF_EACH_KIND(LOAM_INLIF_LINKAGE_ROW)  // from 918 on
      operation<&T::handleInitialized>(918 + Kinds::size, "handleInitialized")};
#undef LOAM_INLIF_LINKAGE_ROW
  static_assert(attributes.size() == 20 + Kinds::size, "ids from 898 on without a gap, but for 906");
  static constexpr auto constructor = constructedBy<makerOf<typename I::SwTable>, "tableName", "tableId",
                                                    "unitId", "swTableSet", "entryLog", "groupResolver">();
};

template <class I>
struct RecordOf<SwTableIteratorStateOf<I>>
    : Record<typename I::SwTableIteratorState, LoamTunnelNiLib::InLifModelSwTableIteratorState> {
  using T = SwTableIteratorStateOf<I>;
  static constexpr std::array attributes{
      stored<&T::bookmarkKey, &T::bookmarkKeyIs>(386, "bookmarkKey", offsetof(T, bookmarkKey_))};
  static constexpr auto constructor = constructedBy<makerOf<typename I::SwTableIteratorState>>();
};

template <class I>
using SwTableTables = Pivot::ModuleTables<EntryHandleRecord<I>, RecordOf<SwTableEntriesOf<I>>,
                                          RecordOf<SwTableOf<I>>, RecordOf<SwTableIteratorStateOf<I>>>;

}  // namespace LoamInLif
