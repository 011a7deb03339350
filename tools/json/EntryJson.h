// Keys and entries of the tables as JSON, both ways. The agent's operations, `show`, the demo and its
// comparison all go through here.
//
// Reading is whole or refused: the out argument is touched only on success. docs/json-protocol.md shows the
// forms.
#pragma once

#include <string>

#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "Pivot/Status.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {

// The key of a resource, of any type that a kind has. The null key is printed as an empty object (0 for an adjacency).
template <class Key>
Json keyJson(Key const& key);
// `place` heads a refusal: "write: qosProfileKey".
template <class Key>
Pivot::Status keyFrom(Value value, ObjectPlace const& place, Key& out);

// Reads "key", "client" and the ten resource keys of a write from its object; an omitted resource key is the
// null key, omitted client bytes are 0. Refusals are kept in the reader.
void entryFrom(ObjectReader& in, LoamTunnelNiLib::InLifModelEntry& out);

// Adds what a client has written, as a write has it: each resource key that is not null, and the client's bytes unless
// all of them are 0.
void addWritten(Json& out, LoamTunnelNiLib::InLifModelEntry const& entry);
// Adds the members of an entry to `out`: the client's bytes, each resource key that is not null, and as
// "resolved" what the resources gave.
void addEntry(Json& out, LoamTunnelNiLib::InLifModelEntry const& entry);
// The same for what the hardware sees: client's bytes and resolved fields.
void addLogEntry(Json& out, LoamTunnelNiLib::InLifModelLogEntry const& entry);

std::string hexOf(std::span<std::byte const> bytes);

}  // namespace Inlif
