// The resource table of VLAN edit profiles: each set of edits has a profile number of its own, 1 to 255.
#pragma once

#include <cstdint>

#include "Bursar/ResourceTableOf.h"
#include "Cobble/Export.h"
#include "LoamTunnelNiLib/IveResourceTableEntryKey.h"

namespace LoamTunnelNiLib {

struct IveResourceTableTraits {
  using Key = IveResourceTableEntryKey;
  using Value = std::uint8_t;
  static constexpr BursarResourceTable::ValueSpace kSpace{
      .width = 8, .allocated = true, .maxValue = 255, .maxKeys = 255, .noValue = 0};
  static constexpr char const* kShoalName = "LoamTunnelNiLib::IveResourceTableResourceTableShoal";
};

}  // namespace LoamTunnelNiLib

extern template class BursarResourceTable::ResourceTableOf<LoamTunnelNiLib::IveResourceTableTraits>;

namespace LoamTunnelNiLib {

class LOAM_FRAMEWORK_EXPORT IveResourceTableResourceTable final
    : public BursarResourceTable::ResourceTableOf<IveResourceTableTraits> {
 public:
  using BursarResourceTable::ResourceTableOf<IveResourceTableTraits>::ResourceTableOf;
  ~IveResourceTableResourceTable() override;
  Pivot::TypeData typeData() const override;
};

}  // namespace LoamTunnelNiLib
