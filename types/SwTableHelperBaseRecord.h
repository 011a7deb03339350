// The record of the helper base of an instance.
#pragma once

#include "types/FamilyRecords.h"

namespace LoamInLif {

template <class I>
struct RecordOf<SwTableHelperBaseOf<I>> : Record<typename I::SwTableHelperBase, Pivot::Node> {
  using T = SwTableHelperBaseOf<I>;
  static constexpr std::array attributes{
      operation<&T::finalizeOnSuccess, "entry", "isDelete", "swTable">(130, "finalizeOnSuccess"),
      operation<&T::finalizeOnFailure, "entry", "isDelete", "swTable">(131, "finalizeOnFailure"),
      operation<&T::finalizeOnResourceUpdate, "entry", "swTable", "someResourceHasFailed">(
          132, "finalizeOnResourceUpdate")};
  static constexpr auto constructor = constructedBy<makerOf<typename I::SwTableHelperBase>>();
};

template <class I>
using SwTableHelperBaseTables = Pivot::ModuleTables<RecordOf<SwTableHelperBaseOf<I>>>;

}  // namespace LoamInLif
