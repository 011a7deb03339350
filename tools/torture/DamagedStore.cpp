// The part of a torture that loses, damages and puts back files: when, and what may be told of it.
#include <fmt/format.h>

#include <filesystem>

#include "tools/torture/Torture.h"

namespace Inlif {

// What a life tells of losses is no surprise when there were some before it, or under it.
Pivot::Status Torture::surprises() {
  std::vector<std::string> told = life_->drive().surprises();
  if (tellsOfLosses_)
    std::erase_if(told, [](auto const& one) { return one.find("\"wiped\"") != std::string::npos; });
  return found(told);
}

void Torture::struckBy(Strike strike) {
  ++figures_.strikes[static_cast<std::size_t>(strike)];
  strikes_.push_back(damage_.done());
}

void Torture::strikeBetweenLives() {
  stage_.writer().kill();
  damage_.copy();
  struck_ = true;
  postMortem_.forget();
  for (std::uint64_t count = 1 + below(3); count > 0; --count)
    struckBy(damage_.strike(random_, oneIn(2) ? StoreDamage::Side::agent : StoreDamage::Side::writer));
}

// The writer alone is dead; a bit may flip in what the agent works on.
void Torture::strikeUnderAgent() {
  struck_ = struckUnder_ = tellsOfLosses_ = true;
  postMortem_.forget();
  struckBy(damage_.strike(random_, StoreDamage::Side::writer));
  if (!oneIn(3)) return;
  damage_.flipConfiguration(random_);
  struckBy(Strike::flipBit);
}

// As the files stand under work; nobody changes them meanwhile.
void Torture::keepCopy() {
  stage_.agent().freeze(true);
  stage_.writer().freeze(true);
  damage_.copy();
  stage_.writer().freeze(false);
  stage_.agent().freeze(false);
}

// Both die at rest. What a strike under the agent left is found by the next life at the latest.
Pivot::Status Torture::strikeAtRest() {
  Pivot::Status const status = surprises();
  endLife();
  stage_.killAgent();
  struckUnder_ = false;
  if (!struck_) strikeBetweenLives();
  changeMind();
  return status.isOk() ? settle(recover()) : status;
}

// A writer that has just come back finds that all is reported, so the agent is at rest before it has looked at its
// images. What it takes of a table, here a key that nobody wants, it takes once it has.
Pivot::Status Torture::throughTheWriter() {
  std::vector<Json> operations;
  std::size_t next = 0;
  for (auto const& [table, unit] : served_) {
    if (table < next) continue;
    next = table + 1;
    Json const place{{"table", LoamInLif::groupInfo().tables[table].name}, {"unit", unit}, {"key", 1}};
    for (char const* op : {"write", "remove"}) {
      operations.push_back(place);
      operations.back()["op"] = op;
    }
    operations[operations.size() - 2]["client"] = fmt::format("{:098x}", 1);
  }
  return life_->drive().runAll(operations);
}

// What was given up is counted no further.
void Torture::endStrikes() {
  if (!std::exchange(struck_, false)) return;
  std::error_code none;
  std::filesystem::remove_all(stage_.store() + "/.lost", none);
}

}  // namespace Inlif
