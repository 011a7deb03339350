// The entry log in one life: what the operations publish and what they leave alone, what reads answer, and
// what clean-up takes away.
#include <array>
#include <random>

#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/log/LogWorld.h"
#include "Shoal/EntityManager.h"
#include "support/TraceCapture.h"

namespace {

using namespace TestSupport;
using LoamInLif::InLif1;
using Key = InLifModelEntryKey;
using Values = std::map<unsigned, unsigned>;

class LogWrite : public testing::Test, protected LogWorld<InLif1, LoamInLif::InLif1EntryLog> {
 protected:
  void SetUp() override { begin(); }
};

// Random operations, clean-ups and restarts on two units against plain maps: every version that is returned,
// every record of both kinds, and what reads answer.
TEST_F(LogWrite, AgreesWithPlainMaps) {
  struct Held {
    unsigned value = 0;
    std::uint64_t version = 0;
    bool marked = true;
    bool operator==(Held const&) const = default;
  };
  std::map<std::pair<unsigned, unsigned>, Held> held, found;             // by unit and key
  std::map<std::uint64_t, std::array<unsigned, 4>> logged, foundLogged;  // unit, key, flags, value
  std::uint64_t version = 0, cleaned = 0;
  auto const taken = [&](std::uint64_t upTo) {
    std::erase_if(logged, [&](auto const& record) { return record.first <= upTo; });
    std::erase_if(held, [&](auto const& at) { return at.second.marked && at.second.version <= upTo; });
  };
  std::uint32_t const seed = std::random_device{}();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  mount(2);
  for (int step = 0; step < 3000; ++step) {
    auto const unit = static_cast<Asic::UnitId>(1 + random() % 2);
    auto const key = static_cast<unsigned>(random() % 8);
    auto const value = static_cast<unsigned>(random() % 3);
    bool const present = held.contains({unit, key});
    Held& standing = held[{unit, key}];
    auto const dice = static_cast<unsigned>(random() % 100);
    if (dice < 60) {
      bool const same = dice < 30 && !standing.marked && standing.value == value;
      keys.l2AdjId.adjId = value;
      ASSERT_EQ(write(key, value, unit, dice < 30), same ? standing.version : ++version);
      if (!same) {
        standing = {value, version, false};
        logged[version] = {unit, key, 0, value};
      }
    } else if (dice < 85) {
      ASSERT_EQ(remove(key, unit), present ? ++version : 0);
      if (present) {
        standing = {standing.value, version, true};
        logged[version] = {unit, key, 1, standing.value};
      }
    } else if (dice < 90) {
      ASSERT_EQ(clear(unit), ++version) << "published also when nothing is live";
      logged[version] = {unit, 0, 2, 0};
      for (auto& [place, record] : held) {
        if (place.first == unit && !record.marked) record = {record.value, version, true};
      }
    } else if (dice < 99) {  // a report, which may come late
      std::uint64_t const upTo = version - std::min<std::uint64_t>(version, random() % 6);
      clean(upTo);
      if (upTo >= cleaned) taken(upTo);
      cleaned = upTo;
    } else {
      cleaned = random() % 2 == 0 ? version / 2 : 0;
      end();
      open();
      clean(cleaned);  // no unit is mounted: their marked records go with the mount
      for (Asic::UnitId each = 1; each <= 2; ++each) mount(each, cleaned);
      taken(cleaned);
    }
    std::erase_if(held, [](auto const& at) { return at.second.version == 0; });

    found.clear();
    for (Asic::UnitId each = 1; each <= 2; ++each) {
      forEach(configMap(each), [&](auto const& record) {
        found[{each, record.key().value()}] = {valueOf(record.tableEntry), record.logVersion.value(),
                                               record.isDeleted != 0};
      });
    }
    ASSERT_TRUE(found == held) << "step " << step;
    foundLogged.clear();
    forEach(logMap(), [&](auto const& record) {
      foundLogged[record.logVersion.value()] = {record.unitId, record.logEntry.key.value(), record.logFlags,
                                                valueOf(record.logEntry)};
    });
    ASSERT_EQ(foundLogged, logged) << "step " << step;
    ASSERT_EQ(scratchpad(), version);
    ASSERT_EQ(announced(), version);
    ASSERT_EQ(log->cleanedVersion().value(), cleaned);
    Held const at = held.contains({unit, key}) ? held[{unit, key}] : Held();
    ASSERT_EQ(log->entryHas(Key(key), unit), !at.marked);
    ASSERT_EQ(valueOf(log->entry(Key(key), unit)), at.marked ? 0 : at.value);
    ASSERT_EQ(log->entryRsrcKeys(Key(key), unit).l2AdjId.adjId, at.value) << "looks through the mark";
    ASSERT_EQ(log->entryLogVersion(Key(key), unit).value(), at.version);
    ASSERT_EQ(log->entrys(unit) + log->entrysInDeletion(unit), configMap(unit).size());
  }
}

TEST_F(LogWrite, AUnitThatIsNotMountedStopsTheProcess) {
  EXPECT_DEATH(write(1, 10, 9),
               "tableConfigShoalHas\\( unitId \\): Config shoal for unitId:9 is not created yet!");
}

// --- room ---

// A log that is nearly full keeps room for an operation of each unit and for a clear of each, and without room
// nothing is published.
TEST_F(LogWrite, WhoGetsTheLastRoom) {
  using Log = LoamTunnelNiLib::InLifModelEntryLogShoal;
  end();
  std::filesystem::remove_all(store.directory());
  VexSharedMem::typeRegister<Log>(Log::kTypeName);  // no room beyond the client's maximum
  std::filesystem::create_directory(store.directory());
  std::filesystem::permissions(store.directory(), std::filesystem::perms::owner_all);
  begin();
  mount(2);
  std::string got;
  for (std::uint32_t left = 8; left-- > 0;) {
    while (logMap().size() < 1'000'000 - left) write(4, logMap().size() & 0x7F);
    got += (log->updateRoom() ? 'u' : '-');
    got += (log->reserveRoom(kUnit) ? 'o' : '-');
    got += (log->clearRoom() ? 'c' : '-');
    got += ' ';
  }
  EXPECT_EQ(got, "uoc uoc -oc --c --c --c --- --- ");
  EXPECT_TRUE(log->isFull());

  std::uint64_t const version = log->tableVersion().value();
  Values const before = live();
  TraceCapture trace("InLif1EntryLog", 1);
  EXPECT_EQ(write(2, 20), 0u);
  EXPECT_EQ(remove(4), 0u);
  EXPECT_EQ(clear(), 0u);
  EXPECT_EQ(write(4, valueOf(record(4)->tableEntry), kUnit, true), version) << "what stands needs none";
  EXPECT_EQ(trace.countContaining("is not published: "), 3u);
  EXPECT_EQ(live(), before);
  EXPECT_EQ(scratchpad(), version);
  clean(2);
  EXPECT_EQ(write(2, 20), version + 1);
  VexSharedMem::typeRegister<Log>(Log::kTypeName, Log::kStoreCapacity);
}

TEST_F(LogWrite, BytesThatBelongToNobodyStayOutOfTheStore) {
  using LoamTunnelNiLib::InLifModelLogEntry;
  auto const clientOf = [](InLifModelLogEntry const& entry) {
    std::string text;
    for (std::byte const each : entry.clientBytes()) text += each == std::byte{0} ? '0' : 'x';
    return text;
  };
  InLifModelLogEntry entry;
  entry.key = Key(1);
  std::ranges::fill(entry.clientBytes(), std::byte{0xAA});
  log->entryIs(entry, keys, nullptr, kUnit, stats, false);
  std::string const owned = std::string(10, 'x') + std::string(34, '0') + "x000x";
  EXPECT_EQ(clientOf(record(1)->tableEntry), owned);
  EXPECT_EQ(clientOf(logMap().find(LogVersion(1))->logEntry), owned);
  clear();
  EXPECT_EQ(clientOf(record(1)->tableEntry), owned);
  EXPECT_EQ(clientOf(logMap().find(LogVersion(2))->logEntry), std::string(49, '0'));
}

// --- damage ---

TEST_F(LogWrite, DamageCountsAsAbsenceAndIsReported) {
  write(1, 10);
  writeConspicuous(2);
  flipBit(configFile(), "TOPSSART");
  TraceCapture trace("*", 1);
  EXPECT_FALSE(log->entryHas(Key(2), kUnit));
  EXPECT_TRUE(log->entry(Key(2), kUnit).isEq({}));
  EXPECT_EQ(remove(2), 0u);
  EXPECT_EQ(trace.countContaining("corruption detected"), 3u);
  EXPECT_TRUE(log->tableConfigShoal(kUnit)->collectionControl().corrupted());
  EXPECT_EQ(clear(), 3u) << "the walk ends, the record is logged all the same";
  EXPECT_TRUE(logged(3));
  EXPECT_EQ(writeConspicuous(2, true), 4u) << "not identical to damage";
}

// A chain that is cut under a running agent takes members, marked ones too, that no operation of the agent
// knows of: what the log remembers of the unit is made anew at the next look.
TEST_F(LogWrite, WhatACutChainTookIsCountedNoMore) {
  unsigned const mate = chainMate(Key(2), 65536, 3, [](unsigned key) { return Key(key); });
  writeConspicuous(2);
  write(1, 10);
  clear();
  EXPECT_EQ(log->entrysInDeletion(kUnit), 2u);
  // Its key, so that the link to it does not fit.
  flipBit(configFile(), "TOPSSART", offsetof(LoamTunnelNiLib::InLifModelLogEntry, key));
  TraceCapture trace("*", 1);
  write(mate, 30);
  EXPECT_EQ(trace.countContaining("the chain is cut"), 1u);
  EXPECT_EQ(log->entrysInDeletion(kUnit), 1u);
  EXPECT_EQ(log->entrys(kUnit), 1u);
  remove(mate);
  EXPECT_EQ(log->entrys(kUnit), 0u);
}

}  // namespace
