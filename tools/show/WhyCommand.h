// `inlif why`: what the waiting operations wait for, asked of the running agent, and the records that the
// writer of the hardware holds back, read from the store.
#pragma once

#include <vector>

#include "tools/json/Json.h"
#include "tools/show/ShowCommand.h"
#include "tools/support/Command.h"
#include "tools/support/Text.h"

namespace Inlif {

struct WhyOptions {
  ShowOptions
      place;  // store, json and verbose; table, unit and key, without which it is the causes with their counts
  bool all = false;  // each waiting operation instead
};

// The causes of the agent's summary, up to so many, with how many operations each holds up; none for no cause.
std::vector<Line> causeLines(Json const& causes, std::size_t most);

Outcome runWhy(WhyOptions const& options);

}  // namespace Inlif
