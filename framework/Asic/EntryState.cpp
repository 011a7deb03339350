#include "Asic/EntryState.h"

namespace Asic {

char const* entryStateName(EntryState state) {
  switch (state) {
    case EntryState::entryStateUnresolved:
      return "entryStateUnresolved";
    case EntryState::entryStateInLog:
      return "entryStateInLog";
    case EntryState::entryStateRejected:
      return "entryStateRejected";
    case EntryState::entryStateDone:
      return "entryStateDone";
    case EntryState::entryStateFailed:
      return "entryStateFailed";
    case EntryState::entryStateResolveFailed:
      return "entryStateResolveFailed";
  }
  return "entryState?";
}

}  // namespace Asic
