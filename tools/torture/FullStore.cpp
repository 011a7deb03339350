// The steps of the torture in a store that is full.
#include <fmt/format.h>

#include "tools/torture/Torture.h"

namespace Inlif {
namespace {

constexpr std::uint64_t kMostChanges = 40;
// How long a full store is waited for, and how often writes that failed for want of room are asked for again.
constexpr std::uint64_t kMostRounds = 400;
constexpr int kMostRepeats = 5;

}  // namespace

// Asks again for the writes whose resources found no room.
Pivot::Status Torture::askAgain() {
  Pivot::Status status = Pivot::Status::ok();
  for (int i = 0; status.isOk() && !life_->drive().failed().empty(); ++i) {
    std::vector<Json> again;
    for (Json const& write : wants_.writes()) {
      if (life_->drive().failed().contains(placeOf(write))) again.push_back(write);
    }
    if (again.empty()) break;
    if (i == kMostRepeats) return found({fmt::format("{} writes fail although there is room", again.size())});
    figures_.askedAgain += again.size();
    status = life_->drive().runAll(again);
  }
  return status;
}

// The writer stands still, nothing can grow, and the client goes on; then everything is there again.
Pivot::Status Torture::drought() {
  space_->tighten(0);
  stage_.writer().freeze(true);
  Pivot::Status status = storm();
  if (status.isOk()) status = askMeanwhile();
  space_->widen();
  stage_.writer().freeze(false);
  return status.isOk() ? life_->drive().runAll({}) : status;
}

// Until some update has found no room.
Pivot::Status Torture::storm() {
  Pivot::Status status = Pivot::Status::ok();
  std::size_t aside = 0;
  for (std::uint64_t round = 0; status.isOk() && aside == 0 && round < kMostRounds; ++round) {
    for (Json const& operation : steerings(kMostChanges)) life_->drive().send(operation);
    Json answer;
    status = life_->drive().ask({{"op", "status"}}, answer);
    if (!status.isOk()) break;
    aside += AgentCounts::of(answer).setAside;
  }
  figures_.setAside += aside;
  return status;
}

// Perhaps a unit is emptied; some entries are changed or removed, and resources change on, one of them to what it was.
Pivot::Status Torture::askMeanwhile() {
  Drive& drive = life_->drive();
  Pivot::Status status = Pivot::Status::ok();
  Json answer;
  std::vector<Json> const writes = wants_.writes();
  if (writes.empty()) return status;
  if (oneIn(2)) {
    Json const& write = writes[below(writes.size())];
    WantedPlace const place = placeOf(write);
    wants_.forgetUnit(place.table, place.unit);
    status =
        drive.ask({{"op", "unit"}, {"table", write["table"]}, {"unit", place.unit}, {"reset", true}}, answer);
  }
  for (std::uint64_t count = below(kMostChanges); status.isOk() && count > 0; --count) {
    Json operation = writes[below(writes.size())];
    if (Workload::mustFail(operation)) continue;
    // The routed ports, which have no number, carry others.
    if (oneIn(3) && (operation["key"].get<std::uint32_t>() & 0xFFFF) != 0) {
      operation = {{"op", "remove"},
                   {"table", operation["table"]},
                   {"unit", operation["unit"]},
                   {"key", operation["key"]}};
    } else {
      operation["client"] = fmt::format("{:098x}", below(1U << 30));
    }
    drive.send(operation);
  }
  for (Json& operation : steerings(kMostChanges)) {
    Json back = operation;
    back.erase("value");
    if (status.isOk()) status = drive.ask(back, answer);
    if (!status.isOk()) return status;
    drive.send(operation);
    if (!oneIn(2)) continue;
    back["value"] = answer["value"];
    drive.send(back);
  }
  return status;
}

}  // namespace Inlif
