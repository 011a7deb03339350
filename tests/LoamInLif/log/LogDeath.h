// A log on a store of its own that dies between any two changes of the store and is opened again: what a life
// does, the children that live and die, and what must hold afterwards. Built with the crash points of store,
// group and log. `I` is an instance with the limits of the test and `logCapacity`, what the log's file takes.
#pragma once

#include <fstream>
#include <functional>
#include <set>

#include "LoamInLif/log/EntryLogOf-defs.h"
#include "LoamInLif/log/LogWorld.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/EntityManager.h"
#include "Shoal/ShoalReader.h"
#include "support/Processes.h"
#include "tools/check/StoreCheck.h"

namespace TestSupport {

using LoamInLif::InLif0;
using LoamTunnelNiLib::InLifModelConfigShoalEntry;
using LoamTunnelNiLib::InLifModelEntryLogShoal;
using LoamTunnelNiLib::InLifModelLogEntry;
namespace fs = std::filesystem;

inline constexpr Asic::UnitId kUnits[] = {1, 2};

// --- a life, and what must stand after it ---

struct Step {
  enum What { write, writeWithNeed, remove, clear, taken, restart } what;
  Asic::UnitId unit = 1;
  unsigned key = 0, value = 0;  // taken: all versions but the last `value`
};
using Steps = std::vector<Step>;

struct Model {
  std::map<Asic::UnitId, std::map<unsigned, unsigned>> live;
  std::uint64_t version = 0;

  void apply(Step const& step) {
    version += step.what < Step::taken ? 1 : 0;
    if (step.what <= Step::writeWithNeed) live[step.unit][step.key] = step.value;
    if (step.what == Step::remove) live[step.unit].erase(step.key);
    if (step.what == Step::clear) live[step.unit].clear();
  }
  static Model after(Steps const& steps, std::size_t count) {
    Model model{{{1, {}}, {2, {}}}, 0};
    for (std::size_t i = 0; i < std::min(count, steps.size()); ++i) model.apply(steps[i]);
    return model;
  }
};

// What a child shares with its parent.
struct Progress {
  std::size_t step;
  int pointsLeft;  // of a life that came to its end
  char point[64];  // where it died
};
inline Progress& progress = shared<Progress>();

template <class I>
class SteppedLog final : public LoamInLif::EntryLogOf<I> {
 public:
  using LoamInLif::EntryLogOf<I>::EntryLogOf;
};

template <class I>
class Life {
 public:
  explicit Life(std::string const& directory) : world(directory) {
    world.store.claim(TempStore::Role::writer);
    mustBeOk(rows_.mount({Asic::Constants::canonicalGroupTableVersionShoalPath(groupName()),
                          static_cast<std::uint32_t>(Asic::kMaxTablesOfGroup), 0, TempStore::Role::writer}));
    mustBeOk(rows_.reserve(1));
    begin();
  }
  ~Life() { world.end(); }
  void begin() {
    world.open();
    world.group()->announce(InLif0::tableId, LogVersion(9));
    for (Asic::UnitId const unit : kUnits) world.mount(unit, reported());
  }
  void run(Steps const& steps) {
    for (Step const& step : steps) {
      perform(step);
      ++progress.step;
    }
  }
  std::uint64_t reported() {
    auto const* const row = rows_.find(I::tableId);
    return row == nullptr ? 0 : row->logVersion().value();
  }
  Model found() {
    Model model{{}, world.log->tableVersion().value()};
    for (Asic::UnitId const unit : kUnits) model.live[unit] = world.live(unit);
    return model;
  }

  LogWorld<I, SteppedLog<I>> world;

 private:
  static std::string groupName() {
    return Asic::Constants::canonicalizeGroupName(I::agentName, I::groupName);
  }
  void perform(Step const& step) {
    if (step.what == Step::write) world.write(step.key, step.value, step.unit);
    if (step.what == Step::writeWithNeed) {
      auto const needed = Pivot::make<Asic::NeededEntry>();
      needed->add(Asic::TableVersion(InLif0::tableId, LogVersion(7)));
      world.write(step.key, step.value, step.unit, false, needed);
    }
    if (step.what == Step::remove) world.remove(step.key, step.unit);
    if (step.what == Step::clear) world.clear(step.unit);
    if (step.what == Step::taken) {
      std::uint64_t const version = world.log->tableVersion().value() - step.value;
      rows_.set(Asic::TableVersion(I::tableId, LogVersion(version)));
      world.clean(version);
    }
    if (step.what == Step::restart) {
      world.log.reset();
      world.tables->takeDown();
      world.tables.reset();
      VexSharedMem::EntityManager::unmountAll();
      begin();
    }
  }

