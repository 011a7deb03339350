// The n-th key of each kind, none of them the null key: what a test writes when it does not matter which
// resource an entry uses, only whether two entries use the same one.
#pragma once

#include <string>

#include "LoamInLif/Kinds.h"
#include "Wirekit/IntfId.h"

namespace TestSupport {

inline Wirekit::IntfId intfOf(unsigned n) {
  return Wirekit::IntfId("Ethernet" + std::to_string(n + 1));
}

template <class Key>
Key keyOfType(unsigned n) {
  if constexpr (std::is_constructible_v<Key, Wirekit::IntfId>) {
    return Key(intfOf(n));
  } else if constexpr (std::is_constructible_v<Key, unsigned>) {
    return Key(n + 1);
  } else {
    Key key;
    key.vlanEdit.ops[LoamTunnelNiLib::TagFormat::untagged] = {.action = LoamTunnelNiLib::VlanAction::edit,
                                                              .outerVlan = static_cast<std::uint16_t>(n + 1)};
    return key;
  }
}
template <class Kind>
typename Kind::Key keyOf(unsigned n) {
  return keyOfType<typename Kind::Key>(n);
}

}  // namespace TestSupport
