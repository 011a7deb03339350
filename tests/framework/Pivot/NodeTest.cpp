// Life and death of counted nodes: counts from birth, pointers taken within constructors and destructors,
// counting by two threads.
#include "Pivot/Node.h"

#include <gtest/gtest.h>

#include <thread>

#include "Cobble/Slab.h"

namespace {

struct Tracked : Pivot::Node {
  COBBLE_SLAB(Tracked, 1)
  explicit Tracked(bool takesItself = false) {
    if (takesItself) Pivot::Ptr<Tracked> self(this);
  }
  ~Tracked() override { Pivot::Ptr<Tracked const> self(this); }
};

TEST(NodeTest, pointerTakenWithinConstructorOrDestructorNeitherKillsNorLeaks) {
  for (bool takesItself : {false, true}) {
    auto node = Pivot::make<Tracked>(takesItself);
    EXPECT_EQ(node->useCount(), 1U);
    EXPECT_EQ(Tracked::memAllocationTracker_.bytes(), static_cast<std::int64_t>(sizeof(Tracked)));
  }
  EXPECT_EQ(Tracked::memAllocationTracker_.count(), 0);
}

TEST(NodeTest, twoThreadsCountWithoutLossWhileThreadsAreAnnounced) {
  Pivot::ThreadControl::tsp_ = true;
  {
    auto node = Pivot::make<Tracked>();
    auto churn = [node] {
      for (int i = 0; i < 50000; ++i) {
        Pivot::Ptr<Tracked> copy = node;
        Pivot::make<Tracked>();
      }
    };
    std::thread other(churn);
    churn();
    other.join();
    EXPECT_EQ(node->useCount(), 2U);
  }
  Pivot::ThreadControl::tsp_ = false;
  EXPECT_EQ(Tracked::memAllocationTracker_.count(), 0);
}

}  // namespace
