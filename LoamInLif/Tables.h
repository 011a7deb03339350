// The three tables as programs know them that look at all of them: their places, and where they lie in the store. An
// agent, a writer of the hardware and every tool count the tables by these places, in the order of Names.h.
#pragma once

#include <cstddef>
#include <type_traits>

#include "Asic/Constants.h"
#include "Asic/GroupInfo.h"
#include "LoamInLif/Instance.h"

namespace LoamInLif {

#define LOAM_INLIF_ONE(Instance, instance) +1
inline constexpr std::size_t kTables = LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_ONE);
#undef LOAM_INLIF_ONE

// The family's group, with its tables in the order of their places.
inline Asic::GroupInfo const& groupInfo() {
  static Asic::GroupInfo const all = [] {
    std::string const name =
        Asic::Constants::canonicalizeGroupName(FamilyConstants::agentName, FamilyConstants::groupName);
    Asic::GroupInfo group(name);
#define LOAM_INLIF_TABLE(Instance, instance) \
  group.tables.emplace_back(name, Instance::tableNamespace, Instance::tableName, Instance::tableId);
    LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_TABLE)
#undef LOAM_INLIF_TABLE
    return group;
  }();
  return all;
}

// The place of an instance.
template <class I>
inline constexpr std::size_t placeOf = [] {
  std::size_t place = 0;
#define LOAM_INLIF_PASS(Instance, instance)      \
  if (std::is_same_v<I, Instance>) return place; \
  ++place;
  LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_PASS)
#undef LOAM_INLIF_PASS
  return place;
}();

// Calls f.operator()<I>() for the instance at a place. REQUIRES: the place is below kTables.
template <class F>
auto withInstance(std::size_t table, F f) {
  using Result = decltype(f.template operator()<InLif0>());
  using Call = Result (*)(F&);
#define LOAM_INLIF_CALL(Instance, instance) \
  [](F& of) -> Result { return of.template operator()<Instance>(); },
  static constexpr Call calls[] = {LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_CALL)};
#undef LOAM_INLIF_CALL
  return calls[table](f);
}

}  // namespace LoamInLif
