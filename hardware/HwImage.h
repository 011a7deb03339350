// The image of one table: what stands in the hardware, kept in a collection of the writer's own.
//
// The writer of the hardware owns one for each table. The applied version lies in the scratchpad of the
// collection and is stored after the record that it names, so a writer that was killed applies at most its
// last record twice, which changes nothing. The watermark of the collection says how far the log may have been
// applied, and is stored before; agreesWith names the log.
//
//   I1. Every record up to applied() is in the image, and nothing above the record after it.
//   I2. An image that lost contents, in an earlier life or under this one, or whose rebuilding was broken off,
//       is not complete(): nobody may wait for a version of it, and nothing is applied to it, until it has
//       been rebuilt. A loss happens in a change alone, so each change looks at the collection's loss epoch.
//   I3. An image is given up, and the mark of the loss stands in the file before anybody acts on it, when it may not
//       be what the applied version says: it is below what was reported or below what is cleaned from the log, it
//       followed another log, or another boot of the kernel left it beside a hardware that is cold now.
//
// What a rebuilding leaves when it is killed: the scratchpad is 0 from its first step to its last but one,
// and the mark of the loss is cleared last; either tells the next life to begin again.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "Asic/GroupInfo.h"
#include "LoamTunnelNiLib/InLifImage.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Pivot/Status.h"
#include "Shoal/SteadyReader.h"

namespace LoamHardware {

class HwImage {
 public:
  using LogRecord = LoamTunnelNiLib::InLifModelLogShoalEntry;

  explicit HwImage(Asic::TableInfo const& table) : table_(table) {}

  // Opens the image of an earlier life or makes an empty one.
  Pivot::Status mount();

  // Holds the image against the log that it is advanced by, when that is opened: its incarnation, and up to where it is
  // cleaned.
  void logIs(std::uint64_t incarnation, Asic::LogVersion cleaned);
  bool complete() const { return complete_; }
  // 0 until something was applied, and while the image is not complete.
  Asic::LogVersion applied() const { return applied_; }
  std::uint32_t entries() const { return map_->size(); }

  // An image that is below what was reported is new, or came back older: it must be rebuilt as well.
  void reportedIs(Asic::LogVersion reported);
  // Records up to this version are taken into the image from now on.
  void begin(Asic::LogVersion version);
  // Space for one more record. Refused while the store is full.
  Pivot::Status reserve() { return map_->reserve(1); }
  // Takes one record into the image. REQUIRES: complete(), reserve() was ok, the record's version is above
  // applied().
  void apply(LogRecord const& record);
  // Nothing stands in the log up to `version`: it counts as applied.
  void appliedIs(Asic::LogVersion version);
  // Gives the image up; it is rebuilt at the next chance. `why` is traced at level 1.
  void giveUp(std::string const& why);
  // Fills the image anew from the live configuration records up to `version`; `log` is the incarnation of the log, 0
  // if that cannot be read. Refused when a configuration cannot be read now: the image stays incomplete, with what
  // could be read, and this is to be called again. As long as what is damaged has not changed, that costs a look.
  Pivot::Status rebuild(Asic::LogVersion version, std::uint64_t log);
  // Whether the last rebuild() met damage that no earlier one had met.
  bool damageIsNews() const { return damageIsNews_; }

  // Wakes those who watch the image.
  void wakeReaders() { map_->collectionControl().wakeReaders(); }

 private:
  using Map = LoamTunnelNiLib::InLifImage::Map;

  Pivot::Status openMap();
  void damaged(char const* what);
  void noticeLoss();
  void removeUnit(Asic::UnitId unit);
  template <class F>
  void removeIf(F removes);
  Pivot::Status copyUnit(Asic::UnitId unit, Asic::LogVersion version);
  void obstacleIs(Shoal::SteadyReader<LoamTunnelNiLib::InLifModelConfigShoalEntry>& config,
                  std::string const& problem);
  bool obstaclesStand() const;

  Asic::TableInfo const table_;
  std::unique_ptr<Map> map_;
  bool damaged_ =
      false;  // damage was met: the next rebuilding opens the file anew, which drops what is broken
  bool complete_ = false;
  std::uint64_t lossEpoch_ = 0;  // of the collection, when it was complete last
  // Configurations that could not be read whole, by path, each in the state in which it was found.
  std::map<std::string, std::uint64_t> obstacles_;
  std::string obstacleText_;
  bool damageIsNews_ = false;
  Asic::LogVersion applied_;
};

}  // namespace LoamHardware
