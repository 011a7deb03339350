// A process that dies between any two changes of the store. Built with the log's own sources and their step
// hook: a child process runs an operation and ends itself at the n-th step, the parent opens what it left.
// The same for a child that dies while it settles or repairs.
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <optional>

#include "LoamInLif/EntryLogOf-defs.h"
#include "LoamInLif/EntryLogSteps.h"
#include "LoamInLif/log/LogWorld.h"

namespace {

using namespace TestSupport;
using LoamInLif::InLif0;
using LoamInLif::InLif1;

class SteppedLog final : public LoamInLif::EntryLogOf<InLif1> {
 public:
  using EntryLogOf::EntryLogOf;
};
using World = LogWorld<InLif1, SteppedLog>;
using Values = std::map<unsigned, unsigned>;

int stepsToLive = -1;  // the process ends at the step that finds 0
void countStep() {
  if (stepsToLive >= 0 && stepsToLive-- == 0) ::_exit(1);
}

/// Runs `life` in a child that dies at step `steps` (-1: never). Whether it came to its end.
bool runChild(int steps, std::function<void()> const& life) {
  pid_t const child = ::fork();
  if (child == 0) {
    stepsToLive = steps;
    LoamInLif::entryLogStepHook = &countStep;
    life();
    ::_exit(0);
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
  return WEXITSTATUS(status) == 0;
}

/// The versions that records of a table need, as another process reads them; 0 for none.
std::uint64_t neededOfInLif0(World& world, std::uint64_t version) {
  using Reader = Shoal::ShoalReader<Asic::NeededRow, Asic::NeededKey>;
  auto const opened = Reader::open(Asic::Constants::canonicalGroupNeededShoalPath(world.group()->name()));
  Asic::NeededRow row;
  Asic::NeededKey const key{InLif1::tableId, LogVersion(version)};
  if (opened.state != Shoal::OpenState::ok || opened.reader->lookup(key, row) != Shoal::ReadResult::found) {
    return 0;
  }
  return row.needs[0].tableId() == InLif0::tableId ? row.needs[0].logVersion().value() : 0;
}

class LogDeath : public testing::Test {
 protected:
  void SetUp() override { prepare(); }

  /// A store with two entries and a removed one; the hardware has taken nothing.
  void prepare() {
    worldHolder.reset();
    worldHolder.emplace();
    World& world = *worldHolder;
    world.begin();
    world.group()->announce(InLif0::tableId, LogVersion(9));
    world.write(1, 10);
    world.write(2, 20);
    world.write(3, 30);
    world.remove(3);
    world.end();
  }

  /// What must hold in any life that has opened the log.
  void expectWhole() {
    World& world = *worldHolder;
    std::uint64_t const version = world.log->tableVersion().value();
    EXPECT_TRUE(world.log->tableEntryLog()->collectionControl().intent().empty());
    EXPECT_EQ(world.scratchpad(), version);
    EXPECT_EQ(world.announced(), version);
    EXPECT_EQ(replay(), world.live()) << "the log tells the hardware what stands";
    Shoal::IterHint hint;
    auto& map = world.configMap();
    for (auto const* at = map.first(hint); at != nullptr; at = map.next(at->key(), hint)) {
      auto const* record = world.logMap().find(at->logVersion);
      EXPECT_LE(at->logVersion.value(), version);
      ASSERT_NE(record, nullptr) << "no log record of version " << at->logVersion.value();
      EXPECT_EQ(record->logFlags != 0, at->isDeleted != 0);
    }
    EXPECT_FALSE(world.logged(version + 1)) << "a version that is free has no record";
  }

  /// The unit as the hardware has it after applying the whole log in version order.
  Values replay() {
    World& world = *worldHolder;
    Values image;
    for (std::uint64_t version = 1; version <= world.log->tableVersion().value() + 1; ++version) {
      auto const* record = world.logMap().find(LogVersion(version));
      if (record == nullptr) continue;
      unsigned const key = record->logEntry.key.value();
      if (record->isTableDeleted())
        image.clear();
      else if (record->isEntryDeleted())
        image.erase(key);
      else
        image[key] = std::to_integer<unsigned>(record->logEntry.client[0]);
    }
    return image;
  }

  /// Lets the operation die at every step, and the next life at every step of its opening; `after` is what
  /// the finished operation leaves.
  void dieEverywhere(std::function<void(World&)> const& operation, Values const& after) {
    Values const before{{1, 10}, {2, 20}};
    bool finished = false;
    for (int steps = 0; !finished; ++steps) {
      bool opened = false;
      for (int again = 0; !opened; ++again) {
        prepare();
        World& world = *worldHolder;
        finished = runChild(steps, [&] {
          int const live = std::exchange(stepsToLive, -1);
          world.begin();
          stepsToLive = live;
          operation(world);
        });
        opened = runChild(again, [&] { world.begin(); });
        world.begin();
        SCOPED_TRACE(testing::Message() << "died at step " << steps << ", then at " << again);
        expectWhole();
        EXPECT_TRUE(world.live() == after || (!finished && world.live() == before));
        std::uint64_t const next = world.log->tableVersion().value() + 1;
        EXPECT_EQ(world.write(4, 40), next);
        expectWhole();
        if (HasFailure()) return;
      }
    }
  }

  std::optional<World> worldHolder;
};

TEST_F(LogDeath, WithinAWrite) {
  dieEverywhere([](World& world) { world.write(1, 11); }, {{1, 11}, {2, 20}});
}
TEST_F(LogDeath, WithinAWriteOfARemovedKey) {
  dieEverywhere([](World& world) { world.write(3, 31); }, {{1, 10}, {2, 20}, {3, 31}});
}
TEST_F(LogDeath, WithinARemoval) {
  dieEverywhere([](World& world) { world.remove(2); }, {{1, 10}});
}
TEST_F(LogDeath, WithinATableDelete) {
  dieEverywhere([](World& world) { world.clear(); }, {});
}
TEST_F(LogDeath, WithinARepair) {
  dieEverywhere(
      [](World& world) {
        world.log->tableConfigShoal(World::kUnit)->collectionControl().agreesWithIs(0);
        world.mount(World::kUnit);
      },
      {{1, 10}, {2, 20}});
}

TEST_F(LogDeath, NeededVersionsOfASettledWriteReachTheGroup) {
  World& world = *worldHolder;
  // Step 2 is the one after the configuration record: the rest is left to the next life.
  EXPECT_FALSE(runChild(-1, [&] {
    world.begin();
    auto const needed = Pivot::make<Asic::NeededEntry>();
    needed->add(Asic::TableVersion(InLif0::tableId, LogVersion(7)));
    stepsToLive = 2;
    world.write(1, 11, World::kUnit, false, needed);
  }));
  world.begin();
  EXPECT_EQ(neededOfInLif0(world, 5), 7u);
  EXPECT_EQ(world.live().at(1), 11u);
  expectWhole();
}

// --- the order of a publication, as another process sees it ---

World* observed = nullptr;
std::vector<std::string> seen;

/// What a reader beside the agent finds of version 5, at each step.
void observeStep() {
  using Constants = LoamInLif::InLif1Constants;
  using LogReader = Shoal::ShoalReader<LoamTunnelNiLib::InLifModelLogShoalEntry>;
  using ConfigReader = Shoal::ShoalReader<LoamTunnelNiLib::InLifModelConfigShoalEntry>;
  using AnnouncedReader = Shoal::ShoalReader<Asic::AnnouncedRow>;
  auto const log = LogReader::open(Constants::tableEntryLogShoalPath());
  auto const config = ConfigReader::open(Constants::configShoalPath(World::kUnit));
  auto const announced =
      AnnouncedReader::open(Asic::Constants::canonicalGroupAnnouncedShoalPath(observed->group()->name()));
  LoamTunnelNiLib::InLifModelConfigShoalEntry record;
  LoamTunnelNiLib::InLifModelLogShoalEntry logRecord;
  Asic::AnnouncedRow row;
  std::string found;
  if (config.reader->lookup(InLifModelEntryKey(1), record) == Shoal::ReadResult::found &&
      record.logVersion == LogVersion(5)) {
    found += " config";
  }
  if (log.reader->lookup(LogVersion(5), logRecord) == Shoal::ReadResult::found) found += " log";
  if (log.reader->scratchpad() == 5) found += " scratchpad";
  if (neededOfInLif0(*observed, 5) == 7) found += " needs";
  if (announced.reader->lookup(InLif1::tableId, row) == Shoal::ReadResult::found &&
      row.version == LogVersion(5)) {
    found += " announced";
  }
  seen.push_back(found);
}

TEST_F(LogDeath, AReaderSeesAPublicationInItsOrder) {
  World& world = *worldHolder;
  world.begin();
  observed = &world;
  auto const needed = Pivot::make<Asic::NeededEntry>();
  needed->add(Asic::TableVersion(InLif0::tableId, LogVersion(7)));
  LoamInLif::entryLogStepHook = &observeStep;
  world.write(1, 11, World::kUnit, false, needed);
  LoamInLif::entryLogStepHook = nullptr;
  EXPECT_EQ(seen, (std::vector<std::string>{"", "", " config", " config log", " config log scratchpad",
                                            " config log scratchpad needs announced"}));
}

}  // namespace
