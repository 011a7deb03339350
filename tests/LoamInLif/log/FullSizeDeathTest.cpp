// Deaths at full size: the limits of the product, units of some thousand entries, files that grow all the
// time. Each life does a long seeded workload and dies at a random point of it, the next one at a random point
// of its opening, and the one after that must find what LogDeath.h asks for. LOAM_DEATHS in the environment
// tells how many die, LOAM_SEED which.
#include <random>

#include "LoamInLif/log/LogDeath.h"

namespace {

using namespace TestSupport;

struct Full : LoamInLif::InLif1 {
  static constexpr std::uint32_t logCapacity = InLifModelEntryLogShoal::kStoreCapacity;
};

constexpr std::size_t kSteps = 12'000;
constexpr unsigned kKeys = 6'000;  // of each unit; spread, so that their pages are many
// So many deaths share a workload, whose points have to be counted.
constexpr unsigned kDeathsOfWorkload = 25;
// More than a usual opening has.
constexpr int kPointsOfOpening = 80;

class FullSizeDeath : public LogDeathOf<Full> {
 protected:
  using Random = std::mt19937;

  // A key that is live, or 0.
  unsigned liveKey(Model const& model, Asic::UnitId unit, unsigned from) {
    auto const& live = model.live.at(unit);
    auto const at = live.lower_bound(from);
    return at != live.end() ? at->first : 0;
  }
  Steps workload(Random& random) {
    Steps steps;
    Model model = Model::after({}, 0);
    while (steps.size() < kSteps) {
      Asic::UnitId const unit = random() % 4 == 0 ? 2 : 1;
      auto const key = static_cast<unsigned>((1 + random() % kKeys) * 2'654'435'761U);
      auto const value = static_cast<unsigned>(random() % 256);
      auto const kind = static_cast<unsigned>(random() % 10'000);
      Step step{kind < 400 ? Step::writeWithNeed : Step::write, unit, key, value};
      if (kind >= 7'900) step = {Step::taken, unit, 0, static_cast<unsigned>(model.version % 300)};
      if (kind >= 8'000) step = {Step::remove, unit, liveKey(model, unit, key), 0};
      if (kind >= 9'994) step = {Step::clear, unit};
      if (kind >= 9'998) step = {Step::restart};
      if (step.what == Step::remove && step.key == 0) continue;
      model.apply(step);
      steps.push_back(step);
    }
    return steps;
  }
  // How many points a life of `steps` passes.
  int pointsOf(Steps const& steps) {
    begin({});
    int const most = std::numeric_limits<int>::max();
    progress.pointsLeft = 0;
    runChild(most, [&] {
      Life<Full>(store_).run(steps);
      progress.pointsLeft = stepsToLive;
    });
    EXPECT_EQ(progress.step, steps.size());
    expectWhole(store_, Model::after(steps, steps.size()), Model::after(steps, steps.size()), false);
    return most - progress.pointsLeft;
  }
  void die(Steps const& steps, int point, int then) {
    begin({});
    EXPECT_EQ(runChild(point, [&] { Life<Full>(store_).run(steps); }), 1);
    Model const before = Model::after(steps, progress.step);
    Model const after = Model::after(steps, progress.step + 1);
    SCOPED_TRACE(testing::Message() << "died at point " << point << " (" << progress.point << "), step "
                                    << progress.step);
    check(store_);
    if (runChild(then, [&] { Life<Full> life(store_); }) == 1) {
      ++deathsInOpening_;
      check(store_);
    }
    SCOPED_TRACE(testing::Message() << "then at point " << then << " (" << progress.point << ")");
    expectWhole(store_, before, after, false);
  }

  long deathsInOpening_ = 0;
};

TEST_F(FullSizeDeath, AtRandomPointsOfALongLife) {
  unsigned const deaths = fromEnvironment("LOAM_DEATHS", 5), seed = fromEnvironment("LOAM_SEED", 1);
  Random random(seed);
  Steps steps;
  int points = 0;
  for (unsigned i = 0; i < deaths && !HasFailure(); ++i) {
    SCOPED_TRACE(testing::Message() << "death " << i << " of seed " << seed);
    if (i % kDeathsOfWorkload == 0) steps = workload(random), points = pointsOf(steps);
    int const point = static_cast<int>(random() % static_cast<unsigned>(points));
    die(steps, point, static_cast<int>(random() % kPointsOfOpening));
  }
  std::printf("%u deaths, %ld more in the opening after it, of %zu steps and about %d points\n", deaths,
              deathsInOpening_, steps.size(), points);
}

}  // namespace
