// The operation `trace`: what the agent traces, and how many lines of a kind of error it prints before it folds them.
#pragma once

#include "tools/json/ObjectReader.h"

namespace Inlif {

inline constexpr std::uint64_t kMostTraceLines = 10'000;
inline constexpr std::uint64_t kMostTraceSeconds = 3600;

// Sets what the operation asks for and reports what is set then. False when it is refused, and then nothing was set.
bool traceAnswer(ObjectReader& in, Json& report);

}  // namespace Inlif
