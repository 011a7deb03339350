// How long the writer of the hardware is behind, however long that grows.
#include <gtest/gtest.h>

#include <algorithm>

#include "agent/Backlog.h"

namespace {

using LoamAgent::Backlog;
using namespace std::chrono_literals;

// A version is announced each millisecond; the writer is five seconds behind, and then dies.
TEST(BacklogTest, theAgeIsThatOfTheOldestVersionHoweverLongItGrows) {
  Backlog backlog;
  auto const begin = Backlog::Clock::now();
  auto const ageAt = [&](int ms) {
    return std::chrono::duration<double, std::milli>(backlog.age(begin + ms * 1ms)).count();
  };
  constexpr int kLag = 5000, kDeath = 50'000;
  for (int ms = 1; ms <= 2 * kDeath; ++ms) {
    int const reported = std::max(std::min(ms, kDeath) - kLag, 0);
    backlog.look(static_cast<std::uint64_t>(ms), static_cast<std::uint64_t>(reported), begin + ms * 1ms);
    ASSERT_NEAR(ageAt(ms), ms - reported, 1 + (ms - reported) / 30.0) << ms;
  }
  backlog.look(2 * kDeath, 2 * kDeath, begin + 2 * kDeath * 1ms);
  EXPECT_EQ(ageAt(3 * kDeath), 0);
}

}  // namespace
