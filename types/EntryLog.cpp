// The record of the entry logs and their modules.
#include "types/FamilyRecords.h"

namespace LoamInLif {

#define LOAM_INLIF_ENTRY_LOG(Instance, instance) \
  LOAM_INLIF_MAKER(Instance, EntryLog)           \
  LOAM_INLIF_TYPE_DATA(Instance##EntryLog)
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_ENTRY_LOG)

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

}  // namespace LoamInLif

#define LOAM_INLIF_DEFINE_MODULE(Instance, Unit, hash)        \
  PIVOT_DEFINE_MODULE(_##Instance##Unit##_##hash##_vexModule, \
                      LoamInLif::RecordOf<LoamInLif::EntryLogOf<LoamInLif::Instance>>)
LOAM_INLIF_ENTRY_LOG_MODULES(LOAM_INLIF_DEFINE_MODULE)
