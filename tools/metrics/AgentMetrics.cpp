#include "tools/metrics/Metrics.h"

namespace Inlif {
namespace {

constexpr MetricFamily kAnswered{"inlif_agent_answered", "gauge",
                                 "Whether the agent answered; without it what it alone knows is missing."};
constexpr MetricFamily kBehindSeconds{
    "inlif_versions_behind_seconds", "gauge",
    "Age of the oldest version that the writer has not reported, 0 without one."};
constexpr MetricFamily kUnserved{"inlif_units_unserved", "gauge",
                                 "Units that stand in the store and that nobody has made in this life."};
constexpr MetricFamily kQueuesWaiting{"inlif_queues_waiting", "gauge",
                                      "Queues whose first operation waits, by what it waits for."};
constexpr MetricFamily kRelaunches{"inlif_relaunches_total", "counter",
                                   "Times that the agent asked to be launched again after a loss."};
constexpr MetricFamily kSweeps{"inlif_sweeps_total", "counter", "Sweeps since the agent was started."};
constexpr MetricFamily kSweepWaiting{"inlif_sweep_waiting_for", "gauge",
                                     "Clients that have registered and still keep the sweep waiting."};
constexpr MetricFamily kSweepAlarm{"inlif_sweep_alarm", "gauge",
                                   "Whether a sweep has been waiting for longer than --sweep-alarm."};
constexpr MetricFamily kConfigured{"inlif_config_interfaces", "gauge",
                                   "Interfaces of the configuration served."};
constexpr MetricFamily kConfigFailed{"inlif_config_interfaces_failed", "gauge",
                                     "Interfaces of the configuration whose last operation failed."};
constexpr MetricFamily kConfigRefused{"inlif_config_refused", "gauge",
                                      "Whether the last reading of the configuration was refused."};
constexpr MetricFamily kDuration{
    "inlif_operation_duration_seconds", "summary",
    "How long operations take on their way: behind others, at the head of the queue, in the hardware."};

// A member of a unit, or of its statistics.
struct OfAnswer {
  char const* member;
  MetricFamily family;
};
constexpr OfAnswer kAgentUnitMetrics[] = {
    {"queued", {"inlif_operations_queued", "gauge", "Operations that wait to be committed."}},
    {"inLog",
     {"inlif_operations_in_log", "gauge", "Operations that are committed and wait for the hardware."}},
    {"setAside", {"inlif_publications_set_aside", "gauge", "Publications that find no room in the store."}},
    {"marking", {"inlif_unit_marking", "gauge", "Whether a unit waits for its clients to write again."}},
    {"restored", {"inlif_entries_restored", "gauge", "Entries with which a unit came up in this life."}},
    {"swept", {"inlif_entries_swept_total", "counter", "Entries that a sweep has removed in this life."}},
};
constexpr OfAnswer kStatisticsMetrics[] = {
    {"writes", {"inlif_writes_total", "counter", "Writes that clients have asked for."}},
    {"removes", {"inlif_removes_total", "counter", "Removes that clients have asked for."}},
    {"commits", {"inlif_commits_total", "counter", "Operations that were committed."}},
    {"resolveFailures",
     {"inlif_failed_operations_total", "counter", "Operations that failed for want of a resource."}},
    {"updates", {"inlif_updates_total", "counter", "Publications after a change of a resource."}},
    {"suppressed", {"inlif_suppressed_writes_total", "counter", "Writes of what stood there already."}},
};

struct Quantile {
  char const* member;
  char const* text;
};
constexpr Quantile kQuantiles[] = {
    {"p50Us", "0.5"}, {"p90Us", "0.9"}, {"p99Us", "0.99"}, {"p999Us", "0.999"}, {"maxUs", "1"}};

MetricText::Labels placeOf(Json const& one) {
  return {{"table", one["table"].get<std::string>()}, {"unit", jsonText(one["unit"])}};
}

double numberOf(Json const& value) {
  return value.is_boolean() ? (value.get<bool>() ? 1 : 0) : value.get<double>();
}

void addUnit(MetricText& out, MetricText::Labels const& labels, Json const& unit) {
  for (OfAnswer const& one : kAgentUnitMetrics) out.add(one.family, labels, numberOf(unit[one.member]));
  if (!unit.contains("statistics")) return;
  for (OfAnswer const& one : kStatisticsMetrics)
    out.add(one.family, labels, numberOf(unit["statistics"][one.member]));
}

void addLatency(MetricText& out, Json const& units) {
  for (Json const& unit : units) {
    for (char const* stage : {"behindOthers", "atHead", "toHardware"}) {
      Json const& figures = unit[stage];
      MetricText::Labels labels = placeOf(unit);
      labels.emplace_back("stage", stage);
      out.add(kDuration, labels, numberOf(figures["measured"]), "_count");
      labels.emplace_back("quantile", "");
      for (Quantile const& quantile : kQuantiles) {
        if (!figures.contains(quantile.member)) continue;
        labels.back().second = quantile.text;
        out.add(kDuration, labels, numberOf(figures[quantile.member]) / 1e6);
      }
    }
  }
}

void addQueues(MetricText& out, Json const& heads) {
  // Each cause has a sample, also when nothing waits for it.
  std::vector<std::pair<std::string, double>> causes{{"operation", 0}, {"resource or room", 0}, {"turn", 0}};
  for (Json const& head : heads) {
    for (auto& [cause, count] : causes) count += head["for"] == cause;
  }
  for (auto const& [cause, count] : causes) out.add(kQueuesWaiting, {{"cause", cause}}, count);
}

}  // namespace

void addAgentMetrics(MetricText& out, Json const& status, Json const& latency) {
  out.add(kAnswered, {}, !status.is_null());
  if (status.is_null()) return;
  for (Json const& table : status["tables"]) {
    std::string const name = table["table"].get<std::string>();
    out.add(kBehindSeconds, {{"table", name}}, table.value("behindMs", 0.0) / 1000);
    for (Json const& unit : table["units"])
      addUnit(out, {{"table", name}, {"unit", jsonText(unit["unit"])}}, unit);
  }
  out.add(kUnserved, {}, static_cast<double>(status["unserved"].size()));
  addQueues(out, status["resolver"]["heads"]);
  out.add(kRelaunches, {}, numberOf(status["relaunchGeneration"]));
  Json const& sweep = status["sweep"];
  out.add(kSweeps, {}, numberOf(sweep["done"]));
  out.add(kSweepWaiting, {}, static_cast<double>(sweep["waitingFor"].size()));
  out.add(kSweepAlarm, {}, numberOf(sweep["alarm"]));
  Json const& config = status["config"];
  if (!config.is_null()) {
    out.add(kConfigured, {}, numberOf(config["interfaces"]));
    out.add(kConfigFailed, {}, numberOf(config["failed"]));
    out.add(kConfigRefused, {}, config.contains("refused"));
  }
  if (!latency.is_null()) addLatency(out, latency["units"]);
}

}  // namespace Inlif
