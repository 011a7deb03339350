// The image of one table: what stands in the hardware, kept in a collection of the writer's own.
//
// The writer of the hardware owns one for each table. The applied version lies in the scratchpad of the
// collection and is stored after the record that it names, so a writer that was killed applies at most its
// last record twice, which changes nothing.
//
//   I1. Every record up to applied() is in the image, and nothing above the record after it.
//   I2. An image that lost contents, in an earlier life or under this one, or whose rebuilding was broken off,
//       is not complete(): nobody may wait for a version of it, and nothing is applied to it, until it has
//       been rebuilt. A loss happens in a change alone, so each change looks at the collection's loss epoch.
//
// What a rebuilding leaves when it is killed: the scratchpad is 0 from its first step to its last but one,
// and the mark of the loss is cleared last; either tells the next life to begin again.
#pragma once

#include <memory>

#include "LoamTunnelNiLib/InLifImage.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Pivot/Status.h"
#include "tools/support/SteadyReader.h"
#include "tools/support/Tables.h"

namespace Inlif {

class HwImage {
 public:
  using LogRecord = LoamTunnelNiLib::InLifModelLogShoalEntry;

  explicit HwImage(TableInfo const& table) : table_(table) {}

  // Opens the image of an earlier life or makes an empty one.
  Pivot::Status mount();

  bool complete() const { return complete_; }
  // 0 until something was applied, and while the image is not complete.
  Asic::LogVersion applied() const { return applied_; }
  std::uint32_t entries() const { return map_->size(); }

  // An image that is not lost but new while `reported` is above 0 has missed what was reported: it must be
  // rebuilt as well.
  void reportedIs(Asic::LogVersion reported);
  // Space for one more record. Refused while the store is full.
  Pivot::Status reserve() { return map_->reserve(1); }
  // Takes one record into the image. REQUIRES: complete(), reserve() was ok, the record's version is above
  // applied().
  void apply(LogRecord const& record);
  // Nothing stands in the log up to `version`: it counts as applied.
  void appliedIs(Asic::LogVersion version);
  // Gives the image up; it is rebuilt at the next chance. `why` is traced at level 1.
  void giveUp(std::string const& why);
  // Fills the image anew from the live configuration records up to `version`. Refused when a configuration
  // cannot be read now (the image stays incomplete and this is to be called again).
  Pivot::Status rebuild(Asic::LogVersion version);

  // Wakes those who watch the image.
  void wakeReaders() { map_->collectionControl().wakeReaders(); }

 private:
  using Map = LoamTunnelNiLib::InLifImage::Map;

  Pivot::Status openMap();
  void damaged(char const* what);
  void lossNoticed();
  void removeUnit(Asic::UnitId unit);
  template <class F>
  void removeIf(F removes);
  Pivot::Status copyUnit(Asic::UnitId unit, Asic::LogVersion version);

  TableInfo const& table_;
  std::unique_ptr<Map> map_;
  bool damaged_ =
      false;  // damage was met: the next rebuilding opens the file anew, which drops what is broken
  bool complete_ = false;
  std::uint64_t lossEpoch_ = 0;  // of the collection, when it was complete last
  Asic::LogVersion applied_;
};

}  // namespace Inlif
