// The records of the entry wrapper and the resolver entry of an instance.
#pragma once

#include "types/FamilyRecords.h"

namespace LoamInLif {

// The parts of the entry are views of it. The resolved fields are asked of the resources at each call, so they
// are operations. The key can only be read: a wrapper may stand in a map of its table, in the order of the keys.
template <class I>
struct RecordOf<EntryWrapperOf<I>> : Record<typename I::EntryWrapper, Pivot::Node> {
  using T = EntryWrapperCore;
  using Wrapper = EntryWrapperOf<I>;

  template <class Kind>
  static constexpr Pivot::FieldId firstId = 135 + 3 * static_cast<Pivot::FieldId>(Kinds::indexOf<Kind>());
  static constexpr Pivot::FieldId behindKinds = 135 + 3 * static_cast<Pivot::FieldId>(Kinds::size);
#define LOAM_INLIF_WRAPPER_ROWS(Name, keyField, handleField, resolvedField)                    \
  computed<&T::keyField, &T::keyField##Is>(firstId<Name##Kind>, #keyField),                    \
      stored<&T::handleField, &T::handleField##Is>(firstId<Name##Kind> + 1, #handleField,      \
                                                   offsetof(T, resourceHandles_.handleField)), \
      operation<&T::resolvedField>(firstId<Name##Kind> + 2, #resolvedField),
  static constexpr std::array attributes{
      stored<&T::entry, &T::entryIs>(130, "entry", offsetof(T, entry_)),
      stored<&T::entryHandle>(131, "entryHandle", offsetof(T, entryHandle_)),
      computed<&T::key>(132, "key"),
      computed<&T::logEntry, &T::logEntryIs>(133, "logEntry"),
      computed<&T::rsrcKeys, &T::rsrcKeysIs>(134, "rsrcKeys"),
      LOAM_INLIF_EACH_KIND(LOAM_INLIF_WRAPPER_ROWS)  // from 135 on
      operation<&T::setResolvedFields>(behindKinds, "setResolvedFields"),
      operation<&T::retrieveClientData>(behindKinds + 1, "retrieveClientData"),
      operation<&Wrapper::finalizeOnSuccess, "swTable", "isDeleted">(behindKinds + 2, "finalizeOnSuccess"),
      operation<&Wrapper::finalizeOnFailure, "swTable", "isDeleted">(behindKinds + 3, "finalizeOnFailure")};
#undef LOAM_INLIF_WRAPPER_ROWS
  static_assert(attributes.size() == 9 + 3 * Kinds::size, "ids from 130 on without a gap");
  static constexpr auto constructor =
      constructedBy<makerOf<typename I::EntryWrapper>, "entry", "entryHandle">();
};

template <class I>
struct RecordOf<ResolverEntryOf<I>> : Record<typename I::ResolverEntry, Asic::ResolverEntry> {
  using T = ResolverEntryOf<I>;
  static constexpr std::array attributes{
      stored<&T::swTable>(258, "swTable", offsetof(T, swTable_)),
      stored<&T::swTableEntry>(259, "swTableEntry", offsetof(T, swTableEntry_))};
  static constexpr auto constructor =
      constructedBy<makerOf<typename I::ResolverEntry>, "dependantEntryHandle", "flags", "swTable",
                    "swTableEntry">();
};

template <class I>
using InfraTypesTables = Pivot::ModuleTables<RecordOf<EntryWrapperOf<I>>, RecordOf<ResolverEntryOf<I>>>;

}  // namespace LoamInLif
