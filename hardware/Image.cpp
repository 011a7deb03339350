#include "hardware/Image.h"

#include <fmt/format.h>

#include <array>
#include <cstring>

#include "Pivot/Exceptions.h"
#include "Shoal/ReportedReads.h"
#include "Vex/Trace.h"

namespace LoamHardware {
namespace {

using namespace LoamTunnelNiLib;

Vex::TraceHandle const imageTrace("HwWriter");

}  // namespace

Pivot::Status Image::openMap() {
  map_ = std::make_unique<Map>();
  return map_->mount({table_.imagePath, InLifImage::kMaxEntries, 0, VexSharedMem::StoreRoot::Role::writer});
}

Pivot::Status Image::mount() {
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

void Image::reportedIs(Asic::LogVersion reported) {
  if (complete_ && applied_ < reported)
    giveUp(fmt::format("it has applied up to version {}, and {} is reported", applied_, reported));
}

void Image::logIs(std::uint64_t incarnation, Asic::LogVersion cleaned) {
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

void Image::begin(Asic::LogVersion version) {
  auto& control = map_->collectionControl();
  if (control.watermark() < version.value()) control.watermarkIs(version.value());
}

void Image::giveUp(std::string const& why, int level) {
  VEX_TRACE(imageTrace, level, "image of {} is rebuilt: {}", table_.name, why);
  map_->collectionControl().notePartLost();
  complete_ = false;
  applied_ = Asic::LogVersion();
}

void Image::damaged(char const* what) {
  map_->doCorruptionDetected(what);
  damaged_ = true;
  giveUp(what);
}

bool Image::has(Key const& key) {
  return Shoal::holds(*map_, key);
}

void Image::take(LogRecord const& record) {
  if (record.isTableDeleted()) {
    removeIf([&](Key const& key) { return key.unitId == record.unitId; });
  } else if (record.isEntryDeleted()) {
    map_->del(Key(record.unitId, record.logEntry.key));
  } else {
    InLifImageEntry entry;
    entry.key = Key(record.unitId, record.logEntry.key);
    entry.entry = record.logEntry;
    entry.logVersion = record.logVersion;
    map_->set(entry);
  }
}

void Image::appliedIs(Asic::LogVersion version) {
  if (!complete_) return;
  // Damage that the change met on the way gives the image up: what it has applied is not known any more.
  if (map_->lossEpoch() != lossEpoch_) return giveUp("a part of it was damaged and is lost");
  map_->collectionControl().scratchpadIs(version.value());
  applied_ = version;
}

template <class F>
void Image::removeIf(F removes) {
  try {
    Shoal::IterHint hint;
    for (InLifImageEntry const* entry = map_->first(hint); entry;) {
      Key const key = entry->key;
      if (removes(key)) map_->del(key);
      entry = map_->next(key, hint);
    }
  } catch (Pivot::CorruptionDetectedException const& damage) {
    damaged(damage.what());
  }
}

Pivot::Status Image::rebuildingBegins(Asic::LogVersion version) {
  complete_ = false;
  applied_ = Asic::LogVersion();
  if (damaged_) {
    map_.reset();
    Pivot::Status status = openMap();
    if (!status.isOk()) return status;
    damaged_ = false;
  }
  begin(version);
  map_->collectionControl().scratchpadIs(0);
  removeIf([](Key const&) { return true; });
  lossEpoch_ = map_->lossEpoch();
  return damaged_ ? Pivot::Status::refused("the image was damaged again while it was emptied")
                  : Pivot::Status::ok();
}

Pivot::Status Image::rebuildingEnds(Asic::LogVersion version, std::uint64_t log) {
  if (damaged_ || map_->lossEpoch() != lossEpoch_)
    return Pivot::Status::refused("the image was damaged again while it was filled");
  // The version first, the mark last: killed in between, the next life finds the mark and begins again.
  auto& control = map_->collectionControl();
  control.scratchpadIs(version.value());
  control.agreesWithIs(log);
  control.clearWiped();
  applied_ = version;
  complete_ = true;
  VEX_TRACE(imageTrace, 1, "image of {} rebuilt at version {} with {} entries", table_.name, version,
            map_->size());
  return Pivot::Status::ok();
}

// The place of an intent, which an image has no other use for: one number that is written whole or not at all. Killed
// between clearing and writing it says 0, which is never more than the failures say. If they have seen more than one change
// they do not fit it, and the next life rebuilds a table that was whole: a few stores, in a change of the failures alone,
// have that moment, and it costs nothing but the work.
std::uint64_t Image::failureChanges() const {
  auto const bytes = map_->collectionControl().intent();
  std::uint64_t changes = 0;
  if (bytes.size() == sizeof changes) std::memcpy(&changes, bytes.data(), sizeof changes);
  return changes;
}

void Image::failureChangesAre(std::uint64_t changes) {
  // One that could not be opened anew has lost the number with all else: it is noted at the end of the rebuilding.
  if (!map_->mounted()) return;
  std::array<std::uint8_t, sizeof changes> bytes;
  std::memcpy(bytes.data(), &changes, sizeof changes);
  map_->collectionControl().clearIntent();
  map_->collectionControl().intentIs(bytes);
}

}  // namespace LoamHardware
