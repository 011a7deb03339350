// `inlif retry`: has the running agent publish again what the hardware refused.
#pragma once

#include <string>

#include "tools/show/ShowCommand.h"
#include "tools/support/Command.h"

namespace Inlif {

struct RetryOptions {
  ShowOptions place;  // store, table, unit, key and json
  std::string why;    // a class; empty: all
};

// Exit status 1 when something could not be published again.
Outcome runRetry(RetryOptions const& options);

}  // namespace Inlif
