// Where an operation, or a resource, stands. The numbers are shared with every table of the agent and never
// change meaning.
//
//   state                    reached when
//   entryStateUnresolved     accepted; something is still waited for
//   entryStateInLog          published; the hardware has not taken it yet
//   entryStateRejected       refused by its table
//   entryStateDone           the hardware has it, or nothing was left to do
//   entryStateFailed         ended without effect
//   entryStateResolveFailed  ended because a resource could not be had
#pragma once

#include <cstdint>

#include "Cobble/Export.h"

namespace Asic {

enum class EntryState : std::uint8_t {
  entryStateUnresolved = 0,
  entryStateInLog = 1,
  entryStateRejected = 3,
  entryStateDone = 4,
  entryStateFailed = 5,
  entryStateResolveFailed = 6,
};

// The name of the enumerator, or "entryState?" for a number that is none.
LOAM_FRAMEWORK_EXPORT char const* entryStateName(EntryState state);
inline char const* textOf(EntryState state) {
  return entryStateName(state);
}

}  // namespace Asic
