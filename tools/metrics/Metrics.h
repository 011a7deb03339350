// What is measured of a store and of its agent, as families of metrics. docs/metrics.md lists them.
//
// Names follow the rules of Prometheus: base units, counters end in _total. A number that nobody knows, as of an agent
// that does not run, has no sample, rather than one that would be taken for a measurement.
#pragma once

#include "tools/json/Json.h"
#include "tools/metrics/MetricText.h"

namespace Inlif {

// What the store tells, with processes or without them.
void addStoreMetrics(MetricText& out);
// What the agent alone knows: its answers to `status` and `latency`; null when it gave none.
void addAgentMetrics(MetricText& out, Json const& status, Json const& latency);

}  // namespace Inlif
