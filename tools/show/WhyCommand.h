// `inlif why`: what the waiting operations wait for, asked of the running agent, and the records that the
// writer of the hardware holds back, read from the store.
#pragma once

#include <string>

#include "tools/json/Json.h"
#include "tools/support/Command.h"

namespace Inlif {

struct WhyOptions {
  std::string store;
  std::string table;  // empty: the causes with their counts, unless `all`
  std::string unit;
  std::string key;
  bool all = false;
  bool json = false;
};

// One cause of the agent's summary, with how many operations it holds up.
std::string causeLine(Json const& cause);

Outcome runWhy(WhyOptions const& options);

}  // namespace Inlif
