// The road of one table into the hardware: gives records, keeps those that are under way, and takes their ends in order
// into image and failures.
//
// The writer owns one for each table, and calls it on its own thread alone. A record is complete when it and all before
// it are: only then does the image take it and does its version count as applied. So whatever the hardware completes
// first, a death leaves an image in which nothing is missing up to the applied version, and gives again what lies above.
#pragma once

#include <algorithm>
#include <chrono>
#include <deque>
#include <optional>
#include <string>

#include "hardware/Failures.h"
#include "hardware/Hardware.h"
#include "hardware/Image.h"

namespace LoamHardware {

class Lane {
 public:
  using Clock = std::chrono::steady_clock;
  using LogRecord = Image::LogRecord;

  // Records of one table that may be under way: enough for any hardware to work in parallel, few enough to be given again
  // after a death.
  static constexpr std::size_t kMostUnderWay = 4096;
  // A record that is put off so long is told.
  static constexpr std::chrono::seconds kPatience{5};

  Lane(Hardware& hardware, std::size_t table, Asic::TableInfo const& info, Image& image, Failures& failures)
      : hardware_(hardware), table_(table), info_(info), image_(image), failures_(failures) {}

  // taken: given, complete or under way. wait: not now, see blocked(). gone: the hardware was reset.
  enum class Given { taken, wait, gone };

  // Gives a record. `need` is an entry that it needs and that was refused. REQUIRES: the image has room for one record
  // more than are under way.
  Given give(LogRecord const& record, std::optional<Failures::Need> const& need = {});
  // Tells the hardware that nothing more comes for now: also one that is busy, which may need just that to go on. One
  // that was busy with this itself is left alone until its pause is over.
  Given endBatch();
  // Empties the table in a hardware that cannot be read back.
  Given wipe();
  // Appends what stands on a unit.
  Given readBack(Asic::UnitId unit, std::vector<LoamTunnelNiLib::InLifModelLogEntry>& records);

  // The end of a call; false when it is none of this lane's.
  bool completed(Completion const& completion);
  std::size_t underWay() const { return underWay_.size(); }
  // Whether nothing more can be given now: too much is under way, or the hardware was busy and its pause is not over.
  bool blocked() const {
    return underWay_.size() >= kMostUnderWay || (pause_.count() != 0 && Clock::now() < again_);
  }
  // When a busy hardware is asked again, or was to be; nothing when it is not busy.
  std::optional<Clock::time_point> again() const {
    return pause_.count() != 0 ? std::optional(again_) : std::nullopt;
  }
  // The hardware knows no ticket any more.
  void forget();

 private:
  struct Call {
    LogRecord record;
    std::optional<Failures::Need> need;
    std::optional<Answer> answer;  // none while it is under way
    Ticket ticket = 0;
  };

  // What an answer other than done and refused means for the lane. `record` is what was to be done, if it was a record.
  Given weigh(Answer const& answer, LogRecord const* record);
  void settle(LogRecord const& record, std::optional<Failures::Need> const& need, Answer const& answer);
  void busy(std::string const& what, LogRecord const* record);

  Hardware& hardware_;
  std::size_t const table_;
  Asic::TableInfo const& info_;
  Image& image_;
  Failures& failures_;
  std::deque<Call> underWay_;
  bool batch_ = false;      // something was given since the last end of a batch
  bool batchBusy_ = false;  // the end of the batch was put off
  // While the hardware is busy: since when, the pause until it is asked again, and the end of that.
  std::chrono::milliseconds pause_{0};
  Clock::time_point busySince_;
  Clock::time_point again_;
  bool told_ = false;
};

}  // namespace LoamHardware
