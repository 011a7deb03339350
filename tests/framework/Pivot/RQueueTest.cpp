// Indices and storage of the indexed queue, against a plain deque and a model of the arrays.
#include "Pivot/RQueue.h"

#include <gtest/gtest.h>

#include <deque>
#include <random>

#include "Cobble/Slab.h"

namespace {

struct Element : Pivot::Node {
  COBBLE_SLAB(Element, 1)
};
using Queue = Pivot::RQueue<Pivot::Ptr<Element const>>;

Vex::AllocTrackTypeInfo arrays("arrays"), elements("elements");

std::int64_t arrayBytes(std::initializer_list<int> capacities) {
  std::int64_t bytes = 0;
  for (int capacity : capacities) bytes += 16 + 8 * capacity;
  return bytes;
}

TEST(RQueueTest, noArrayIsLargerThan8192) {
  Queue queue(arrays, elements);
  auto const item = Pivot::make<Element>();
  while (queue.size() < 16380) queue.enq(item);  // 4 + 8 + 16 and so on to 8192
  auto const before = arrays.bytes();
  queue.enq(item);
  EXPECT_EQ(arrays.bytes() - before, arrayBytes({8192}));
  EXPECT_EQ(queue.at(queue.nextIndex() - 1), item);
}

TEST(RQueueTest, emptyingKeepsTheNextIndexAndBearsReentry) {
  struct Refill : Pivot::Node {
    explicit Refill(Pivot::RQueue<Pivot::Ptr<Pivot::Node>>& queue) : queue_(queue) {}
    ~Refill() override {
      EXPECT_EQ(queue_.size(), 0U);
      queue_.enq(Pivot::make<Element>());
      queue_.deq();
    }
    Pivot::RQueue<Pivot::Ptr<Pivot::Node>>& queue_;
  };
  Pivot::RQueue<Pivot::Ptr<Pivot::Node>> queue(arrays, elements);
  queue.delAll();
  for (int i = 0; i < 2; ++i) queue.enq(Pivot::make<Refill>(queue));
  queue.delAll();
  EXPECT_EQ(queue.nextIndex(), 5U);
  EXPECT_EQ(elements.count(), 0);
}

// Random bursts, also across the wrap-around of the index, against a deque; the arrays against their rule,
// written out anew.
TEST(RQueueTest, agreesWithAPlainDequeAndTheStorageRule) {
  std::mt19937 random(2);
  for (std::uint32_t start : {1U, 0xFFFFFF00U, 0x7FFFFFF0U}) {
    Queue queue(arrays, elements, start);
    std::deque<Pivot::Ptr<Element>> oracle;
    struct Model {
      int capacity, used, left;
    };
    std::deque<Model> chain;
    std::uint32_t next = start;
    for (int step = 0; step < 20000; ++step) {
      if (random() % 200 < (step / 2000 % 2 == 0 ? 110U : 90U)) {
        if (chain.empty() || chain.back().used == chain.back().capacity) {
          int capacity = 4;
          while (capacity <= static_cast<int>(oracle.size())) capacity *= 2;
          chain.push_back({capacity, 0, 0});
        }
        ++chain.back().used;
        ++chain.back().left;
        oracle.push_back(Pivot::make<Element>());
        ASSERT_EQ(queue.enq(oracle.back()), next++);
      } else if (oracle.empty()) {
        ASSERT_EQ(queue.front(), nullptr);
        ASSERT_EQ(queue.deq(), nullptr);
      } else {
        ASSERT_EQ(queue.deq(), oracle.front());
        oracle.pop_front();
        if (--chain.front().left == 0) chain.pop_front();
      }
      std::int64_t bytes = chain.empty() && (next != 1) ? arrayBytes({0}) : 0;
      for (Model const& array : chain) bytes += arrayBytes({array.capacity});
      ASSERT_EQ(arrays.bytes(), bytes);
      ASSERT_EQ(queue.size(), oracle.size());
      ASSERT_EQ(elements.count(), static_cast<std::int64_t>(oracle.size()));
      ASSERT_EQ(queue.nextIndex(), next);
      ASSERT_FALSE(queue.has(next));
      auto const size = static_cast<std::uint32_t>(oracle.size());
      ASSERT_FALSE(queue.has(next - size - 1));
      if (size == 0) continue;
      ASSERT_EQ(queue.front(), oracle.front());
      ASSERT_EQ(queue.back(), oracle.back());
      auto const back = static_cast<std::uint32_t>(random() % size);
      ASSERT_EQ(queue.at(next - 1 - back), oracle[size - 1 - back]);
    }
  }
}

}  // namespace
