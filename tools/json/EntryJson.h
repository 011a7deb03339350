// Keys and entries of the tables as JSON, both ways. The agent's operations, `show`, the demo and its
// comparison all go through here.
//
// Reading is whole or refused: the out argument is touched only on success. docs/json-protocol.md shows the
// forms.
#pragma once

#include <string>
#include <string_view>

#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "Pivot/Status.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {

// The null key of a resource is printed as an empty object (0 for an adjacency).
Json keyJson(LoamTunnelNiLib::InLifDataEntryKey const& key);
Json keyJson(LoamCountersLib::CrpsIndexRequestEntryKey const& key);
Json keyJson(LoamTunnelNiLib::LearnEnableEntryKey const& key);
Json keyJson(LoamTunnelNiLib::IveResourceTableEntryKey const& key);
Json keyJson(LoamQos::QosProfileEntryKey const& key);
Json keyJson(LoamAdjLib::L2AdjToFecResourceTableEntryKey const& key);

// `place` heads a refusal: "write: qosProfileKey".
Pivot::Status keyFrom(Value value, ObjectPlace const& place, LoamTunnelNiLib::InLifDataEntryKey& out);
Pivot::Status keyFrom(Value value, ObjectPlace const& place, LoamCountersLib::CrpsIndexRequestEntryKey& out);
Pivot::Status keyFrom(Value value, ObjectPlace const& place, LoamTunnelNiLib::LearnEnableEntryKey& out);
Pivot::Status keyFrom(Value value, ObjectPlace const& place, LoamTunnelNiLib::IveResourceTableEntryKey& out);
Pivot::Status keyFrom(Value value, ObjectPlace const& place, LoamQos::QosProfileEntryKey& out);
Pivot::Status keyFrom(Value value, ObjectPlace const& place,
                      LoamAdjLib::L2AdjToFecResourceTableEntryKey& out);

// Reads "key", "client" and the ten resource keys of a write from its object; an omitted resource key is the
// null key, omitted client bytes are 0. Refusals are kept in the reader.
void entryFrom(ObjectReader& in, LoamTunnelNiLib::InLifModelEntry& out);

// Adds the members of an entry to `out`: the client's bytes, each resource key that is not null, and as
// "resolved" what the resources gave.
void addEntry(Json& out, LoamTunnelNiLib::InLifModelEntry const& entry);
// The same for what the hardware sees: client's bytes and resolved fields.
void addLogEntry(Json& out, LoamTunnelNiLib::InLifModelLogEntry const& entry);

std::string hexOf(std::span<std::byte const> bytes);

}  // namespace Inlif
