// `inlif log`: the change log as people read it, from a version on, beside running processes.
#pragma once

#include <string>

#include "tools/show/ShowCommand.h"

namespace Inlif {

struct LogOptions {
  ShowOptions show;  // store, table, unit, key, follow and json
  std::string from;  // empty: all that stands in the log
};

Outcome runLog(LogOptions const& options);

}  // namespace Inlif
