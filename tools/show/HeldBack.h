// How far each table has come, as the store tells it, and the record that keeps the writer of the hardware
// from going on. Read-only, beside running processes or after them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Pivot/Exceptions.h"
#include "Shoal/SteadyReader.h"
#include "tools/json/ObjectReader.h"
#include "tools/support/Tables.h"

namespace Inlif {

using Version = std::optional<std::uint64_t>;

// The version that a collection keeps beside its records: of a log the last one written, of an image the last
// one applied. Absent when the collection cannot be read.
template <class Record>
Version scratchpadOf(Shoal::SteadyReader<Record>& collection) {
  if (!collection.ready()) return std::nullopt;
  try {
    return collection.reader().scratchpad();
  } catch (Pivot::CorruptionDetectedException const&) {
    return std::nullopt;
  }
}

// Up to where the writer of the hardware may read, has come, and has said that it has come.
Version announcedVersion(TableInfo const& table);
Version appliedVersion(TableInfo const& table);
Version reportedVersion(TableInfo const& table);

// How many versions are announced and not reported, also when nothing was ever reported.
inline std::uint64_t behindOf(Version announced, Version reported) {
  std::uint64_t const from = reported.value_or(0);
  return announced.value_or(0) > from ? *announced - from : 0;
}
// "InLif1: 727 versions are announced and not reported, the oldest for 12.3 s", from the members `table`, `behind` and,
// if it is known, `behindMs`.
std::string behindText(Json const& table);

// The next record that the writer has to take, when it waits for another table: `version`, `unit`, `key`, `needs` (the
// other table with the version that it has to reach) and `applied` (the one that it has reached). Null when it can go on.
Json heldBack(TableInfo const& table, Shoal::SteadyReader<LoamTunnelNiLib::InLifModelLogShoalEntry>& log);
// "InLif1 version 7 (unit 0, key 17) is held back: it needs InLif0 version 3, which is applied up to 0"
std::string heldBackText(std::string const& table, Json const& held);

}  // namespace Inlif
