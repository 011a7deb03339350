#include "hardware/Rebuild.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <unordered_map>
#include <utility>

#include "Vex/Trace.h"

namespace LoamHardware {
namespace {

using namespace LoamTunnelNiLib;

Vex::TraceHandle const rebuildTrace("HwWriter");

Image::LogRecord recordOf(Asic::UnitId unit, InLifModelLogEntry const& entry, Asic::LogVersion version,
                          std::uint8_t flags = 0) {
  Image::LogRecord record;
  record.unitId = unit;
  record.logEntry = entry;
  record.logVersion = version;
  record.logFlags = flags;
  return record;
}

}  // namespace

Rebuild::Step Rebuild::refuse(std::string const& why) {
  phase_ = Phase::idle;
  why_ = why;
  return Step::refused;
}

Rebuild::Step Rebuild::begin(Asic::LogVersion version, std::uint64_t log) {
  if (!obstacles_.empty() && obstaclesStand()) return refuse(obstacleText_);
  obstacles_.clear();
  version_ = version;
  log_ = log;
  if (Pivot::Status status = image_.rebuildingBegins(version); !status.isOk())
    return refuse(status.message());
  if (Pivot::Status status = info_.unitsInto(units_); !status.isOk()) return refuse(status.message());
  auto const standing = hardware_.standingUnits(table_);
  readsBack_ = standing.has_value();
  if (readsBack_) units_.insert(units_.end(), standing->begin(), standing->end());
  std::ranges::sort(units_, std::greater());
  units_.erase(std::unique(units_.begin(), units_.end()), units_.end());
  failures_.rebuildingBegins();
  phase_ = readsBack_ ? Phase::units : Phase::wiping;
  loaded_ = false;
  return Step::complete;
}

Rebuild::Step Rebuild::step(Asic::LogVersion version, std::uint64_t log) {
  damageIsNews_ = false;
  if (phase_ != Phase::idle && log != log_) phase_ = Phase::idle;
  if (phase_ == Phase::idle) {
    // What was given before goes its way first: it is under way in the hardware, and to no purpose.
    if (lane_.underWay() != 0) return Step::waits;
    if (Step const begun = begin(version, log); begun != Step::complete) return begun;
  }
  if (phase_ == Phase::wiping) {
    if (lane_.blocked()) return Step::waits;
    Lane::Given const given = lane_.wipe();
    if (given != Lane::Given::taken) return given == Lane::Given::gone ? Step::gone : Step::waits;
    phase_ = Phase::units;
  }
  for (; !units_.empty(); units_.pop_back(), loaded_ = false) {
    if (!loaded_) {
      if (Step const loading = load(); loading != Step::complete) return loading;
    }
    for (; done_ < todo_.size(); ++done_) {
      if (lane_.blocked()) return Step::waits;
      if (Pivot::Status room = image_.reserve(lane_.underWay() + 1); !room.isOk()) {
        // Not begun anew each time: what is written goes on standing, and room may come.
        why_ = room.message();
        return Step::refused;
      }
      Lane::Given const given = lane_.give(todo_[done_]);
      if (given != Lane::Given::taken) return given == Lane::Given::gone ? Step::gone : Step::waits;
    }
  }
  return lane_.underWay() != 0 ? Step::waits : end();
}

Rebuild::Step Rebuild::end() {
  damageIsNews_ = !obstacles_.empty();
  todo_ = {};
  if (damageIsNews_) return refuse(obstacleText_);
  Pivot::Status status = failures_.rebuildingEnds();
  if (status.isOk()) status = image_.rebuildingEnds(version_, log_);
  if (!status.isOk()) return refuse(status.message());
  phase_ = Phase::idle;
  return Step::complete;
}

Rebuild::Step Rebuild::load() {
  Asic::UnitId const unit = units_.back();
  if (lane_.blocked()) return Step::waits;
  todo_.clear();
  done_ = 0;
  if (Pivot::Status status = readWanted(unit); !status.isOk()) {
    obstacles_.clear();
    return refuse(status.message());
  }
  std::ranges::sort(todo_, {}, [](Image::LogRecord const& record) { return record.logVersion; });
  Step const compared = readsBack_ ? compareWithStanding(unit) : Step::complete;
  loaded_ = compared == Step::complete;
  return compared;
}

Pivot::Status Rebuild::readWanted(Asic::UnitId unit) {
  ConfigReader config(info_.configPath(unit));
  if (!config.ready()) {
    // A file that is there holds entries, perhaps as another build lays them out: an image without them must not
    // be reported. One that is lost is made anew and published again by the agent; until then the unit has
    // nothing.
    if (!config.problem().empty())
      obstacleIs(config, config.problem());
    else
      VEX_TRACE(rebuildTrace, 1, "no configuration of {} unit {}", info_.name, unit);
    return Pivot::Status::ok();
  }
  std::string problem;
  Shoal::Read const end = walkOverDamage(config, problem, [&](InLifModelConfigShoalEntry const& record) {
    if (!record.isDeleted && record.logVersion <= version_)
      todo_.push_back(recordOf(unit, record.tableEntry, record.logVersion));
    return true;
  });
  // What could be read is taken, for as long as it takes the agent to make the rest readable.
  if (!problem.empty()) obstacleIs(config, problem);
  if (end != Shoal::Read::busy) return Pivot::Status::ok();
  return Pivot::Status::refused(fmt::format("configuration of {} unit {} is busy", info_.name, unit));
}

// Turns what is wanted into what is missing, with removals in front, R1.
Rebuild::Step Rebuild::compareWithStanding(Asic::UnitId unit) {
  std::vector<InLifModelLogEntry> standing;
  if (Lane::Given const given = lane_.readBack(unit, standing); given != Lane::Given::taken)
    return given == Lane::Given::gone ? Step::gone : Step::waits;
  // What is under way goes on needing the room that it was given with.
  if (Pivot::Status room = image_.reserve(lane_.underWay() + standing.size()); !room.isOk())
    return refuse(room.message());
  std::unordered_map<std::uint32_t, std::size_t> wanted;
  for (std::size_t i = 0; i < todo_.size(); ++i) wanted[todo_[i].logEntry.key.value()] = i;
  std::vector<bool> stands(todo_.size());
  std::vector<Image::LogRecord> todo;
  for (InLifModelLogEntry const& entry : standing) {
    auto const at = wanted.find(entry.key.value());
    bool const same = at != wanted.end() && todo_[at->second].logEntry.isEq(entry);
    image_.take(recordOf(unit, entry, same ? todo_[at->second].logVersion : Asic::LogVersion()));  // R2
    if (same)
      stands[at->second] = true;
    else if (at == wanted.end())
      todo.push_back(recordOf(unit, entry, version_, Image::LogRecord::kIsEntryDeleted));
  }
  for (std::size_t i = 0; i < todo_.size(); ++i)
    if (!stands[i]) todo.push_back(todo_[i]);
  todo_ = std::move(todo);
  return Step::complete;
}

namespace {

// A number that changes when a collection does, or becomes readable.
std::uint64_t stateOf(Rebuild::ConfigReader& config) {
  if (!config.ready()) return std::hash<std::string>()(config.problem());
  return Shoal::mix64(config.reader().incarnation()) + config.reader().changeCounter();
}

}  // namespace

void Rebuild::obstacleIs(ConfigReader& config, std::string const& problem) {
  if (obstacles_.empty())
    obstacleText_ = fmt::format("it is not complete without '{}': {}", config.path(), problem);
  obstacles_[config.path()] = stateOf(config);
}

bool Rebuild::obstaclesStand() const {
  return std::ranges::all_of(obstacles_, [](auto const& obstacle) {
    ConfigReader config(obstacle.first);
    return stateOf(config) == obstacle.second;
  });
}

}  // namespace LoamHardware
