#include "tools/demo/Life.h"

#include <fmt/format.h>

namespace Inlif {

Life::Life(Stage& stage, Wants& wants, std::string clientName, std::set<UnitPlace> units)
    : stage_(stage), wants_(wants), clientName_(std::move(clientName)), units_(std::move(units)) {}

Pivot::Status Life::start() {
  started_ = std::chrono::steady_clock::now();
  return stage_.start();
}

Pivot::Status Life::connect() {
  Pivot::Status status = stage_.connect();
  if (status.isOk()) drive_ = std::make_unique<Drive>(stage_, wants_);
  return status;
}

Pivot::Status Life::say(char const* op) {
  Json answer;
  return drive_->ask({{"op", op}, {"client", clientName_}}, answer);
}

Pivot::Status Life::makeUnits(std::vector<Json> const& preparation) {
  Json answer;
  Pivot::Status status = drive_->ask({{"op", "client"}, {"name", clientName_}}, answer);
  for (Json const& operation : preparation) {
    if (!status.isOk()) return status;
    if (operation["op"] == "unit") {
      WantedPlace const place = placeOf(operation);
      if (!units_.contains({place.table, place.unit})) continue;
    }
    status = drive_->ask(operation, answer);
    if (status.isOk() && answer.contains("entries"))
      figures_.restored += answer["entries"].get<std::size_t>();
  }
  if (status.isOk()) status = say("unitsMade");
  if (!status.isOk()) return status;
  figures_.secondsToServe =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
  return status;
}

AgentCounts AgentCounts::of(Json const& status) {
  AgentCounts counts;
  for (Json const& table : status["tables"]) {
    counts.records += table["written"].get<std::size_t>();
    for (Json const& unit : table["units"]) {
      counts.identical += unit["suppressed"].get<std::size_t>();
      counts.setAside += unit["setAside"].get<std::size_t>();
    }
  }
  return counts;
}

Pivot::Status Life::countsOf(AgentCounts& counts) {
  Json status;
  Pivot::Status asked = drive_->ask({{"op", "status"}}, status);
  if (asked.isOk()) counts = AgentCounts::of(status);
  return asked;
}

Pivot::Status Life::records(std::size_t& count) {
  AgentCounts counts;
  Pivot::Status status = countsOf(counts);
  count = counts.records;
  return status;
}

Pivot::Status Life::writeAgain() {
  AgentCounts before;
  AgentCounts after;
  std::vector<Json> const writes = wants_.writes();
  std::size_t const endedBefore = drive_->ended().size();
  Pivot::Status status = countsOf(before);
  if (status.isOk()) status = drive_->runAll(writes);
  if (status.isOk()) status = countsOf(after);
  if (!status.isOk()) return status;
  figures_.rewritten = writes.size();
  figures_.identical = after.identical - before.identical;
  figures_.records = after.records - before.records;
  for (std::size_t i = endedBefore; i < drive_->ended().size(); ++i) {
    figures_.failed += drive_->ended()[i].done ? 0 : 1;
  }
  return status;
}

Pivot::Status Life::sweep() {
  drive_->clearEvents();
  Json swept;
  Pivot::Status status = say("replayed");
  if (status.isOk()) status = drive_->await("swept", swept);
  if (!status.isOk()) return status;
  for (Json const& unit : swept["units"]) figures_.swept += unit["removed"].get<std::size_t>();
  return status;
}

Pivot::Status Life::reconcile() {
  Json answer;
  // The plan first: it tells how many entries would go, the answer only which units went.
  Pivot::Status status = drive_->ask({{"op", "reconcile"}, {"plan", true}}, answer);
  if (!status.isOk()) return status;
  for (Json const& unit : answer["units"]) figures_.cleared += unit["entries"].get<std::size_t>();
  status = drive_->ask({{"op", "reconcile"}}, answer);
  if (status.isOk() && answer.contains("notCleared") && !answer["notCleared"].empty())
    status = Pivot::Status::refused(fmt::format("reconcile: {}", jsonText(answer["notCleared"])));
  return status;
}

std::vector<Json> Life::served(std::vector<Json> const& operations) const {
  std::vector<Json> served;
  for (Json const& operation : operations) {
    WantedPlace const place = placeOf(operation);
    if (units_.contains({place.table, place.unit})) served.push_back(operation);
  }
  return served;
}

std::set<UnitPlace> unitsOf(WorkloadShape const& shape) {
  std::set<UnitPlace> units;
  for (std::size_t table = 0; table < kTables; ++table) {
    for (std::uint32_t unit = 0; unit < shape.units; ++unit)
      units.emplace(table, static_cast<Asic::UnitId>(unit));
  }
  return units;
}

}  // namespace Inlif
