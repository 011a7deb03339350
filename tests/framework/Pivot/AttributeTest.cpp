// The accessor rule where it is delicate: members that go while others come, and keys that die with their
// member. The tables' tests hold what is published for each kind of attribute.
#include "Pivot/Attribute.h"

#include <gtest/gtest.h>

#include <functional>

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

struct AttributeTest : testing::Test, Pivot::Subscriber {
  Pivot::Publisher publisher;
  Vex::HashMap2018<Vex::Hm2018NI<ItemPtr, ItemKey>, 1> items;
  std::function<void(int key)> reaction;

  void SetUp() override {
    dispatch = [](Pivot::Publisher*, Pivot::Subscriber* self, Pivot::FieldId, void const* key, void const*) {
      static_cast<AttributeTest*>(self)->reaction(*static_cast<int const*>(key));
    };
    Pivot::Publisher::subscriberAdd(&publisher, this, false);
  }
  void itemDel(int key) { Pivot::mapDel(&publisher, 20, items, key); }
};

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
  Pivot::delAll(&publisher, items, [this](int key) { itemDel(key); });
  EXPECT_TRUE(items.empty());
  EXPECT_EQ(told, 50);
}

TEST_F(AttributeTest, theKeyHandedInMayDieWithTheMember) {
  int told = 0;
  reaction = [&](int key) { told = key; };
  Pivot::mapIs(nullptr, 20, items, Pivot::make<Item>(7));
  Pivot::mapDel(&publisher, 20, items, Pivot::mapGet(items, 7)->key);
  EXPECT_EQ(told, 7);
}

}  // namespace
