// The rule for exceptions that reach the framework from a client's code: they end the process with their
// text.
#pragma once

#include <exception>
#include <utility>

#include "Vex/Assert.h"

namespace Asic {

// Runs f and returns its result. where names the call, in the words of the message that a throwing client
// leaves behind.
template <class F>
decltype(auto) endOnException(char const* where, F&& f) {
  try {
    return std::forward<F>(f)();
  } catch (std::exception const& exception) {
    Vex::assertionFailed(where, exception.what(), "EndOnException.h", __LINE__);
  } catch (...) {
    Vex::assertionFailed(where, "an exception of unknown type", "EndOnException.h", __LINE__);
  }
}

// Runs a client's hook. It may be called in a commit, in a notification of a resource or in a restore; each of
// these would leave an exception in its own state, so none is left to them.
template <class F>
decltype(auto) callHook(F&& f) {
  return endOnException("an exception left a client's hook", std::forward<F>(f));
}

}  // namespace Asic
