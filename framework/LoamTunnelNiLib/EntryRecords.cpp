// The modules of the entry of the three tables and of the keys of this room's resource tables: plain values,
// each field at its place in the shared records.
#include <fmt/format.h>

#include <cstddef>

#include "LoamTunnelNiLib/Records.h"
#include "Pivot/ModuleTables.h"

// The row of a public data member of a plain struct.
#define LOAM_FIELD(Struct, id, member) stored<&Struct::member>(id, #member, offsetof(Struct, member))

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
  static constexpr std::array attributes{LOAM_FIELD(InLifModelLogEntry, 130, inLifData),
                                         LOAM_FIELD(InLifModelLogEntry, 131, inLifDataVlan),
                                         LOAM_FIELD(InLifModelLogEntry, 132, key),
                                         LOAM_FIELD(InLifModelLogEntry, 133, srv6EndpointCounterIndex),
                                         LOAM_FIELD(InLifModelLogEntry, 134, l2CrpsIndex),
                                         LOAM_FIELD(InLifModelLogEntry, 135, l3CrpsIndex),
                                         LOAM_FIELD(InLifModelLogEntry, 136, fecId),
                                         stored<&clientBytes>(137, "client"),
                                         LOAM_FIELD(InLifModelLogEntry, 138, learnEnable),
                                         LOAM_FIELD(InLifModelLogEntry, 139, learnEnableVlan),
                                         LOAM_FIELD(InLifModelLogEntry, 140, vlanEditProfile),
                                         LOAM_FIELD(InLifModelLogEntry, 141, qosProfile)};
};

struct ResourceKeysRecord : Record<InLifModelResourceKeys> {
  static constexpr std::array attributes{
      LOAM_FIELD(InLifModelResourceKeys, 130, inLifDataKey),
      LOAM_FIELD(InLifModelResourceKeys, 131, inLifDataVlanKey),
      LOAM_FIELD(InLifModelResourceKeys, 132, srv6EndpointCounterRequestKey),
      LOAM_FIELD(InLifModelResourceKeys, 133, l2CounterRequestKey),
      LOAM_FIELD(InLifModelResourceKeys, 134, l3CounterRequestKey),
      LOAM_FIELD(InLifModelResourceKeys, 135, learnEnableKey),
      LOAM_FIELD(InLifModelResourceKeys, 136, learnEnableVlanKey),
      LOAM_FIELD(InLifModelResourceKeys, 137, vlanEditProfileKey),
      LOAM_FIELD(InLifModelResourceKeys, 138, qosProfileKey),
      LOAM_FIELD(InLifModelResourceKeys, 139, l2AdjId)};
};

struct EntryRecord : Record<InLifModelEntry> {
  static constexpr std::array attributes{LOAM_FIELD(InLifModelEntry, 130, logEntry),
                                         LOAM_FIELD(InLifModelEntry, 131, rsrcKeys)};
};

struct InLifDataEntryKeyRecord : Record<InLifDataEntryKey> {
  static constexpr std::array attributes{LOAM_FIELD(InLifDataEntryKey, 130, intfId),
                                         LOAM_FIELD(InLifDataEntryKey, 131, moduleId)};
};

struct IntfOrVlanIdRecord : Record<IntfOrVlanId> {
  static constexpr std::array attributes{LOAM_FIELD(IntfOrVlanId, 130, intfId),
                                         LOAM_FIELD(IntfOrVlanId, 131, kind)};
};

struct LearnEnableEntryKeyRecord : Record<LearnEnableEntryKey> {
  static constexpr std::array attributes{LOAM_FIELD(LearnEnableEntryKey, 130, intfOrVlanId)};
};

// The 34 slots as one text, which names those that are not default.
struct VlanEditResourceKeyRecord : Record<VlanEditResourceKey> {
  static constexpr std::array attributes{stored<&VlanEditResourceKey::text>(130, "ops")};
};

struct IveResourceTableEntryKeyRecord : Record<IveResourceTableEntryKey> {
  static constexpr std::array attributes{LOAM_FIELD(IveResourceTableEntryKey, 130, vlanEdit)};
};

}  // namespace

PIVOT_DEFINE_MODULE(_InLifModelEntry_7ad3e51f08c6b294_vexModule, EntryKeyRecord, LogEntryRecord,
                    ResourceKeysRecord, EntryRecord)
PIVOT_DEFINE_MODULE(_InLifModelResourceKeys_e18f60d3a7245cb9_vexModule, InLifDataEntryKeyRecord,
                    IntfOrVlanIdRecord, LearnEnableEntryKeyRecord, VlanEditResourceKeyRecord,
                    IveResourceTableEntryKeyRecord)
