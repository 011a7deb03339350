// The ten linkages of a table, one counted pointer per kind in linkage order. Bases are destroyed from the
// last to the first, so the linkages go in that order.
#pragma once

#include <utility>

#include "LoamInLif/Instance.h"
#include "Pivot/Node.h"

namespace LoamInLif {

template <class I, class Kind>
struct SwTableLinkage {
  Pivot::Ptr<typename I::template Linkage<Kind>> linkage;
};

template <class I, class List>
class SwTableLinkages;

template <class I, class... Kind>
class SwTableLinkages<I, KindList<Kind...>> : SwTableLinkage<I, Kind>... {
 public:
  template <class K>
  auto& get() {
    return static_cast<SwTableLinkage<I, K>&>(*this).linkage;
  }
  template <class K>
  auto const& get() const {
    return static_cast<SwTableLinkage<I, K> const&>(*this).linkage;
  }

  // Calls call(linkage...) with the ten pointers in linkage order.
  template <class Call>
  decltype(auto) apply(Call&& call) const {
    return std::forward<Call>(call)(get<Kind>()...);
  }
};

}  // namespace LoamInLif
