// The texts of an entry and its parts, for traces and people: what differs from the default, by the names of
// the fields.
#include "LoamTunnelNiLib/InLifModelEntry.h"

#include <iterator>

#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Vex/Text.h"

namespace LoamTunnelNiLib {
namespace {

template <class T>
void addField(std::string& text, char const* name, T const& value, T const& byDefault) {
  if (value == byDefault) return;
  fmt::format_to(std::back_inserter(text), "{}{}: {}", text.empty() ? "" : ", ", name, value);
}

InLifModelEntry const& defaultEntry() {
  static InLifModelEntry const entry;
  return entry;
}

}  // namespace

std::string InLifModelLogEntry::text() const {
  InLifModelLogEntry const& none = defaultEntry().logEntry;
  std::string text = fmt::format("key: {}", key.value());
  addField(text, "inLifData", inLifData, none.inLifData);
  addField(text, "inLifDataVlan", inLifDataVlan, none.inLifDataVlan);
  addField(text, "srv6EndpointCounterIndex", srv6EndpointCounterIndex, none.srv6EndpointCounterIndex);
  addField(text, "l2CrpsIndex", l2CrpsIndex, none.l2CrpsIndex);
  addField(text, "l3CrpsIndex", l3CrpsIndex, none.l3CrpsIndex);
  addField(text, "fecId", fecId, none.fecId);
  addField(text, "learnEnable", learnEnable, none.learnEnable);
  addField(text, "learnEnableVlan", learnEnableVlan, none.learnEnableVlan);
  addField(text, "vlanEditProfile", vlanEditProfile, none.vlanEditProfile);
  addField(text, "qosProfile", qosProfile, none.qosProfile);
  // Of the client's bytes only the compared ones are known to be written.
  bool const run = std::memcmp(client, none.client, kComparedRun) != 0;
  if (run || client[kCompared80] != std::byte{0} || client[kCompared84] != std::byte{0}) {
    text += ", client: ";
    for (std::size_t i = 0; i < kComparedRun; ++i) {
      fmt::format_to(std::back_inserter(text), "{:02x}", static_cast<unsigned>(client[i]));
    }
    fmt::format_to(std::back_inserter(text), " {:02x} {:02x}", static_cast<unsigned>(client[kCompared80]),
                   static_cast<unsigned>(client[kCompared84]));
  }
  return text;
}

std::string InLifModelResourceKeys::text() const {
  InLifModelResourceKeys const& none = defaultEntry().rsrcKeys;
  std::string text;
  addField(text, "inLifDataKey", inLifDataKey, none.inLifDataKey);
  addField(text, "inLifDataVlanKey", inLifDataVlanKey, none.inLifDataVlanKey);
  addField(text, "srv6EndpointCounterRequestKey", srv6EndpointCounterRequestKey,
           none.srv6EndpointCounterRequestKey);
  addField(text, "l2CounterRequestKey", l2CounterRequestKey, none.l2CounterRequestKey);
  addField(text, "l3CounterRequestKey", l3CounterRequestKey, none.l3CounterRequestKey);
  addField(text, "learnEnableKey", learnEnableKey, none.learnEnableKey);
  addField(text, "learnEnableVlanKey", learnEnableVlanKey, none.learnEnableVlanKey);
  addField(text, "vlanEditProfileKey", vlanEditProfileKey, none.vlanEditProfileKey);
  addField(text, "qosProfileKey", qosProfileKey, none.qosProfileKey);
  addField(text, "l2AdjId", l2AdjId, none.l2AdjId);
  return text;
}

InLifModelEntry::operator bool() const noexcept {
  return !isEq(defaultEntry());
}

std::string InLifModelEntry::text() const {
  std::string const keys = rsrcKeys.text();
  return fmt::format("{{{}{}{}}}", logEntry, keys.empty() ? "" : ", ", keys);
}

std::string InLifModelConfigShoalEntry::text() const {
  std::string const keys = rsrcKeys.text();
  return fmt::format("{{version: {}{}, {}{}{}}}", logVersion, isDeleted != 0 ? ", deleted" : "", tableEntry,
                     keys.empty() ? "" : ", ", keys);
}

std::string InLifModelLogShoalEntry::text() const {
  if (isTableDeleted()) return fmt::format("{{version: {}, unit: {}, table deleted}}", logVersion, unitId);
  return fmt::format("{{version: {}, unit: {}{}, {}}}", logVersion, unitId,
                     isEntryDeleted() ? ", entry deleted" : "", logEntry);
}

}  // namespace LoamTunnelNiLib
