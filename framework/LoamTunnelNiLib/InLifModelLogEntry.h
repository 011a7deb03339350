// The resolved view of one entry: what the writer of the hardware consumes.
//
// A format shared with another process and with the memory that an earlier run left: offsets, widths and
// padding are binding, integers are little-endian. 96 bytes:
//
//   offset  width  field                     default     written by
//   0       u64    inLifData                 0           the table, from the resource of inLifDataKey
//   8       u64    inLifDataVlan             0           the table, from inLifDataVlanKey
//   16      u32    key                       0           the table, at each write and restore
//   20      u32    srv6EndpointCounterIndex  0xFFFFFFFF  the table, from srv6EndpointCounterRequestKey
//   24      u32    l2CrpsIndex               0xFFFFFFFF  the table, from l2CounterRequestKey
//   28      u32    l3CrpsIndex               0xFFFFFFFF  the table, from l3CounterRequestKey
//   32      u32    fecId                     0           the table, from l2AdjId
//   36      49     client                    see below   the client
//   85      u8     learnEnable               1           the table, from learnEnableKey
//   86      u8     learnEnableVlan           1           the table, from learnEnableVlanKey
//   87      u8     vlanEditProfile           0           the table, from vlanEditProfileKey
//   88      u8     qosProfile                0           the table, from qosProfileKey
//   89      7      reserved89                0           nobody
//
// Of the client's bytes 36 to 45, 80 and 84 are cleared by the default constructor and take part in equality.
// The others are left unwritten, belong to nobody and take no part: two entries are compared by isEq, never byte
// by byte. Whoever publishes an entry makes them zero, so that what lay in memory does not get into the store.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <type_traits>

#include "Cobble/Export.h"
#include "LoamTunnelNiLib/InLifModelEntryKey.h"

namespace LoamTunnelNiLib {

struct LOAM_FRAMEWORK_EXPORT InLifModelLogEntry {
  static constexpr bool kFormatsAsText = true;
  static constexpr std::size_t kClientBytes = 49;
  static constexpr std::uint32_t kNoIndex = 0xFFFFFFFF;

  std::uint64_t inLifData = 0;
  std::uint64_t inLifDataVlan = 0;
  InLifModelEntryKey key{};
  std::uint32_t srv6EndpointCounterIndex = kNoIndex;
  std::uint32_t l2CrpsIndex = kNoIndex;
  std::uint32_t l3CrpsIndex = kNoIndex;
  std::uint32_t fecId = 0;
  std::byte client[kClientBytes];  // partly unwritten, see above
  std::uint8_t learnEnable = 1;
  std::uint8_t learnEnableVlan = 1;
  std::uint8_t vlanEditProfile = 0;
  std::uint8_t qosProfile = 0;
  std::uint8_t reserved89[7] = {};

  InLifModelLogEntry() noexcept {
    std::memset(client, 0, kComparedRun);
    client[kCompared80] = std::byte{0};
    client[kCompared84] = std::byte{0};
  }

  std::span<std::byte, kClientBytes> clientBytes() noexcept {
    return std::span<std::byte, kClientBytes>(client);
  }
  std::span<std::byte const, kClientBytes> clientBytes() const noexcept {
    return std::span<std::byte const, kClientBytes>(client);
  }

  // Makes the bytes that belong to nobody zero.
  void clearUnowned() noexcept {
    std::memset(client + kComparedRun, 0, kCompared80 - kComparedRun);
    std::memset(client + kCompared80 + 1, 0, kCompared84 - kCompared80 - 1);
  }

  bool isEq(InLifModelLogEntry const& other) const noexcept {
    return inLifData == other.inLifData && inLifDataVlan == other.inLifDataVlan && key.isEq(other.key) &&
           srv6EndpointCounterIndex == other.srv6EndpointCounterIndex && l2CrpsIndex == other.l2CrpsIndex &&
           l3CrpsIndex == other.l3CrpsIndex && fecId == other.fecId &&
           std::memcmp(client, other.client, kComparedRun) == 0 &&
           client[kCompared80] == other.client[kCompared80] &&
           client[kCompared84] == other.client[kCompared84] && learnEnable == other.learnEnable &&
           learnEnableVlan == other.learnEnableVlan && vlanEditProfile == other.vlanEditProfile &&
           qosProfile == other.qosProfile;
  }
  friend bool operator==(InLifModelLogEntry const& a, InLifModelLogEntry const& b) noexcept {
    return a.isEq(b);
  }
  // Every named field that differs from its default, and the compared bytes of the client if any is set.
  std::string text() const;

 private:
  // Places of the compared bytes within `client`: the first ten, and those at offsets 80 and 84 of the
  // record.
  static constexpr std::size_t kComparedRun = 10;
  static constexpr std::size_t kCompared80 = 80 - 36;
  static constexpr std::size_t kCompared84 = 84 - 36;
};

static_assert(sizeof(InLifModelLogEntry) == 96);
static_assert(offsetof(InLifModelLogEntry, inLifData) == 0);
static_assert(offsetof(InLifModelLogEntry, inLifDataVlan) == 8);
static_assert(offsetof(InLifModelLogEntry, key) == 16);
static_assert(offsetof(InLifModelLogEntry, srv6EndpointCounterIndex) == 20);
static_assert(offsetof(InLifModelLogEntry, l2CrpsIndex) == 24);
static_assert(offsetof(InLifModelLogEntry, l3CrpsIndex) == 28);
static_assert(offsetof(InLifModelLogEntry, fecId) == 32);
static_assert(offsetof(InLifModelLogEntry, client) == 36);
static_assert(offsetof(InLifModelLogEntry, learnEnable) == 85);
static_assert(offsetof(InLifModelLogEntry, learnEnableVlan) == 86);
static_assert(offsetof(InLifModelLogEntry, vlanEditProfile) == 87);
static_assert(offsetof(InLifModelLogEntry, qosProfile) == 88);
static_assert(offsetof(InLifModelLogEntry, reserved89) == 89);
static_assert(std::is_standard_layout_v<InLifModelLogEntry> &&
              std::is_trivially_copyable_v<InLifModelLogEntry> &&
              std::has_unique_object_representations_v<InLifModelLogEntry>);

}  // namespace LoamTunnelNiLib
