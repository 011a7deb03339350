#include "tools/top/TopFigures.h"

#include <algorithm>

#include "Vex/UtcTime.h"
#include "tools/demo/AgentClient.h"
#include "tools/show/FailuresView.h"
#include "tools/show/HeldBack.h"
#include "tools/show/Interfaces.h"
#include "tools/show/StatusView.h"
#include "tools/support/ProcessView.h"

namespace Inlif {
namespace {

using namespace LoamTunnelNiLib;

// An agent that takes longer is shown as one that does not answer; the store is shown all the same.
constexpr std::chrono::milliseconds kTopPatience{1000};

double rateOf(Json const& now, Json const& before, char const* member, double seconds) {
  if (now[member].is_null() || before[member].is_null() || seconds <= 0) return 0;
  double const difference = now[member].get<double>() - before[member].get<double>();
  return std::max(0.0, difference / seconds);
}

Json tableFigures(TableInfo const& table) {
  auto const json = [](Version const& version) { return version ? Json(*version) : Json(nullptr); };
  // From the writer's end to the agent's, so that none is shown to run ahead of the one that it follows.
  Version const reported = reportedVersion(table);
  Version const announced = announcedVersion(table);
  Shoal::SteadyReader<InLifModelLogShoalEntry> log(table.logPath);
  Version const written = scratchpadOf(log);
  FailureCount const failures = failureCount(table);
  return {{"table", table.name},
          {"written", json(written)},
          {"reported", json(reported)},
          {"behind", behindOf(announced, reported)},
          {"logRecords", written ? log.reader().size() : 0},
          {"logLimit", InLifModelEntryLogShoal::kMaxEntries},
          {"failures", failures.rows + failures.unlisted}};
}

// The unit of an array of units, or null.
Json* unitIn(Json& units, Json const& place) {
  for (Json& one : units) {
    if (one["table"] == place.at("table") && one["unit"] == place.at("unit")) return &one;
  }
  return nullptr;
}

void addStatus(Json& figures, Json const& status) {
  for (std::size_t i = 0; i < kTables; ++i) {
    Json const& table = status.at("tables").at(i);
    if (table.contains("behindMs") && figures["tables"][i]["behind"] != 0)
      figures["tables"][i]["behindMs"] = table["behindMs"];
    for (Json const& unit : table.at("units")) {
      Json* const shown = unitIn(figures["units"], {{"table", table.at("table")}, {"unit", unit.at("unit")}});
      if (!shown) continue;
      for (char const* member : {"entries", "queued", "inLog"}) (*shown)[member] = unit.at(member);
    }
  }
}

void addLatency(Json& figures, Json const& latency) {
  for (Json const& unit : latency.at("units")) {
    Json* const shown = unitIn(figures["units"], unit);
    if (!shown) continue;
    for (char const* stage : {"behindOthers", "atHead", "toHardware"}) (*shown)[stage] = unit.at(stage);
  }
}

// Of the units that the agent does not tell of, from the store, as `show status` counts them: a record of an entry that goes
// is no entry.
void countEntries(Json& units) {
  for (Json& unit : units) {
    if (unit.contains("queued")) continue;
    auto const table = std::ranges::find(tables(), unit["table"].get<std::string>(), &TableInfo::name);
    Json counts;
    addEntryCounts(counts, table->configPath(unit["unit"].get<Asic::UnitId>()));
    if (counts.contains("entries")) unit["entries"] = counts["entries"];
  }
}

}  // namespace

Json TopFigures::take() {
  auto const now = Clock::now();
  Json figures = {{"time", Vex::utcText(std::chrono::system_clock::now())}};
  figures.update(processesJson());
  addTables(figures, std::chrono::duration<double>(now - lastTime_).count());
  lastTables_ = figures["tables"];
  lastTime_ = now;
  bool const isAlive = figures["agent"]["alive"].get<bool>();
  bool const answers = isAlive && askAgent(figures);
  if (isAlive) figures["answers"] = answers;
  countEntries(figures["units"]);
  return figures;
}

void TopFigures::addTables(Json& figures, double seconds) {
  figures["tables"] = Json::array();
  figures["units"] = Json::array();
  for (std::size_t i = 0; i < kTables; ++i) {
    TableInfo const& table = tables()[i];
    Json one = tableFigures(table);
    Json const& before = lastTables_.is_null() ? one : lastTables_[i];
    one["writtenPerSecond"] = rateOf(one, before, "written", seconds);
    one["reportedPerSecond"] = rateOf(one, before, "reported", seconds);
    figures["tables"].push_back(std::move(one));
    for (Asic::UnitId const unit : table.units()) {
      figures["units"].push_back({{"table", table.name},
                                  {"unit", unit},
                                  {"entries", 0},
                                  {"entryLimit", InLifModelConfigShoal::kMaxEntries}});
    }
  }
}

bool TopFigures::askAgent(Json& figures) const {
  AgentClient agent;
  Json answer;
  auto const asks = [&](char const* op) {
    return agent.ask({{"op", op}, {"id", op}}, answer, kTopPatience).isOk();
  };
  if (!connectToAgent(store_, agent).isWell()) return false;
  try {
    if (!asks("status")) return false;
    addStatus(figures, answer);
    if (!asks("latency")) return false;
    addLatency(figures, answer);
    if (!asks("why")) return false;
    figures["queued"] = answer.at("queued");
    figures["causes"] = answer.at("causes");
    Interfaces().addTo(figures["causes"]);
    return true;
  } catch (Json::exception const&) {
    // An agent of another version, which tells less, or in another way.
    return false;
  }
}

}  // namespace Inlif