  Shoal::ShoalMap<Asic::TableVersion> rows_;
};

// --- children that die ---

inline int stepsToLive = -1;         // the process ends at the point that finds 0
inline std::FILE* passed = nullptr;  // each point that is passed is written there, with the step under way
inline void countPoint(char const* name) {
  if (passed != nullptr) std::fprintf(passed, "%zu %s\n", progress.step, name);
  if (stepsToLive < 0 || stepsToLive-- != 0) return;
  std::strncpy(progress.point, name, sizeof(progress.point) - 1);
  ::_exit(1);
}

// Runs `work` in a child that dies at point `steps` (-1: never): 0 when it came to its end, 1 when it died.
inline int runChild(int steps, std::function<void()> const& work) {
  int const code = exitCode(forked([&] {
    stepsToLive = steps;
    Shoal::crashPointHook = &countPoint;
    work();
    return testing::Test::HasFailure() ? 2 : 0;
  }));
  EXPECT_TRUE(code == 0 || code == 1) << code;
  return code;
}

template <class I>
class LogDeathOf : public testing::Test {
 protected:
  LogDeathOf() {
    VexSharedMem::typeRegister<InLifModelEntryLogShoal>(InLifModelEntryLogShoal::kTypeName, I::logCapacity);
  }
  static unsigned fromEnvironment(char const* name, unsigned otherwise) {
    char const* const text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
  }

  TempStore root_;  // holds the stores
  std::string const store_ = root_.directory() + "/dead";

  void begin(Steps const& steps) {
    fs::remove_all(store_);
    fs::create_directory(store_);
    fs::permissions(store_, fs::perms(0700));
    progress.step = 0;
    if (!steps.empty()) runChild(-1, [&] { Life<I>(store_).run(steps); });
  }
  static Inlif::CheckResult check(std::string const& directory) {
    Inlif::CheckResult const result = Inlif::checkStore(directory, {I::logCapacity, I::maxConfigRecords});
    EXPECT_EQ(result.problem, "");
    for (auto const& finding : result.findings) ADD_FAILURE() << finding.text();
    return result;
  }

  // What must hold in the next life on the store, and for a reader that was there all the time. `lost`:
  // contents were lost, so that versions are not those of the model.
  static void expectWhole(std::string const& store, Model const& before, Model const& after, bool lost) {
    VexSharedMem::StoreRoot::rootIs(store);
    auto const reader =
        Shoal::ShoalReader<InLifModelConfigShoalEntry>::open(I::Constants::configShoalPath(1));
    if (!lost && reader.reader) readAll(*reader.reader);
    runChild(-1, [&] {
      Life<I> life(store);
      auto& world = life.world;
      Model const found = life.found();
      EXPECT_TRUE(found.live == before.live || found.live == after.live)
          << "a record is mixed, or another changed";
      // An empty unit that was made and had not agreed with the log yet takes one version at each opening.
      EXPECT_TRUE(lost || found.version == before.version || found.version == after.version ||
                  (progress.step == 0 && found.version <= 4))
          << found.version;
      EXPECT_TRUE(world.log->tableEntryLog()->collectionControl().intent().empty());
      EXPECT_EQ(world.scratchpad(), found.version);
      EXPECT_EQ(world.announced(), found.version);
      EXPECT_FALSE(world.logged(found.version + 1));
      EXPECT_EQ(world.write(1, 77), found.version + 1);
      // All that a file has room for can be had. A whole log of full size would take 1.7 GB.
      std::uint32_t const records = std::min(I::logCapacity - world.logMap().size(), 200'000u);
      EXPECT_TRUE(world.logMap().reserve(records).isOk()) << "a slot leaked";
      for (Asic::UnitId const unit : kUnits) {
        auto& entries = world.configMap(unit);
        EXPECT_TRUE(entries.reserve(entries.maximum() - entries.size()).isOk()) << "a slot leaked";
      }
    });
    if (reader.reader && !reader.reader->replaced()) {
      EXPECT_EQ(readAll(*reader.reader).at(1), 77u);
    }
    EXPECT_TRUE(check(store).notes.empty() || lost) << "something is left to settle";
  }
  static std::map<unsigned, unsigned> readAll(Shoal::ShoalReader<InLifModelConfigShoalEntry>& reader) {
    std::map<unsigned, unsigned> values;
    InLifModelConfigShoalEntry row;
    for (auto more = reader.first(row); more == Shoal::ReadResult::found; more = reader.next(row.key(), row))
      values[row.key().value()] = std::to_integer<unsigned>(row.tableEntry.client[0]);
    return values;
  }
};

}  // namespace TestSupport
