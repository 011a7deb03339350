// The modules of the entry of the three tables and of the keys of this room's resource tables: plain values,
// each field at its place in the shared records.
#include <fmt/format.h>

#include <cstddef>

#include "LoamTunnelNiLib/Records.h"
#include "Pivot/ModuleTables.h"

namespace {

using namespace LoamTunnelNiLib;
using namespace Pivot::Inspect;

struct EntryKeyRecord : Record<InLifModelEntryKey> {
  static constexpr std::array attributes{stored<&InLifModelEntryKey::value>(130, "value", 0)};
};

// The client's bytes in hexadecimal.
Pivot::String clientBytes(InLifModelLogEntry const& entry) {
  Pivot::String text;
  for (std::byte byte : entry.clientBytes()) text += fmt::format("{:02x}", static_cast<unsigned>(byte));
  return text;
}
struct LogEntryRecord : Record<InLifModelLogEntry> {
  static constexpr std::array attributes{PIVOT_FIELD(InLifModelLogEntry, 130, inLifData),
                                         PIVOT_FIELD(InLifModelLogEntry, 131, inLifDataVlan),
                                         PIVOT_FIELD(InLifModelLogEntry, 132, key),
                                         PIVOT_FIELD(InLifModelLogEntry, 133, srv6EndpointCounterIndex),
                                         PIVOT_FIELD(InLifModelLogEntry, 134, l2CrpsIndex),
                                         PIVOT_FIELD(InLifModelLogEntry, 135, l3CrpsIndex),
                                         PIVOT_FIELD(InLifModelLogEntry, 136, fecId),
                                         stored<&clientBytes>(137, "client"),
                                         PIVOT_FIELD(InLifModelLogEntry, 138, learnEnable),
                                         PIVOT_FIELD(InLifModelLogEntry, 139, learnEnableVlan),
                                         PIVOT_FIELD(InLifModelLogEntry, 140, vlanEditProfile),
                                         PIVOT_FIELD(InLifModelLogEntry, 141, qosProfile)};
};

struct ResourceKeysRecord : Record<InLifModelResourceKeys> {
  static constexpr std::array attributes{
      PIVOT_FIELD(InLifModelResourceKeys, 130, inLifDataKey),
      PIVOT_FIELD(InLifModelResourceKeys, 131, inLifDataVlanKey),
      PIVOT_FIELD(InLifModelResourceKeys, 132, srv6EndpointCounterRequestKey),
      PIVOT_FIELD(InLifModelResourceKeys, 133, l2CounterRequestKey),
      PIVOT_FIELD(InLifModelResourceKeys, 134, l3CounterRequestKey),
      PIVOT_FIELD(InLifModelResourceKeys, 135, learnEnableKey),
      PIVOT_FIELD(InLifModelResourceKeys, 136, learnEnableVlanKey),
      PIVOT_FIELD(InLifModelResourceKeys, 137, vlanEditProfileKey),
      PIVOT_FIELD(InLifModelResourceKeys, 138, qosProfileKey),
      PIVOT_FIELD(InLifModelResourceKeys, 139, l2AdjId)};
};

struct EntryRecord : Record<InLifModelEntry> {
  static constexpr std::array attributes{PIVOT_FIELD(InLifModelEntry, 130, logEntry),
                                         PIVOT_FIELD(InLifModelEntry, 131, rsrcKeys)};
};

struct InLifDataEntryKeyRecord : Record<InLifDataEntryKey> {
  static constexpr std::array attributes{PIVOT_FIELD(InLifDataEntryKey, 130, intfId),
                                         PIVOT_FIELD(InLifDataEntryKey, 131, moduleId)};
};

struct IntfOrVlanIdRecord : Record<IntfOrVlanId> {
  static constexpr std::array attributes{PIVOT_FIELD(IntfOrVlanId, 130, intfId),
                                         PIVOT_FIELD(IntfOrVlanId, 131, kind)};
};

struct LearnEnableEntryKeyRecord : Record<LearnEnableEntryKey> {
  static constexpr std::array attributes{PIVOT_FIELD(LearnEnableEntryKey, 130, intfOrVlanId)};
};

// The 34 slots as one text, which names those that are not default.
struct VlanEditResourceKeyRecord : Record<VlanEditResourceKey> {
  static constexpr std::array attributes{stored<&VlanEditResourceKey::text>(130, "ops")};
};

struct IveResourceTableEntryKeyRecord : Record<IveResourceTableEntryKey> {
  static constexpr std::array attributes{PIVOT_FIELD(IveResourceTableEntryKey, 130, vlanEdit)};
};

}  // namespace

PIVOT_DEFINE_MODULE(_InLifModelEntry_7ad3e51f08c6b294_vexModule, EntryKeyRecord, LogEntryRecord,
                    ResourceKeysRecord, EntryRecord)
PIVOT_DEFINE_MODULE(_InLifModelResourceKeys_e18f60d3a7245cb9_vexModule, InLifDataEntryKeyRecord,
                    IntfOrVlanIdRecord, LearnEnableEntryKeyRecord, VlanEditResourceKeyRecord,
                    IveResourceTableEntryKeyRecord)
