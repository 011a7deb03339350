// The ten keys by which an entry asks the resource tables, in the order of the linkages. A key with its
// default value asks for nothing.
//
// A format shared with another process and with the memory that an earlier run left: offsets, widths and
// padding are binding. 672 bytes, all written by the client:
//
//   offset  width  field                          default
//   0       16     inLifDataKey                   the empty interface, 2048
//   16      16     inLifDataVlanKey               the empty interface, 2048
//   32      16     srv6EndpointCounterRequestKey  0, 2048, 6, 0
//   48      16     l2CounterRequestKey            0, 2048, 6, 0
//   64      16     l3CounterRequestKey            0, 2048, 6, 0
//   80      16     learnEnableKey                 the empty interface, 0
//   96      16     learnEnableVlanKey             the empty interface, 0
//   112     544    vlanEditProfileKey             34 empty slots
//   656     8      qosProfileKey                  the empty interface
//   664     4      l2AdjId                        0
//   668     4      reserved668                    0, written by nobody
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "Cobble/Export.h"
#include "LoamAdjLib/L2AdjToFecResourceTableEntryKey.h"
#include "LoamCountersLib/CrpsIndexRequestEntryKey.h"
#include "LoamQos/QosProfileEntryKey.h"
#include "LoamTunnelNiLib/InLifDataEntryKey.h"
#include "LoamTunnelNiLib/IveResourceTableEntryKey.h"
#include "LoamTunnelNiLib/LearnEnableEntryKey.h"

namespace LoamTunnelNiLib {

struct LOAM_FRAMEWORK_EXPORT InLifModelResourceKeys {
  static constexpr bool kFormatsAsText = true;

  InLifDataEntryKey inLifDataKey{};
  InLifDataEntryKey inLifDataVlanKey{};
  LoamCountersLib::CrpsIndexRequestEntryKey srv6EndpointCounterRequestKey{};
  LoamCountersLib::CrpsIndexRequestEntryKey l2CounterRequestKey{};
  LoamCountersLib::CrpsIndexRequestEntryKey l3CounterRequestKey{};
  LearnEnableEntryKey learnEnableKey{};
  LearnEnableEntryKey learnEnableVlanKey{};
  IveResourceTableEntryKey vlanEditProfileKey{};
  LoamQos::QosProfileEntryKey qosProfileKey{};
  LoamAdjLib::L2AdjToFecResourceTableEntryKey l2AdjId{};
  std::uint32_t reserved668 = 0;

  bool isEq(InLifModelResourceKeys const& other) const noexcept {
    return inLifDataKey.isEq(other.inLifDataKey) && inLifDataVlanKey.isEq(other.inLifDataVlanKey) &&
           srv6EndpointCounterRequestKey.isEq(other.srv6EndpointCounterRequestKey) &&
           l2CounterRequestKey.isEq(other.l2CounterRequestKey) &&
           l3CounterRequestKey.isEq(other.l3CounterRequestKey) && learnEnableKey.isEq(other.learnEnableKey) &&
           learnEnableVlanKey.isEq(other.learnEnableVlanKey) &&
           vlanEditProfileKey.isEq(other.vlanEditProfileKey) && qosProfileKey.isEq(other.qosProfileKey) &&
           l2AdjId.isEq(other.l2AdjId);
  }
  friend bool operator==(InLifModelResourceKeys const& a, InLifModelResourceKeys const& b) noexcept {
    return a.isEq(b);
  }
  // Every key that differs from its default, by name; empty without one.
  std::string text() const;
};

static_assert(sizeof(InLifModelResourceKeys) == 672);
static_assert(offsetof(InLifModelResourceKeys, inLifDataKey) == 0);
static_assert(offsetof(InLifModelResourceKeys, inLifDataVlanKey) == 16);
static_assert(offsetof(InLifModelResourceKeys, srv6EndpointCounterRequestKey) == 32);
static_assert(offsetof(InLifModelResourceKeys, l2CounterRequestKey) == 48);
static_assert(offsetof(InLifModelResourceKeys, l3CounterRequestKey) == 64);
static_assert(offsetof(InLifModelResourceKeys, learnEnableKey) == 80);
static_assert(offsetof(InLifModelResourceKeys, learnEnableVlanKey) == 96);
static_assert(offsetof(InLifModelResourceKeys, vlanEditProfileKey) == 112);
static_assert(offsetof(InLifModelResourceKeys, qosProfileKey) == 656);
static_assert(offsetof(InLifModelResourceKeys, l2AdjId) == 664);
static_assert(offsetof(InLifModelResourceKeys, reserved668) == 668);
static_assert(std::is_standard_layout_v<InLifModelResourceKeys> &&
              std::is_trivially_copyable_v<InLifModelResourceKeys>);

}  // namespace LoamTunnelNiLib
