#include "tools/agent/operations/StatusAnswer.h"

#include <fmt/format.h>

#include "Vex/UtcTime.h"
#include "agent/Status.h"
#include "tools/agent/operations/Target.h"
#include "tools/support/ProcessView.h"
#include "tools/support/Tables.h"

namespace Inlif {
namespace {

using namespace LoamAgent;
using Figures = Asic::SwTableLatency::Figures;

// Null before the first commit.
Json commitTime(double secondsSince1970) {
  if (secondsSince1970 == 0) return nullptr;
  auto const time = std::chrono::duration<double>(secondsSince1970);
  return Vex::utcText(std::chrono::system_clock::time_point(
      std::chrono::duration_cast<std::chrono::system_clock::duration>(time)));
}

Json statisticsJson(Asic::SwTableStats const& stats) {
  return {{"writes", stats.entryWriteCnt()},
          {"removes", stats.entryRemoveCnt()},
          {"commits", stats.commitCnt()},
          {"resolveFailures", stats.resolveFailCnt()},
          {"updates", stats.updateCnt()},
          {"updatesWithFailedResource", stats.updateWithFailedResourceCnt()},
          {"clears", stats.tableClearCnt()},
          {"suppressed", stats.suppressedWriteCnt()},
          {"comparedAndDifferent", stats.suppressCheckDiffCnt()},
          {"lastCommit", commitTime(stats.lastCommitTime())}};
}

Json unitJson(TableStatus::Unit const& unit) {
  Json out = {{"unit", unit.unit},
              {"entries", unit.entries},
              {"inDeletion", unit.inDeletion},
              {"pendingWrites", unit.pendingWrites},
              {"pendingRemoves", unit.pendingRemoves},
              {"pendingRemoveAlls", unit.pendingRemoveAlls},
              {"keysUnderWay", unit.keysUnderWay},
              {"queued", unit.queued},
              {"inLog", unit.inLog},
              {"setAside", unit.setAside},
              {"marking", unit.marking},
              {"marked", unit.marked},
              {"suppressed", unit.statistics ? unit.statistics->suppressedWriteCnt() : 0},
              {"pending", unit.pending},
              {"restored", unit.life.restored},
              {"swept", unit.life.swept}};
  if (unit.statistics) out["statistics"] = statisticsJson(*unit.statistics);
  return out;
}

Json tableJson(std::string const& name, TableStatus const& table) {
  Json units = Json::array();
  for (TableStatus::Unit const& unit : table.units) units.push_back(unitJson(unit));
  return {{"table", name},
          {"written", table.written.value()},
          {"announced", table.announced.value()},
          {"reported", table.reported.value()},
          {"cleaned", table.cleaned.value()},
          {"logRecords", table.logRecords},
          {"pending", table.pending},
          {"units", std::move(units)}};
}

Json tableBehindJson(Host::Behind const& behind) {
  return {{"table", tables()[behind.table].name},
          {"behind", behind.versions},
          {"behindMs", std::chrono::duration_cast<std::chrono::milliseconds>(behind.age).count()}};
}

Json headJson(Asic::GroupResolver::Head const& head) {
  Json out = {
      {"queued", head.queueLength}, {"ageMs", head.ageNanoseconds / 1'000'000}, {"asked", head.asked}};
  if (head.queue) out.update(placeJson({tableIndex(head.queue->tableId()), head.queue->unitId()}));
  out["for"] = head.waitsForDependency ? "operation" : head.asked ? "resource or room" : "turn";
  return out;
}

// Nanoseconds as microseconds with one place.
double microseconds(double nanoseconds) {
  return static_cast<double>(static_cast<std::uint64_t>(nanoseconds / 100 + 0.5)) / 10;
}

Json stageJson(Figures const& figures) {
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

Json statusAnswer(Host& host) {
  AgentStatus const status = statusOf(host);
  Json tablesJson = Json::array();
  for (std::size_t table = 0; table < kTables; ++table)
    tablesJson.push_back(tableJson(tables()[table].name, status.tables[table]));
  for (std::size_t table = 0; table < kTables; ++table) {
    tablesJson[table]["failures"] = host.failures().count(table);
    if (std::uint64_t const unlisted = host.failures().unlisted(table); unlisted != 0)
      tablesJson[table]["unlistedFailures"] = unlisted;
  }
  for (Host::Behind const& behind : status.behind) tablesJson[behind.table].update(tableBehindJson(behind));
  Json unserved = Json::array();
  for (UnitPlace const& place : status.unserved) unserved.push_back(placeJson(place));
  Json heads = Json::array();
  for (Asic::GroupResolver::Head const& head : status.heads) heads.push_back(headJson(head));
  Json report = processesJson();
  report.update({{"tables", std::move(tablesJson)},
                 {"unserved", std::move(unserved)},
                 {"resolver",
                  {{"queued", status.queued}, {"suspended", status.suspended}, {"heads", std::move(heads)}}},
                 {"relaunchGeneration", status.relaunchGeneration}});
  return report;
}

Json latencyAnswer(Host const& host) {
  Json units = Json::array();
  for (UnitLatency const& one : latencies(host)) {
    units.push_back(placeJson(one.place));
    units.back().update({{"behindOthers", stageJson(one.behind)},
                         {"atHead", stageJson(one.head)},
                         {"toHardware", stageJson(one.hardware)}});
  }
  return units;
}

Json behindJson(Host const& host) {
  Json out = Json::array();
  for (Host::Behind const& behind : host.behind()) out.push_back(tableBehindJson(behind));
  return out;
}

std::string pendingText(Host const& host) {
  std::string text;
  for (std::size_t table = 0; table < kTables; ++table) {
    TableFront const& front = host.front(table);
    if (!front.status()->pendingHwWrites()) continue;
    std::string const& name = front.info().name;
    for (Asic::UnitId const unit : front.units()) {
      TableFront::UnitStatus const status = front.unitStatus(unit);
      if (!status.pending) continue;
      text += fmt::format("{}{} unit {}: {} queued, {} in the log", text.empty() ? "" : "; ", name, unit,
                          status.queued, status.inLog);
      if (status.setAside != 0) text += fmt::format(", {} without room", status.setAside);
    }
    text += fmt::format("{}{} written {} cleaned {}", text.empty() ? "" : "; ", name, front.written(),
                        front.cleaned());
  }
  return text;
}

}  // namespace Inlif
