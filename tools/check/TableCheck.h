// What log, configurations, image and rows of one table say of each other. An agent and a writer of the
// hardware that were killed at any moment leave all of this true:
//
//   C1  No record is ahead of the scratchpad of the log, but those of the version that a standing intent
//       names; the intent's version is that of the scratchpad or the next one.
//   C2  A configuration record whose version the hardware has not taken has its log record, and the last log
//       record about its key says what it says. No log record of such a version tells of a key that the
//       configuration does not have.
//   C3  The scratchpad's version has its log record until the hardware has taken it.
//   C4  What is announced is not ahead of the scratchpad, what is reported not ahead of the image.
//   C5  The image has each live configuration record up to the applied version, and nothing else of those
//       keys; of keys with a later version it has what the log records that are left say. The one record
//       after the applied version may be in it already.
//       What the hardware refused is excepted by C8.
//   C6  Needed versions belong to a log record, and name other tables at versions that those have announced.
//   C7  The log is not below what the image has begun to apply; and neither the image nor a configuration that
//       agrees is below what is cleaned from the log.
//   C8  A record up to the applied version that the hardware refused has its row in the failures, with its version; the
//       image has what stood before it. A row is about the last record of its key that was dealt with.
//
// A unit that does not agree with the log (after a loss) is compared with nothing: the next start publishes
// it anew.
#pragma once

#include "tools/check/StoreContents.h"

namespace Inlif {

// Findings and notes about the table with index `table` go into `result`.
void checkTable(StoreContents const& contents, std::size_t table, CheckResult& result);

// C6, over all tables.
void checkNeeds(StoreContents const& contents, CheckResult& result);

}  // namespace Inlif
