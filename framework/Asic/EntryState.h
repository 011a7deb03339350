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

#include <fmt/format.h>

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

}  // namespace Asic

template <>
struct fmt::formatter<Asic::EntryState> {
  constexpr auto parse(format_parse_context& context) { return context.begin(); }
  auto format(Asic::EntryState state, format_context& context) const {
    return fmt::format_to(context.out(), "{}", Asic::entryStateName(state));
  }
};
