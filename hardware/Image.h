// The image of one table: what stands in the hardware, kept in a collection of the writer's own.
//
// The writer of the hardware owns one for each table, and calls it on its own thread alone. The applied version lies in
// the scratchpad of the collection and is stored after the record that it names, so a writer that was killed applies at
// most what the hardware had not completed, and one record more, twice, which changes nothing. The watermark of the
// collection says how far the log may have been applied, and is stored before; agreesWith names the log.
//
//   I1. Every record up to applied() is in the image, or in the failures if the hardware refused it; and nothing above the
//       record after it is.
//   I2. An image that lost contents, in an earlier life or under this one, or whose rebuilding was broken off,
//       is not complete(): nobody may wait for a version of it, and nothing is applied to it, until it has
//       been rebuilt. A loss happens in a change alone, so each change looks at the collection's loss epoch.
//   I3. An image is given up, and the mark of the loss stands in the file before anybody acts on it, when it may not
//       be what the applied version says: it is below what was reported or below what is cleaned from the log, it
//       followed another log, another boot of the kernel left it beside a hardware that is cold now, the hardware was
//       reset, or its failures are lost.
//
// What a rebuilding leaves when it is killed: the scratchpad is 0 from its first step to its last but one,
// and the mark of the loss is cleared last; either tells the next life to begin again.
#pragma once

#include <memory>
#include <string>

#include "Asic/GroupInfo.h"
#include "LoamTunnelNiLib/InLifImage.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Pivot/Status.h"

namespace LoamHardware {

class Image {
 public:
  using LogRecord = LoamTunnelNiLib::InLifModelLogShoalEntry;
  using Key = LoamTunnelNiLib::InLifImageKey;

  explicit Image(Asic::TableInfo const& table) : table_(table) {}

  // Opens the image of an earlier life or makes an empty one.
  Pivot::Status mount();

  // Holds the image against the log that it is advanced by, when that is opened: its incarnation, and up to where it is
  // cleaned.
  void logIs(std::uint64_t incarnation, Asic::LogVersion cleaned);
  bool complete() const { return complete_; }
  // 0 until something was applied, and while the image is not complete.
  Asic::LogVersion applied() const { return applied_; }
  std::uint32_t entries() const { return map_->size(); }
  // Whether this life made it, empty.
  bool isMadeNow() const { return map_->collectionControl().isMadeNow(); }
  // Whether anything stands under a key. Damage counts as nothing: the next change meets it.
  bool has(Key const& key);

  // An image that is below what was reported is new, or came back older: it must be rebuilt as well.
  void reportedIs(Asic::LogVersion reported);
  // Records up to this version are taken into the image from now on.
  void begin(Asic::LogVersion version);
  // Space for so many more records. Refused while the store is full.
  Pivot::Status reserve(std::size_t records) { return map_->reserve(static_cast<std::uint32_t>(records)); }
  // The hardware has taken a record. REQUIRES: reserve() was ok.
  void take(LogRecord const& record);
  // The record of this version is dealt with, or nothing stands in the log up to it. Nothing while the image is not
  // complete: what it has applied is not known then.
  void appliedIs(Asic::LogVersion version);
  // Gives the image up; it is rebuilt at the next chance. `why` is traced, at level 1 unless it is nothing unusual.
  void giveUp(std::string const& why, int level = 1);

  // A rebuilding up to `version` begins: nothing is in the image. Refused: it cannot be emptied now, call again.
  Pivot::Status rebuildingBegins(Asic::LogVersion version);
  // It has ended with everything in the image that stands; `log` is the incarnation of the log, 0 if that cannot be read.
  // Refused when the image was damaged meanwhile: it stays incomplete, and the rebuilding is to begin again.
  Pivot::Status rebuildingEnds(Asic::LogVersion version, std::uint64_t log);

  // How many changes the failures of the table have seen: noted here too, so that older ones are known by it. 0 in an
  // image that has noted nothing.
  std::uint64_t failureChanges() const;
  void failureChangesAre(std::uint64_t changes);

  // Wakes those who watch the image.
  void wakeReaders() { map_->collectionControl().wakeReaders(); }

 private:
  using Map = LoamTunnelNiLib::InLifImage::Map;

  Pivot::Status openMap();
  void damaged(char const* what);
  template <class F>
  void removeIf(F removes);

  Asic::TableInfo const table_;
  std::unique_ptr<Map> map_;
  // Damage was met: the next rebuilding opens the file anew, which drops what is broken. Until that was possible nothing
  // may be mounted.
  bool damaged_ = false;
  bool complete_ = false;
  std::uint64_t lossEpoch_ = 0;  // of the collection, when it was complete last or a rebuilding began
  Asic::LogVersion applied_;
};

}  // namespace LoamHardware
