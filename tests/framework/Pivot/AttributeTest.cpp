// The accessor rule: what is published and what is not, for each kind of attribute.
#include "Pivot/Attribute.h"

#include <fmt/format.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "Pivot/Node.h"
#include "Vex/HashMap2018.h"

namespace {

struct Item : Pivot::Node {
  explicit Item(int number) : key(number) {}
  int key;
};
using ItemPtr = Pivot::Ptr<Item>;
struct ItemKey {
  int operator()(ItemPtr const& item) const { return item->key; }
};

Vex::AllocTrackTypeInfo arrays("arrays"), elements("elements");

struct AttributeTest : testing::Test, Pivot::Subscriber {
  Pivot::Publisher publisher;
  Pivot::RQueue<ItemPtr> queue{arrays, elements};
  Vex::HashMap2018<Vex::Hm2018NI<ItemPtr, ItemKey>, 1> items;
  Vex::HashMap2018<Vex::Hm2018NE<int, int>, 2> numbers;
  Vex::HashSet2018<int, 3> keys;
  // One word per publication: field, key, old value.
  std::string seen;
  std::function<void(int key)> reaction;

  void SetUp() override {
    dispatch = [](Pivot::Publisher*, Pivot::Subscriber* self, Pivot::FieldId field, void const* key,
                  void const* old) {
      auto* test = static_cast<AttributeTest*>(self);
      test->seen += fmt::format("{}", field);
      if (key != nullptr) test->seen += fmt::format(":{}", *static_cast<int const*>(key));
      if (old != nullptr && field < 20) test->seen += fmt::format("<{}", *static_cast<int const*>(old));
      if (old != nullptr && field >= 20)
        test->seen += fmt::format("<p{}", (*static_cast<ItemPtr const*>(old))->key);
      test->seen += ' ';
      if (test->reaction && key != nullptr) test->reaction(*static_cast<int const*>(key));
    };
    Pivot::Publisher::subscriberAdd(&publisher, this, false);
  }
  std::string taken() { return std::exchange(seen, ""); }
  int itemDel(int key) {
    ItemPtr const old = Pivot::mapDel(&publisher, 20, items, key);
    return old == nullptr ? -1 : old->key;
  }
};

TEST_F(AttributeTest, attributesValuesAndMembersPublishOnlyARealChange) {
  int number = 5;
  EXPECT_FALSE(Pivot::attributeIs(&publisher, 10, number, 5));
  EXPECT_TRUE(Pivot::attributeIs(&publisher, 10, number, 6));
  EXPECT_TRUE(Pivot::attributeIs(nullptr, 10, number, 7));
  EXPECT_EQ(taken(), "10<5 ");

  for (int value : {40, 40, 41}) Pivot::mapIs(&publisher, 11, numbers, 4, value);
  EXPECT_EQ(Pivot::mapDel(&publisher, 11, numbers, 5, -1), -1);
  EXPECT_EQ(Pivot::mapDel(&publisher, 11, numbers, 4, -1), 41);
  EXPECT_EQ(taken(), "11:4 11:4<40 11:4<41 ");

  for (bool first : {true, false}) EXPECT_EQ(Pivot::setIs(&publisher, 12, keys, 9), first);
  for (bool first : {true, false}) EXPECT_EQ(Pivot::setDel(&publisher, 12, keys, 9), first);
  EXPECT_EQ(taken(), "12:9 12:9 ");
}

TEST_F(AttributeTest, mapOfPointersPublishesAddReplaceAndRemove) {
  auto first = Pivot::make<Item>(1), again = Pivot::make<Item>(1);
  for (ItemPtr const& item : {first, first, again}) Pivot::mapIs(&publisher, 20, items, item);
  EXPECT_EQ(taken(), "20:1 20:1<p1 ");
  EXPECT_EQ(first->useCount(), 1U);
  EXPECT_EQ(itemDel(2), -1);
  // The key handed in is the member's own and dies with it.
  EXPECT_EQ(Pivot::mapDel(&publisher, 20, items, again->key), again);
  EXPECT_EQ(taken(), "20:1<p1 ");
  EXPECT_EQ(Pivot::mapGet(items, 1), nullptr);
}

TEST_F(AttributeTest, delAllTellsEachMemberOnceAndOnlyWhenWatched) {
  for (int i = 0; i < 100; ++i) Pivot::mapIs(nullptr, 20, items, Pivot::make<Item>(i));
  int told = 0;
  bool busy = false;
  // Each notification removes a neighbour, adds a stranger and puts the member back that just went.
  reaction = [&](int key) {
    if (std::exchange(busy, true)) return;
    ++told;
    itemDel(key ^ 1);
    Pivot::mapIs(&publisher, 20, items, Pivot::make<Item>(1000 + key));
    Pivot::mapIs(&publisher, 20, items, Pivot::make<Item>(key));
    busy = false;
  };
  Pivot::delAll(&publisher, items, [this](int key) { itemDel(key); });
  EXPECT_EQ(told, 50);
  // What the subscriber put in after its turn stays: a stranger and the returned member for each of the 50.
  EXPECT_EQ(items.size(), 100U);
  Pivot::Publisher::subscriberRemove(&publisher, this);
  taken();
  Pivot::delAll(&publisher, items, [this](int key) { itemDel(key); });
  EXPECT_TRUE(items.empty());
  EXPECT_EQ(taken(), "");
}

TEST_F(AttributeTest, queuePublishesIndices) {
  for (int i = 0; i < 3; ++i) Pivot::queueEnq(&publisher, 21, queue, Pivot::make<Item>(i));
  EXPECT_EQ(Pivot::queueDeq(&publisher, 21, queue)->key, 0);
  Pivot::queueDelAll(&publisher, 21, queue);
  EXPECT_EQ(Pivot::queueDeq(&publisher, 21, queue), nullptr);
  EXPECT_EQ(taken(), "21:1 21:2 21:3 21:1<p0 21:2<p1 21:3<p2 ");
}

}  // namespace
