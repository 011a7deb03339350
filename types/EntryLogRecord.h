// The record of the entry log of an instance.
#pragma once

#include "types/FamilyRecords.h"

namespace LoamInLif {

template <class I>
struct RecordOf<EntryLogOf<I>> : Record<typename I::EntryLog, Asic::EntryLogBase> {
  using T = EntryLogOf<I>;
  using Configurations =
      MapAccess<&T::tableConfigShoal_, &T::tableConfigShoal, &T::tableConfigShoalIs, &T::tableConfigShoalDel>;
  static constexpr std::array attributes{
      stored<&T::tableEntryLog>(258, "tableEntryLog", offsetof(T, tableEntryLog_)),
      collection<Configurations>(259, "tableConfigShoal"),
      operation<&T::entryIs, "tableEntry", "rsrcKeys", "neededEntry", "unitId", "stats",
                "suppressIdenticalWrites">(260, "entryIs"),
      operation<&T::entryDel, "key", "neededEntry", "unitId">(261, "entryDel"),
      operation<&T::tableDel, "neededEntry", "unitId">(262, "tableDel"),
      operation<&T::entry, "key", "unitId">(263, "entry"),
      operation<&T::entryHas, "key", "unitId">(264, "entryHas"),
      operation<&T::entryRsrcKeys, "key", "unitId">(265, "entryRsrcKeys"),
      operation<&T::entryLogVersion, "key", "unitId">(266, "entryLogVersion"),
      operation<&T::entrys, "unitId">(267, "entrys"),
      operation<&T::entrysInDeletion, "unitId">(268, "entrysInDeletion"),
      operation<&T::cleanupEntryLog, "tableVersion">(269, "cleanupEntryLog"),
      operation<&T::mountShoalChangeLog>(270, "mountShoalChangeLog"),
      operation<&T::mountShoalConfig, "unitId", "tableVersion">(271, "mountShoalConfig"),
      operation<&T::handleInitialized>(272, "handleInitialized")};
  static_assert(attributes.size() == 15, "ids 258 to 272 without a gap");
  static constexpr auto constructor = constructedBy<makerOf<typename I::EntryLog>, "tableId", "entityManager",
                                                    "groupInterface", "agentName">();
};

template <class I>
using EntryLogTables = Pivot::ModuleTables<RecordOf<EntryLogOf<I>>>;

}  // namespace LoamInLif
