// Hash collections against the standard ones, and the guarantee of walks that resume by key.
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>

#include "Pivot/Node.h"
#include "Vex/HashMap2018.h"

namespace {

// A 32-bit id type as the tables use it, and one of many values with the same hash.
struct Id32 {
  std::uint32_t id = 0;
  auto operator<=>(Id32 const&) const = default;
  std::uint32_t hash(std::uint32_t seed) const { return Vex::HashHelper::mix32(id, seed); }
};
struct Colliding {
  std::uint64_t id = 0;
  auto operator<=>(Colliding const&) const = default;
  std::uint32_t hash(std::uint32_t) const { return static_cast<std::uint32_t>(id % 3); }
};

template <class Key>
Key keyFrom(std::uint32_t number) {
  if constexpr (std::is_same_v<Key, std::string>) {
    return "key" + std::to_string(number);
  } else if constexpr (std::is_integral_v<Key>) {
    return static_cast<Key>(number);
  } else {
    return Key{number};
  }
}

template <class Key>
struct HashCollectionTest : testing::Test {
  void add(Key const& key, int value) {
    map.set(key, value);
    set.set(key);
  }
  Vex::HashMap2018<Vex::Hm2018NE<Key, int>, 77> map;
  Vex::HashSet2018<Key, 78> set;
  std::mt19937 random{3};

  Key any(std::uint32_t range) { return keyFrom<Key>(static_cast<std::uint32_t>(random()) % range); }
};
using Keys = testing::Types<Id32, Colliding, std::uint32_t, std::uint64_t, std::uint16_t, std::string>;
TYPED_TEST_SUITE(HashCollectionTest, Keys);

TYPED_TEST(HashCollectionTest, agreesWithTheStandardMapAndSet) {
  std::map<TypeParam, int> plainMap;
  std::set<TypeParam> plainSet;
  for (int step = 0; step < 12000; ++step) {
    TypeParam const key = this->any(step < 6000 ? 2000 : 20);
    auto const dice = this->random() % 4;
    if (dice == 0) {
      ASSERT_EQ(this->map.set(key, step).has_value(), plainMap.contains(key));
      plainMap[key] = step;
      ASSERT_EQ(this->set.set(key), plainSet.insert(key).second);
    } else if (dice == 1) {
      ASSERT_EQ(this->map.insert(key, step).second, plainMap.emplace(key, step).second);
    } else if (dice == 2) {
      ASSERT_EQ(this->map.erase(key), plainMap.erase(key) == 1);
      ASSERT_EQ(this->set.erase(key), plainSet.erase(key) == 1);
    }
    int const* const value = this->map.find(key);
    ASSERT_EQ(value == nullptr ? -1 : *value, plainMap.contains(key) ? plainMap[key] : -1);
    ASSERT_EQ(this->set.has(key), plainSet.contains(key));
    ASSERT_EQ(this->map.size(), plainMap.size());
    ASSERT_EQ(this->set.size(), plainSet.size());
  }
  std::map<TypeParam, int> walked;
  for (auto const& node : this->map) walked.emplace(node.key(), node.value());
  EXPECT_EQ(walked, plainMap);
  std::set<TypeParam> members;
  for (auto const& key : this->set) members.insert(key);
  EXPECT_EQ(members, plainSet);
  this->map.clear();
  EXPECT_TRUE(this->map.empty());
}

// H1: whatever comes and goes between two steps, also the member that the walk stands on, who stays is
// delivered exactly once.
TYPED_TEST(HashCollectionTest, walkByKeyDeliversEachMemberThatStaysExactlyOnce) {
  for (int round = 0; round < 10; ++round) {
    this->map.clear();
    this->set.clear();
    std::set<TypeParam> stay;
    for (std::uint32_t i = 0; i < 300; ++i) {
      TypeParam const key = keyFrom<TypeParam>(i);
      if (i % 3 == 0) stay.insert(key);
      if (i % 3 == 0 || this->random() % 2 == 0) this->add(key, 0);
    }
    auto churn = [&] {
      for (auto i = this->random() % 20; i != 0; --i) {
        TypeParam const key = this->any(600);
        if (stay.contains(key)) continue;
        if (this->random() % 2 == 0) {
          this->add(key, 1);
        } else {
          this->map.erase(key);
          this->set.erase(key);
        }
      }
    };
    std::map<TypeParam, int> mapDelivered, setDelivered;
    for (auto it = this->map.begin(); it != this->map.end();) {
      TypeParam const at = it->key();
      ++mapDelivered[at];
      churn();
      it = this->map.iteratorAfter(at);
    }
    // The other way to go on: note the next key, and take up there whether or not it still is a member.
    std::optional<TypeParam> next;
    for (auto it = this->set.begin(); it != this->set.end();) {
      ++setDelivered[*it];
      if (++it == this->set.end()) break;
      next = *it;
      churn();
      it = this->set.iteratorFrom(*next);
    }
    for (TypeParam const& key : stay) {
      EXPECT_EQ(mapDelivered[key], 1);
      EXPECT_EQ(setDelivered[key], 1);
    }
  }
}

struct Owner : Pivot::Node {
  explicit Owner(std::uint32_t number) : key{number} {}
  ~Owner() override {
    if (map != nullptr) sizeAtEnd = map->size(), map->erase(Id32{key.id + 1});
  }
  struct Key {
    Id32 const& operator()(Pivot::Ptr<Owner> const& owner) const { return owner->key; }
  };
  using Map = Vex::HashMap2018<Vex::Hm2018NI<Pivot::Ptr<Owner>, Key>, 5>;

  Id32 key;
  Map* map = nullptr;
  static inline std::size_t sizeAtEnd = 99;
};

TEST(HashMapTest, membersDieAfterTheyHaveLeft) {
  Owner::Map map;
  for (std::uint32_t i = 0; i < 4; ++i) {
    auto owner = Pivot::make<Owner>(i);
    owner->map = &map;
    map.set(owner);
  }
  // The first takes the second along, and so on to the last.
  EXPECT_TRUE(map.erase(Id32{0}));
  EXPECT_EQ(map.size(), 0U);
  auto owner = Pivot::make<Owner>(7U);
  owner->map = &map;
  map.set(owner);
  owner.reset();
  map.clear();
  EXPECT_EQ(Owner::sizeAtEnd, 0U);
}

TEST(HashHelperTest, thirtyTwoBitHashIsABijectionForEachSeed) {
  std::mt19937 random(4);
  for (int i = 0; i < 100000; ++i) {
    auto const key = static_cast<std::uint32_t>(random()), seed = static_cast<std::uint32_t>(random());
    ASSERT_EQ(Vex::HashHelper::unmix32(Vex::HashHelper::mix32(key, seed), seed), key);
  }
}

}  // namespace
