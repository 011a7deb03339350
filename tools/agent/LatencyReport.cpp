#include "tools/agent/LatencyReport.h"

#include "Asic/SwTableLatency.h"

namespace Inlif {
namespace {

using Asic::SwTableLatency;

// Nanoseconds as microseconds with one place.
double microseconds(double nanoseconds) {
  return static_cast<double>(static_cast<std::uint64_t>(nanoseconds / 100 + 0.5)) / 10;
}

Json stageJson(SwTableLatency const& latency, SwTableLatency::Stage stage) {
  SwTableLatency::Figures const figures = latency.figures(stage);
  Json out = {{"operations", figures.operations}, {"measured", figures.measured}};
  if (figures.measured == 0) return out;
  out["p50Us"] = microseconds(figures.median);
  out["p90Us"] = microseconds(figures.p90);
  out["p99Us"] = microseconds(figures.p99);
  out["p999Us"] = microseconds(figures.p999);
  out["maxUs"] = microseconds(figures.longest);
  return out;
}

}  // namespace

Json latencyReport(Host& host) {
  Json units = Json::array();
  for (std::size_t table = 0; table < kTables; ++table) {
    TableFront const& front = host.front(table);
    for (Asic::UnitId const unit : front.units()) {
      SwTableLatency const& latency = front.table(unit)->latency();
      units.push_back({{"table", front.info().name},
                       {"unit", unit},
                       {"behind", stageJson(latency, SwTableLatency::Stage::behind)},
                       {"head", stageJson(latency, SwTableLatency::Stage::head)},
                       {"hardware", stageJson(latency, SwTableLatency::Stage::hardware)}});
    }
  }
  return units;
}

}  // namespace Inlif
