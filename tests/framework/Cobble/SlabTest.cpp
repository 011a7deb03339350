// The slab hands out memory that nobody else holds, reuses what came back, and works under threads once they
// are announced.
#include "Cobble/Slab.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "Cobble/ThreadControl.h"

namespace {

using Cobble::SlabAllocationPattern;
using Cobble::SlabAllocator;

// Fills every block with a mark of its own and checks the mark before it goes back: overlap or reuse of a
// live block shows.
void churn(std::uint32_t seed, int steps) {
  struct Block {
    unsigned char* memory;
    std::size_t bytes;
    unsigned char mark;
    SlabAllocationPattern pattern;
  };
  std::mt19937 random(seed);
  std::vector<Block> live;
  auto check = [&](Block const& block) {
    for (std::size_t i = 0; i < block.bytes; ++i) ASSERT_EQ(block.memory[i], block.mark);
    SlabAllocator::free(block.memory, block.bytes, block.pattern);
  };
  for (int step = 0; step < steps; ++step) {
    if (live.empty() || random() % 100 < 55) {
      std::size_t const bytes = 1 + random() % (random() % 10 == 0 ? 3000 : 200);
      auto const pattern = static_cast<SlabAllocationPattern>(random() % 2);
      auto* const memory = static_cast<unsigned char*>(SlabAllocator::allocate(bytes, pattern));
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(memory) % 16, 0U);
      live.push_back({memory, bytes, static_cast<unsigned char>(random()), pattern});
      std::memset(memory, live.back().mark, bytes);
    } else {
      std::swap(live[random() % live.size()], live.back());
      check(live.back());
      live.pop_back();
    }
  }
  for (Block const& block : live) check(block);
}

TEST(SlabTest, liveBlocksNeverOverlapAndStatisticsReturnToTheirStart) {
  auto const before = SlabAllocator::stats(SlabAllocationPattern::kPerOperation);
  churn(1, 50000);
  auto const grown = SlabAllocator::stats(SlabAllocationPattern::kPerOperation);
  EXPECT_EQ(grown.liveBlocks, before.liveBlocks);
  EXPECT_EQ(grown.liveBytes, before.liveBytes);
  // The same again fits into the chunks that are there.
  churn(1, 50000);
  EXPECT_EQ(SlabAllocator::stats(SlabAllocationPattern::kPerOperation).chunkBytes, grown.chunkBytes);
}

TEST(SlabTest, twoThreadsShareTheArenas) {
  Pivot::ThreadControl::tsp_ = true;
  std::thread other(churn, 2, 20000);
  churn(3, 20000);
  other.join();
  Pivot::ThreadControl::tsp_ = false;
}

struct Base {
  COBBLE_SLAB(Base, 0)
  virtual ~Base() = default;
  std::uint64_t words[2] = {};
};
struct Derived : Base {
  std::uint64_t more[40] = {};
};

TEST(SlabTest, objectOfADerivedClassGoesBackWithItsOwnSize) {
  Base* const object = new Derived;
  EXPECT_EQ(Base::memAllocationTracker_.bytes(), static_cast<std::int64_t>(sizeof(Derived)));
  delete object;
  EXPECT_EQ(Base::memAllocationTracker_.bytes(), 0);
  auto const all = Vex::AllocTrackTypeInfo::all();
  EXPECT_EQ(std::count(all.begin(), all.end(), &Base::memAllocationTracker_), 1);
}

}  // namespace
