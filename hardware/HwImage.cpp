#include "hardware/HwImage.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>

#include "Pivot/Exceptions.h"
#include "Vex/Trace.h"

namespace LoamHardware {
namespace {

using namespace LoamTunnelNiLib;

Vex::TraceHandle const imageTrace("HwWriter");

}  // namespace

Pivot::Status HwImage::openMap() {
  map_ = std::make_unique<Map>();
  damaged_ = false;
  return map_->mount({table_.imagePath, InLifImage::kMaxEntries, 0, VexSharedMem::StoreRoot::Role::writer});
}

Pivot::Status HwImage::mount() {
  Pivot::Status status = openMap();
  if (!status.isOk()) return status;
  applied_ = Asic::LogVersion(map_->collectionControl().scratchpad());
  complete_ = !map_->collectionControl().wiped();
  lossEpoch_ = map_->lossEpoch();
  if (!complete_) applied_ = Asic::LogVersion();
  if (map_->collectionControl().isOfAnotherBoot()) {
    giveUp("it is of another boot of the kernel");
    map_->collectionControl().notePresentBoot();
  }
  return status;
}

void HwImage::reportedIs(Asic::LogVersion reported) {
  if (complete_ && applied_ < reported)
    giveUp(fmt::format("it has applied up to version {}, and {} is reported", applied_, reported));
}

void HwImage::logIs(std::uint64_t incarnation, Asic::LogVersion cleaned) {
  if (!complete_) return;
  auto& control = map_->collectionControl();
  bool const isEmpty = applied_ == Asic::LogVersion() && map_->size() == 0;
  if (applied_ < cleaned) {
    giveUp(
        fmt::format("it has applied up to version {}, and the log is cleaned up to {}", applied_, cleaned));
  } else if (control.agreesWith() == 0 && isEmpty) {
    control.agreesWithIs(incarnation);
  } else if (control.agreesWith() != incarnation) {
    giveUp("it followed another log");
  }
}

void HwImage::begin(Asic::LogVersion version) {
  auto& control = map_->collectionControl();
  if (control.watermark() < version.value()) control.watermarkIs(version.value());
}

void HwImage::giveUp(std::string const& why) {
  VEX_TRACE(imageTrace, 1, "image of {} is rebuilt: {}", table_.name, why);
  map_->collectionControl().notePartLost();
  complete_ = false;
  applied_ = Asic::LogVersion();
}

void HwImage::damaged(char const* what) {
  map_->doCorruptionDetected(what);
  damaged_ = true;
  giveUp(what);
}

void HwImage::noticeLoss() {
  if (complete_ && map_->lossEpoch() != lossEpoch_) giveUp("a part of it was damaged and is lost");
}

void HwImage::apply(LogRecord const& record) {
  if (record.isTableDeleted()) {
    removeUnit(record.unitId);
  } else if (record.isEntryDeleted()) {
    map_->del(InLifImageKey(record.unitId, record.logEntry.key));
  } else {
    InLifImageEntry entry;
    entry.key = InLifImageKey(record.unitId, record.logEntry.key);
    entry.entry = record.logEntry;
    entry.logVersion = record.logVersion;
    map_->set(entry);
  }
  appliedIs(record.logVersion);
}

void HwImage::appliedIs(Asic::LogVersion version) {
  noticeLoss();
  // Damage that the change met on the way gave the image up: what it has applied is not known any more.
  if (!complete_) return;
  map_->collectionControl().scratchpadIs(version.value());
  applied_ = version;
}

template <class F>
void HwImage::removeIf(F removes) {
  try {
    Shoal::IterHint hint;
    for (InLifImageEntry const* entry = map_->first(hint); entry;) {
      InLifImageKey const key = entry->key;
      if (removes(key)) map_->del(key);
      entry = map_->next(key, hint);
    }
  } catch (Pivot::CorruptionDetectedException const& damage) {
    damaged(damage.what());
  }
}

void HwImage::removeUnit(Asic::UnitId unit) {
  removeIf([unit](InLifImageKey const& key) { return key.unitId == unit; });
}

Pivot::Status HwImage::rebuild(Asic::LogVersion version, std::uint64_t log) {
  damageIsNews_ = false;
  if (!obstacles_.empty() && obstaclesStand()) return Pivot::Status::refused(obstacleText_);
  obstacles_.clear();
  complete_ = false;
  applied_ = Asic::LogVersion();
  if (damaged_) {
    map_.reset();
    Pivot::Status status = openMap();
    if (!status.isOk()) return status;
  }
  begin(version);
  map_->collectionControl().scratchpadIs(0);
  removeIf([](InLifImageKey const&) { return true; });
  if (damaged_) return Pivot::Status::refused("the image was damaged again while it was emptied");
  lossEpoch_ = map_->lossEpoch();
  std::vector<Asic::UnitId> units;
  if (Pivot::Status status = table_.unitsInto(units); !status.isOk()) return status;
  for (Asic::UnitId unit : units) {
    Pivot::Status status = copyUnit(unit, version);
    if (status.isOk()) continue;
    obstacles_.clear();
    return status;
  }
  if (map_->lossEpoch() != lossEpoch_)
    return Pivot::Status::refused("the image was damaged again while it was filled");
  damageIsNews_ = !obstacles_.empty();
  if (damageIsNews_) return Pivot::Status::refused(obstacleText_);
  // The version first, the mark last: killed in between, the next life finds the mark and begins again.
  map_->collectionControl().scratchpadIs(version.value());
  map_->collectionControl().agreesWithIs(log);
  map_->collectionControl().clearWiped();
  applied_ = version;
  complete_ = true;
  VEX_TRACE(imageTrace, 1, "image of {} rebuilt at version {} with {} entries", table_.name, version,
            map_->size());
  return Pivot::Status::ok();
}

Pivot::Status HwImage::copyUnit(Asic::UnitId unit, Asic::LogVersion version) {
  Shoal::SteadyReader<InLifModelConfigShoalEntry> config(table_.configPath(unit));
  if (!config.ready()) {
    // A file that is there holds entries, perhaps as another build lays them out: an image without them must not
    // be reported. One that is lost is made anew and published again by the agent; until then the unit has
    // nothing.
    if (!config.problem().empty())
      obstacleIs(config, config.problem());
    else
      VEX_TRACE(imageTrace, 1, "no configuration of {} unit {}", table_.name, unit);
    return Pivot::Status::ok();
  }
  Pivot::Status status = Pivot::Status::ok();
  std::string problem;
  Shoal::Read const end = walkOverDamage(config, problem, [&](InLifModelConfigShoalEntry const& record) {
    if (record.isDeleted || record.logVersion > version) return true;
    status = reserve();
    if (!status.isOk()) return false;
    InLifImageEntry entry;
    entry.key = InLifImageKey(unit, record.key());
    entry.entry = record.tableEntry;
    entry.logVersion = record.logVersion;
    map_->set(entry);
    return true;
  });
  if (end == Shoal::Read::busy)
    status = Pivot::Status::refused(fmt::format("configuration of {} unit {} is busy", table_.name, unit));
  // What could be read is taken, for as long as it takes the agent to make the rest readable.
  if (!problem.empty()) obstacleIs(config, problem);
  return status;
}

namespace {

// A number that changes when a collection does, or becomes readable.
std::uint64_t stateOf(Shoal::SteadyReader<InLifModelConfigShoalEntry>& config) {
  if (!config.ready()) return std::hash<std::string>()(config.problem());
  return Shoal::mix64(config.reader().incarnation()) + config.reader().changeCounter();
}

}  // namespace

void HwImage::obstacleIs(Shoal::SteadyReader<InLifModelConfigShoalEntry>& config,
                         std::string const& problem) {
  if (obstacles_.empty())
    obstacleText_ = fmt::format("it is not complete without '{}': {}", config.path(), problem);
  obstacles_[config.path()] = stateOf(config);
}

bool HwImage::obstaclesStand() const {
  return std::ranges::all_of(obstacles_, [](auto const& obstacle) {
    Shoal::SteadyReader<InLifModelConfigShoalEntry> config(obstacle.first);
    return stateOf(config) == obstacle.second;
  });
}

}  // namespace LoamHardware
