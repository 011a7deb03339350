#include "tools/writer/HwImage.h"

#include <fmt/format.h>

#include "Pivot/Exceptions.h"
#include "Vex/Trace.h"

namespace Inlif {
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
  return status;
}

void HwImage::reportedIs(Asic::LogVersion reported) {
  if (complete_ && applied_.value() == 0 && reported.value() > 0)
    giveUp("it has nothing of what was reported");
}

void HwImage::giveUp(std::string const& why) {
  VEX_TRACE(imageTrace, 1, "image of {} is rebuilt: {}", table_.name, why);
  complete_ = false;
  applied_ = Asic::LogVersion();
}

void HwImage::damaged(char const* what) {
  map_->doCorruptionDetected(what);
  damaged_ = true;
  giveUp(what);
}

void HwImage::lossNoticed() {
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
  lossNoticed();
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

Pivot::Status HwImage::rebuild(Asic::LogVersion version) {
  complete_ = false;
  applied_ = Asic::LogVersion();
  if (damaged_) {
    map_.reset();
    Pivot::Status status = openMap();
    if (!status.isOk()) return status;
  }
  map_->collectionControl().scratchpadIs(0);
  removeIf([](InLifImageKey const&) { return true; });
  if (damaged_) return Pivot::Status::refused("the image was damaged again while it was emptied");
  lossEpoch_ = map_->lossEpoch();
  std::vector<Asic::UnitId> units;
  if (Pivot::Status status = table_.unitsInto(units); !status.isOk()) return status;
  for (Asic::UnitId unit : units) {
    Pivot::Status status = copyUnit(unit, version);
    if (!status.isOk()) return status;
  }
  if (map_->lossEpoch() != lossEpoch_)
    return Pivot::Status::refused("the image was damaged again while it was filled");
  // The version first, the mark last: killed in between, the next life finds the mark and begins again.
  map_->collectionControl().scratchpadIs(version.value());
  map_->collectionControl().clearWiped();
  applied_ = version;
  complete_ = true;
  VEX_TRACE(imageTrace, 1, "image of {} rebuilt at version {} with {} entries", table_.name, version,
            map_->size());
  return Pivot::Status::ok();
}

Pivot::Status HwImage::copyUnit(Asic::UnitId unit, Asic::LogVersion version) {
  SteadyReader<InLifModelConfigShoalEntry> config(table_.configPath(unit));
  if (!config.ready()) {
    // A file that is there holds entries, perhaps as another build lays them out: an image without them must not
    // be reported. One that is lost is made anew and published again by the agent; until then the unit has
    // nothing.
    if (!config.problem().empty())
      return Pivot::Status::refused(fmt::format("'{}': {}", config.path(), config.problem()));
    VEX_TRACE(imageTrace, 1, "no configuration of {} unit {}", table_.name, unit);
    return Pivot::Status::ok();
  }
  Pivot::Status status = Pivot::Status::ok();
  Read const end = walk(config, [&](InLifModelConfigShoalEntry const& record) {
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
  if (end == Read::busy)
    status = Pivot::Status::refused(fmt::format("configuration of {} unit {} is busy", table_.name, unit));
  if (end == Read::damaged) {
    // The agent publishes the unit anew after its next start; what could be read is taken.
    VEX_TRACE(imageTrace, 1, "configuration of {} unit {} is damaged: {}", table_.name, unit,
              config.problem());
  }
  return status;
}

}  // namespace Inlif
