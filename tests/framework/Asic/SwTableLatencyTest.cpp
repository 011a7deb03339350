// Which operations are measured, and what the histograms make of them.
#include "Asic/SwTableLatency.h"

#include <gtest/gtest.h>

namespace {

using namespace Asic;
using Stage = SwTableLatency::Stage;

TEST(SwTableLatency, PercentilesLieInNarrowBinsAndCountWeights) {
  SwTableLatency latency;
  EXPECT_EQ(latency.figures(Stage::head).operations, 0u);
  // 1 to 1000 us; the last one stands for 32 operations.
  for (std::uint64_t us = 1; us < 1000; ++us) latency.record(Stage::head, LatencyStamp(7, 1), 7 + us * 1000);
  latency.record(Stage::head, LatencyStamp(7, 32), 7 + 1'000'000);
  latency.record(Stage::head, LatencyStamp(), 5) /* not measured */;
  auto const figures = latency.figures(Stage::head);
  EXPECT_EQ(figures.operations, 1031u);
  EXPECT_EQ(figures.measured, 1000u);
  EXPECT_NEAR(figures.median, 516e3, 516e3 * 0.024);
  EXPECT_NEAR(figures.p90, 928e3, 928e3 * 0.024);
  EXPECT_EQ(figures.p99, 1e6) << "no percentile lies above the longest";
  EXPECT_EQ(figures.longest, 1e6);
  EXPECT_EQ(latency.figures(Stage::behind).measured, 0u);
}

TEST(SwTableLatency, AStampThatComesRoundStillTellsDifferences) {
  LatencyStamp const stamp((std::uint64_t{1} << 56) - 3, 1);
  EXPECT_EQ(stamp.until((std::uint64_t{1} << 56) + 4), 7u);
  EXPECT_EQ(stamp.at(9).until(9), 0u);
}

TEST(SwTableLatency, WeightsAddUpToTheOperations) {
  LatencySampler sampler;
  std::uint64_t sequence = 0;
  std::uint64_t measured = 0;
  std::uint64_t weights = 0;
  // A quiet second, in which all are measured, then a busy one.
  for (std::uint64_t tick = 1; tick <= 250; ++tick) {
    for (int i = 0; i < 20; ++i) EXPECT_EQ(sampler.weight(++sequence, tick), 1);
  }
  for (std::uint64_t tick = 300; tick <= 400; ++tick) {
    for (int i = 0; i < 2048; ++i) {
      std::uint8_t const weight = sampler.weight(++sequence, tick);
      measured += weight != 0;
      weights += weight;
    }
  }
  EXPECT_NEAR(static_cast<double>(weights), 101 * 2048, 101 * 2048 * 0.01);
  EXPECT_LT(measured, 101 * 2048 / 20);
}

}  // namespace
