// How long the operations of one table object take on their way to the hardware, stage by stage.
//
//   stage      from                                     to
//   behind     accepted                                 nothing of its table stands before it any more
//   head       nothing stands before it                 commit
//   hardware   commit                                   the writer of the hardware has reported it
//
// The group resolver measures the first two, the engine of the table the third. Each stage is one histogram
// of fixed size, made with the first figure, so that a table that nobody writes to costs a pointer.
//
// Not every operation is measured: a clock is read some three times on the way of one, which would be a tenth
// of the whole road. Up to kWholeTick operations in one tick of the coarse clock (4 ms) all are; of what
// comes faster than that one in kThinned is, and counts for so many. Which ones follows from a number that
// shares no period with the batches in which clients write. All on the agent's one thread.
#pragma once

#include <cstddef>
#include <cstdint>

#include "Cobble/Export.h"

namespace Asic {

// When the stage that an operation is in began, and for how many operations it stands.
class LatencyStamp {
 public:
  // Not measured.
  constexpr LatencyStamp() = default;
  constexpr LatencyStamp(std::uint64_t nanoseconds, std::uint8_t weight)
      : bits_(nanoseconds << kWeightBits | weight) {}

  constexpr std::uint8_t weight() const { return static_cast<std::uint8_t>(bits_); }
  // Nanoseconds from the stamp to `now`. The stamp keeps 56 bits, two years, and differences are taken in
  // them.
  constexpr std::uint64_t until(std::uint64_t now) const {
    return ((now << kWeightBits) - (bits_ & ~std::uint64_t{0xFF})) >> kWeightBits;
  }
  constexpr LatencyStamp at(std::uint64_t now) const { return LatencyStamp(now, weight()); }

 private:
  static constexpr int kWeightBits = 8;

  std::uint64_t bits_ = 0;
};
static_assert(sizeof(LatencyStamp) == 8);

// Chooses the operations that are measured.
class LatencySampler {
 public:
  static constexpr std::uint32_t kWholeTick = 32;
  static constexpr std::uint8_t kThinned = 32;

  // The weight of the next operation, 0 for one that is not measured. `sequence` counts operations, `tick` is
  // a coarse time.
  std::uint8_t weight(std::uint64_t sequence, std::uint64_t tick) {
    if (tick != tick_) {
      tick_ = tick;
      inTick_ = 0;
    }
    if (inTick_ < kWholeTick) {
      ++inTick_;
      return 1;
    }
    // The golden ratio in 64 bits: its multiples fall evenly, whatever the step.
    return sequence * 0x9E3779B97F4A7C15 >> 59 == 0 ? kThinned : 0;
  }

 private:
  std::uint64_t tick_ = 0;
  std::uint32_t inTick_ = 0;
};

class LOAM_FRAMEWORK_EXPORT SwTableLatency final {
 public:
  enum class Stage : std::uint8_t { behind, head, hardware };
  static constexpr std::size_t kStages = 3;

  // Percentiles in nanoseconds, each the upper end of its bin: at most 2.4 % above the figure itself. What is
  // shorter than 128 ns shows as 128 ns at most.
  struct Figures {
    std::uint64_t operations = 0;  // measured ones with their weights: about as many as passed the stage
    std::uint64_t measured = 0;
    double median = 0;
    double p90 = 0;
    double p99 = 0;
    double p999 = 0;
    double longest = 0;  // exact, of the measured ones
  };

  SwTableLatency();
  SwTableLatency(SwTableLatency const&) = delete;
  SwTableLatency& operator=(SwTableLatency const&) = delete;
  ~SwTableLatency();

  // Records the stage that ends at `now` for the operation of the stamp. One that is not measured is passed
  // over.
  void record(Stage stage, LatencyStamp stamp, std::uint64_t now);
  Figures figures(Stage stage) const;

  // Nanoseconds of the clock by which stamps are made.
  static std::uint64_t now();

 private:
  struct Histograms;

  Histograms* histograms_ = nullptr;  // owned, as the publisher of a DependencyEntryHandle
};

}  // namespace Asic
