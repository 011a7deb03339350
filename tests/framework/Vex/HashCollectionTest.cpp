// Hash collections against the standard ones, and the guarantee of walks that resume by key.
#include <gtest/gtest.h>

#include <initializer_list>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <span>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "Cobble/Slab.h"
#include "Pivot/Node.h"
#include "Vex/HashMap2018.h"

namespace {

constexpr std::uint32_t kMapSeed = 77;
constexpr std::uint32_t kSetSeed = 78;

// A 32-bit id type as the tables use it, one of many values with the same hash, and one whose hashes crowd: at
// the front, in the middle, at the end up to the greatest of all, and a quarter of them anywhere.
struct Id32 {
  std::uint32_t id = 0;
  auto operator<=>(Id32 const&) const = default;
  std::uint32_t hash(std::uint32_t seed) const { return Vex::HashHelper::mix32(id, seed); }
};
struct Colliding {
  std::uint64_t id = 0;
  auto operator<=>(Colliding const&) const = default;
  std::uint32_t hash(std::uint32_t) const { return 0U - static_cast<std::uint32_t>(id % 3); }
};
struct Crowding {
  std::uint32_t id = 0;
  auto operator<=>(Crowding const&) const = default;
  static std::uint32_t seed() { return kSetSeed ^ Vex::HashHelper::hashSeed32(); }
  std::uint32_t hash(std::uint32_t) const { return Vex::HashHelper::mix32(id, seed()); }
  static Crowding of(std::uint32_t number) {
    std::uint32_t const hashes[] = {~(number / 4), number, 0x80000000U + number, number * 0x9E3779B1U};
    return {Vex::HashHelper::unmix32(hashes[number % 4], seed())};
  }
};

template <class Key>
Key keyFrom(std::uint32_t number) {
  if constexpr (std::is_same_v<Key, std::string>) {
    return "key" + std::to_string(number);
  } else if constexpr (std::is_integral_v<Key>) {
    return static_cast<Key>(number);
  } else if constexpr (std::is_same_v<Key, Crowding>) {
    return Crowding::of(number);
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
  using Map = Vex::HashMap2018<Vex::Hm2018NE<Key, int>, kMapSeed>;
  Map map;
  Vex::HashSet2018<Key, kSetSeed> set;
  std::mt19937 random{3};

  Key any(std::uint32_t range) { return keyFrom<Key>(static_cast<std::uint32_t>(random()) % range); }

  // The walk is in the order of hash and key, and each place on it is found by its key.
  void expectWalk(std::map<Key, int> const& plain) {
    std::map<Key, int> walked;
    for (auto at = map.begin(); at != map.end();) {
      Key const key = at->key();
      walked.emplace(key, at->value());
      EXPECT_TRUE(at == map.iteratorFrom(key));
      EXPECT_TRUE(++at == map.iteratorAfter(key));
      if (at == map.end()) break;
      EXPECT_LT(std::pair(Map::hashOf(key), key), std::pair(Map::hashOf(at->key()), at->key()));
    }
    EXPECT_EQ(walked, plain);
    std::set<Key> members;
    for (auto at = set.begin(); at != set.end();) {
      Key const key = *at;
      EXPECT_TRUE(members.insert(key).second);
      EXPECT_TRUE(at == set.iteratorFrom(key));
      EXPECT_TRUE(++at == set.iteratorAfter(key));
    }
    EXPECT_EQ(members.size(), set.size());
    for (Key const& key : members) EXPECT_TRUE(plain.contains(key));
  }
};
using Keys =
    testing::Types<Id32, Colliding, Crowding, std::uint32_t, std::uint64_t, std::uint16_t, std::string>;
TYPED_TEST_SUITE(HashCollectionTest, Keys);

// Waves of additions and of removals down to nothing; behind each the collections are copied and moved.
TYPED_TEST(HashCollectionTest, agreesWithTheStandardMap) {
  std::map<TypeParam, int> plain;
  for (int wave = 0; wave < 8; ++wave) {
    bool const rising = wave % 2 == 0;
    std::uint32_t const range = wave < 4 ? 2000 : 12;
    for (int step = 0; rising ? step < 4000 : !plain.empty(); ++step) {
      TypeParam const key = this->any(range);
      auto const dice = this->random() % 6;
      if (dice == 0 && (rising || step < 2000)) {
        ASSERT_EQ(this->map.set(key, step).has_value(), plain.contains(key));
        ASSERT_EQ(this->set.set(key), !plain.contains(key));
        plain[key] = step;
      } else if (dice == 1 && rising) {
        ASSERT_EQ(this->map.insert(key, step).second, plain.emplace(key, step).second);
        this->set.set(key);
      } else if (rising ? dice == 2 && step > 2000 : true) {
        ASSERT_EQ(this->set.erase(key), plain.contains(key));
        ASSERT_EQ(this->map.erase(key), plain.erase(key) == 1);
      }
      int const* const value = this->map.find(key);
      ASSERT_EQ(value == nullptr ? -1 : *value, plain.contains(key) ? plain[key] : -1);
      ASSERT_EQ(this->set.has(key), plain.contains(key));
      ASSERT_EQ(this->map.size(), plain.size());
      ASSERT_EQ(this->set.size(), plain.size());
      if (step % 500 == 499 || plain.size() < 3) this->expectWalk(plain);
    }
    auto copies = std::pair(this->map, this->set);
    this->map.clear();
    this->set.clear();
    EXPECT_TRUE(this->map.empty() && this->set.empty());
    std::tie(this->map, this->set) = std::move(copies);
    this->expectWalk(plain);
  }
}

// In an ordered fill the members lie far behind their homes until it ends.
TYPED_TEST(HashCollectionTest, ordersAnOrderedFill) {
  for (std::uint32_t i = 0; i < 3000; ++i) this->add(keyFrom<TypeParam>(i), 1);
  struct Self {
    TypeParam operator()(TypeParam const& key) const { return key; }
  };
  Vex::HashMap2018<Vex::Hm2018NI<TypeParam, Self>, kMapSeed> filled;
  filled.reserve(2000);
  for (auto const& node : this->map) {
    std::uint32_t const hash = filled.hashOf(node.key());
    EXPECT_TRUE(filled.isBehindAll(hash, node.key()));
    filled.append(hash, node.key());
    filled.append(hash, node.key());
    EXPECT_TRUE(filled.has(node.key()) && !filled.isBehindAll(hash, node.key()));
  }
  EXPECT_EQ(filled.size(), 3000U);
  if constexpr (Vex::Key32<TypeParam>) {
    Vex::HashSet2018<TypeParam, kSetSeed> members;
    std::vector<std::uint32_t> hashes;
    for (TypeParam const key : this->set) hashes.push_back(members.hashOf(key));
    std::span<std::uint32_t const> const all = hashes;
    for (std::size_t const count : std::initializer_list<std::size_t>{1, 1, 2, 5, 500, 3000}) {
      members.append(all.first(count));
      EXPECT_EQ(members.size(), count);
      EXPECT_EQ(members.hashOf(members.last()), all[count - 1]);
    }
    auto at = members.begin();
    for (TypeParam const key : this->set) {
      ASSERT_EQ(*at, key);
      ++at;
    }
  }
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

TEST(HashMapTest, anEmptyCollectionOwnsNoMemory) {
  auto const liveBlocks = [] {
    return Cobble::SlabAllocator::stats(Cobble::SlabAllocationPattern::kDefault).liveBlocks;
  };
  auto const before = liveBlocks();
  Vex::HashMap<std::uint32_t, int> map;
  Vex::HashSet2018<Id32, 1> set;
  set.set(Id32{7});
  EXPECT_EQ(sizeof(set), sizeof(void*));
  EXPECT_EQ(liveBlocks(), before) << "a single member lies in the set";
  for (std::uint32_t i = 0; i < 9; ++i) map.set(i, 1), set.set(Id32{i});
  for (std::uint32_t i = 0; i < 9; ++i) map.erase(i), set.erase(Id32{i});
  EXPECT_EQ(liveBlocks(), before);
}

TEST(HashHelperTest, thirtyTwoBitHashIsABijectionForEachSeed) {
  std::mt19937 random(4);
  for (int i = 0; i < 100000; ++i) {
    auto const key = static_cast<std::uint32_t>(random()), seed = static_cast<std::uint32_t>(random());
    ASSERT_EQ(Vex::HashHelper::unmix32(Vex::HashHelper::mix32(key, seed), seed), key);
  }
}

}  // namespace
