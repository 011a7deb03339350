// `inlif retry`: has the running agent publish again what the hardware refused.
#pragma once

#include <string>

#include "tools/support/Command.h"

namespace Inlif {

struct RetryOptions {
  std::string store;
  std::string table;  // empty: all
  std::string unit;
  std::string key;
  std::string why;  // a class
  bool json = false;
};

// Exit status 1 when something could not be published again.
Outcome runRetry(RetryOptions const& options);

}  // namespace Inlif
