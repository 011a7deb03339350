// The histograms of the stages: bins of equal ratio, which a sum of bins turns into percentiles.
#include "Asic/SwTableLatency.h"

#include <time.h>

#include <algorithm>
#include <boost/histogram.hpp>

namespace Asic {

namespace {

namespace bh = boost::histogram;

// From 128 ns to 73 minutes, 30 bins to a doubling. What lies outside counts in the bins at the ends.
constexpr double kLeast = 128;
constexpr unsigned kBins = 35 * 30;
constexpr double kMost = kLeast * (std::uint64_t{1} << 35);

using Axis = bh::axis::regular<double, bh::axis::transform::log>;

}  // namespace

struct SwTableLatency::Histograms {
  struct OfStage {
    using Histogram = bh::histogram<std::tuple<Axis>, bh::dense_storage<std::uint64_t>>;

    Histogram histogram{std::make_tuple(Axis(kBins, kLeast, kMost))};
    std::uint64_t operations = 0;
    std::uint64_t measured = 0;
    std::uint64_t longest = 0;
  };

  std::array<OfStage, kStages> stages;
};

SwTableLatency::SwTableLatency() = default;
SwTableLatency::~SwTableLatency() {
  delete histograms_;
}

std::uint64_t SwTableLatency::now() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000 + static_cast<std::uint64_t>(now.tv_nsec);
}

void SwTableLatency::record(Stage stage, LatencyStamp stamp, std::uint64_t now) {
  if (stamp.weight() == 0) return;
  if (histograms_ == nullptr) histograms_ = new Histograms;
  Histograms::OfStage& own = histograms_->stages[static_cast<std::size_t>(stage)];
  std::uint64_t const nanoseconds = stamp.until(now);
  own.histogram(std::max(static_cast<double>(nanoseconds), kLeast), bh::weight(stamp.weight()));
  own.operations += stamp.weight();
  ++own.measured;
  own.longest = std::max(own.longest, nanoseconds);
}

SwTableLatency::Figures SwTableLatency::figures(Stage stage) const {
  Figures figures;
  if (!histograms_) return figures;
  Histograms::OfStage const& own = histograms_->stages[static_cast<std::size_t>(stage)];
  figures.operations = own.operations;
  figures.measured = own.measured;
  figures.longest = static_cast<double>(own.longest);
  struct Wanted {
    double share;
    double* at;
  };
  Wanted const wanted[] = {
      {0.5, &figures.median}, {0.9, &figures.p90}, {0.99, &figures.p99}, {0.999, &figures.p999}};
  Wanted const* next = std::begin(wanted);
  std::uint64_t sum = 0;
  for (auto const& bin : bh::indexed(own.histogram, bh::coverage::all)) {
    sum += *bin;
    for (; next != std::end(wanted) && sum != 0 &&
           static_cast<double>(sum) >= next->share * static_cast<double>(own.operations);
         ++next) {
      *next->at = std::min(bin.bin(0).upper(), figures.longest);
    }
  }
  return figures;
}

}  // namespace Asic
