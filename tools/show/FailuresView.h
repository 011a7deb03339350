// `inlif show failures`: what is not in the hardware, since when and why, read from the store.
#pragma once

#include "tools/show/Selection.h"

namespace Inlif {

// How many rows the failures of a table have, and how many refusals found no room for one.
struct FailureCount {
  std::uint64_t rows = 0;
  std::uint64_t unlisted = 0;
};
FailureCount failureCount(TableInfo const& table);

// Prints each failure in the order of table, unit and key. False when not all could be read, which is told.
bool showFailures(Selection const& selection);
// For who asks why something waits: each failure in a sentence, or with `countAlone` how many each table has.
void tellFailures(Selection const& selection, bool countAlone);

}  // namespace Inlif
