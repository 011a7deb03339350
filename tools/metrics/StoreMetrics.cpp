#include <map>

#include "LoamTunnelNiLib/InLifFailure.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "tools/metrics/Metrics.h"
#include "tools/show/Selection.h"
#include "tools/show/StatusView.h"
#include "tools/support/ErrorFile.h"
#include "tools/support/ProcessView.h"

namespace Inlif {
namespace {

using VexSharedMem::StoreRoot;

constexpr MetricFamily kRunning{"inlif_process_running", "gauge",
                                "Whether agent and writer run on the store."};
constexpr MetricFamily kLastSign{
    "inlif_process_last_sign_timestamp_seconds", "gauge",
    "When a process gave its last sign of life; a running one gives one each second."};
constexpr MetricFamily kErrors{"inlif_errors_total", "counter",
                               "Errors that a process has told since its start, by their level."};
constexpr MetricFamily kFailures{
    "inlif_hardware_failures", "gauge",
    "Entries that the hardware refuses or puts off, by the class of the refusal."};
constexpr MetricFamily kUnlisted{"inlif_hardware_failures_unlisted", "gauge",
                                 "Refusals of the hardware that found no room among the failures."};
constexpr MetricFamily kLogLimit{"inlif_log_records_limit", "gauge",
                                 "Records that a change log may hold before operations wait."};
constexpr MetricFamily kHeldBack{"inlif_writer_holds_back", "gauge",
                                 "Whether the writer waits with a record for one of another table."};

// A member of what `show status --json` tells of a table or a unit.
struct OfView {
  char const* member;
  MetricFamily family;
};
constexpr OfView kTableMetrics[] = {
    {"written",
     {"inlif_versions_written_total", "counter", "Versions that the agent has written into a change log."}},
    {"announced",
     {"inlif_versions_announced_total", "counter",
      "Versions that are announced to the writer of the hardware."}},
    {"applied",
     {"inlif_versions_applied_total", "counter", "Versions that the writer has applied to the hardware."}},
    {"reported",
     {"inlif_versions_reported_total", "counter", "Versions that the writer has reported as applied."}},
    {"logRecords", {"inlif_log_records", "gauge", "Records that stand in a change log."}},
    {"imageEntries", {"inlif_image_entries", "gauge", "Entries that stand in the image of the hardware."}},
};
constexpr MetricFamily kBehind{"inlif_versions_behind", "gauge",
                               "Versions that are announced and that the writer has not reported."};
constexpr OfView kUnitMetrics[] = {
    {"entries", {"inlif_entries", "gauge", "Entries of a unit."}},
    {"inDeletion", {"inlif_entries_in_deletion", "gauge", "Removed entries that are not yet cleaned away."}},
};

void addProcess(MetricText& out, StoreRoot::Role role) {
  std::string const name = StoreRoot::roleName(role);
  StoreRoot::Holder const holder = StoreRoot::holder(role);
  out.add(kRunning, {{"role", name}}, holder.alive);
  if (holder.pid != 0)
    out.add(kLastSign, {{"role", name}},
            std::chrono::duration<double>(holder.lastSign.time_since_epoch()).count());
  Json process;
  std::map<std::string, std::uint64_t> byLevel{{"1", 0}};
  for (Json const& error : keptErrors(role, process))
    byLevel[jsonText(error["level"])] += error["count"].get<std::uint64_t>();
  if (process.is_null()) return;
  for (auto const& [level, count] : byLevel)
    out.add(kErrors, {{"role", name}, {"level", level}}, static_cast<double>(count));
}

// Each class has a sample, so that an alert sees the first failure as a change.
void addFailures(MetricText& out, TableInfo const& table, Json const& view) {
  using namespace LoamTunnelNiLib;
  std::map<std::string_view, std::uint64_t> byClass;
  for (std::size_t i = 1; i < kFailureClassNames.size(); ++i) byClass[kFailureClassNames[i]] = 0;
  Shoal::SteadyReader<InLifFailureRow> failures(table.failuresPath);
  walkWell(failures, [&byClass](InLifFailureRow const& row) { ++byClass[row.className()]; });
  for (auto const& [name, count] : byClass)
    out.add(kFailures, {{"table", table.name}, {"class", std::string(name)}}, static_cast<double>(count));
  out.add(kUnlisted, {{"table", table.name}}, view.value("unlistedFailures", 0.0));
}

}  // namespace

void addStoreMetrics(MetricText& out) {
  for (StoreRoot::Role const role : {StoreRoot::Role::agent, StoreRoot::Role::writer}) addProcess(out, role);
  Selection all;
  for (std::size_t i = 0; i < kTables; ++i) all.tables.push_back(i);
  std::vector<Json> const views = statusView(all);
  for (std::size_t i = 0; i < kTables; ++i) {
    TableInfo const& table = tables()[i];
    Json const& view = views[i];
    for (OfView const& one : kTableMetrics) {
      if (view.contains(one.member) && !view[one.member].is_null())
        out.add(one.family, {{"table", table.name}}, view[one.member].get<double>());
    }
    out.add(kLogLimit, {{"table", table.name}}, LoamTunnelNiLib::InLifModelEntryLogShoal::kMaxEntries);
    out.add(kBehind, {{"table", table.name}}, view.value("behind", 0.0));
    out.add(kHeldBack, {{"table", table.name}}, view.contains("heldBack"));
    addFailures(out, table, view);
    for (Json const& unit : view["units"]) {
      for (OfView const& one : kUnitMetrics) {
        if (unit.contains(one.member))
          out.add(one.family, {{"table", table.name}, {"unit", jsonText(unit["unit"])}},
                  unit[one.member].get<double>());
      }
    }
  }
}

}  // namespace Inlif
