// Where the shared collections of an instance lie in the store. The entry log mounts them by these paths, a
// table names the class as its `SwTableConstants`, and reconciliation relies on one thing: every configuration
// lies below Asic::Constants::canonicalGroupTableConfigShoalPathBase, and unitOfConfigPath gives back the
// unit of its path.
#pragma once

#include "Asic/Constants.h"
#include "Asic/UnitId.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/Instance.h"
#include "Pivot/Types.h"

namespace LoamInLif {

template <class I>
class LOAM_INLIF_EXPORT ConstantsOf {
 public:
  // The path of one unit's configuration.
  static Pivot::String configShoalPath(Asic::UnitId unitId) {
    return Asic::Constants::canonicalGroupTableConfigShoalPath(group(), I::tableNamespace, I::tableName,
                                                               unitId);
  }
  // The path below which the configurations of all units lie.
  static Pivot::String configShoalPathBase() {
    return Asic::Constants::canonicalGroupTableConfigShoalPathBase(group(), I::tableNamespace, I::tableName);
  }
  // The path of the change log that all units of the instance share.
  static Pivot::String tableEntryLogShoalPath() {
    return Asic::Constants::canonicalGroupTableLogShoalPath(group(), I::tableNamespace, I::tableName);
  }
  // The path of the image of the hardware, which the writer of the hardware keeps.
  static Pivot::String imageShoalPath() {
    return Asic::Constants::canonicalGroupTableImageShoalPath(group(), I::tableNamespace, I::tableName);
  }

 private:
  static Pivot::String group() { return Asic::Constants::canonicalizeGroupName(I::agentName, I::groupName); }
};

#define LOAM_INLIF_DECLARE_CONSTANTS(Instance, instance) \
  class LOAM_INLIF_EXPORT Instance##Constants : public ConstantsOf<Instance> {};
LOAM_INLIF_EACH_INSTANCE(LOAM_INLIF_DECLARE_CONSTANTS)
#undef LOAM_INLIF_DECLARE_CONSTANTS

}  // namespace LoamInLif
