// bench_restart: what a restart costs, from the first mount until every table is served again, and what comes
// after it: identical writes during the marking, the sweep, changes of resources, clean-up. Each life that is
// measured is a process of its own, so that none finds memory that another has warmed. Times are processor
// time of the one thread: whoever else works on the machine is not counted. Arguments pick parts: restart,
// marking, sweep, change, cleanup.
#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <functional>
#include <numeric>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "LoamInLif/InLifNResourceTableLinkage.h"
#include "LoamInLif/InLifNSwTable.h"
#include "bench/Agent.h"
#include "bench/Keys.h"
#include "bench/Resources.h"
#include "support/AgentWorld.h"

namespace bench {
namespace {

using LoamInLif::InLif1;
using TestSupport::AgentWorld;
using Table = Pivot::Ptr<InLif1::SwTable>;
using Figures = std::vector<double>;

constexpr std::uint32_t kEntries = 65536;
constexpr std::uint32_t kBatch = 256;
constexpr int kRounds = 3;

// Nanoseconds of processor time since an earlier stamp.
class ThreadTime {
 public:
  double lap() {
    double const now = read();
    return now - std::exchange(last_, now);
  }

 private:
  static double read() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
  }

  double last_ = read();
};

// Runs one life in a process of its own and returns the figures that it found.
Figures life(std::function<Figures()> const& body) {
  std::fflush(stdout);
  int pipe[2];
  if (::pipe(pipe) != 0) throw std::runtime_error("no pipe");
  pid_t const child = fork();
  if (child == 0) {
    Figures const figures = body();
    std::size_t const bytes = figures.size() * sizeof(double);
    _exit(::write(pipe[1], figures.data(), bytes) == static_cast<ssize_t>(bytes) ? 0 : 1);
  }
  ::close(pipe[1]);
  Figures figures;
  for (double figure = 0; ::read(pipe[0], &figure, sizeof figure) == sizeof figure;)
    figures.push_back(figure);
  ::close(pipe[0]);
  int status = 0;
  if (waitpid(child, &status, 0) != child || status != 0) throw std::runtime_error("a life did not end well");
  return figures;
}

// The medians of several runs, figure by figure.
Figures medians(std::function<Figures()> const& run) {
  std::vector<Figures> runs;
  for (int round = 0; round < kRounds; ++round) runs.push_back(run());
  Figures result = runs.front();
  for (std::size_t i = 0; i < result.size(); ++i) {
    std::nth_element(runs.begin(), runs.begin() + kRounds / 2, runs.end(),
                     [i](Figures const& a, Figures const& b) { return a[i] < b[i]; });
    result[i] = runs[kRounds / 2][i];
  }
  return result;
}

void acknowledge(AgentWorld& world, Table const& table) {
  world.acknowledge(InLif1::tableId, table->entryLog()->tableVersion());
}

Entry entryOf(Resources resources, unsigned key, unsigned value) {
  Entry entry;
  entry.logEntry.client[0] = static_cast<std::byte>(value);
  resourceKeysAre(entry, resources, key, 0);
  return entry;
}

// Writes the whole unit as an agent's loop does; nanoseconds for one entry, without the making of the
// entries.
template <class Table>
double writeUnit(AgentWorld& world, Table const& table, Resources resources, unsigned firstKey,
                 unsigned value) {
  double ns = 0;
  std::vector<Entry> entries(kBatch);
  for (std::uint32_t from = 0; from < kEntries; from += kBatch) {
    for (std::uint32_t i = 0; i < kBatch; ++i) entries[i] = entryOf(resources, firstKey + from + i, value);
    ThreadTime watch;
    for (std::uint32_t i = 0; i < kBatch; ++i) table->entryWrite(EntryKey(from + i), entries[i], nullptr);
    world.resolve();
    world.acknowledge(table->tableId(), table->entryLog()->tableVersion());
    ns += watch.lap();
  }
  return ns / kEntries;
}

// --- from the first mount until everything is served again ---

template <class Use>
void forEachTable(AgentWorld& world, unsigned units, Use&& use) {
  unsigned n = 0;
  auto const ofInstance = [&]<class I>(std::type_identity<I>) {
    for (unsigned unit = 1; unit <= units; ++unit) {
      use(*world.interface<I>()->makeSwTable(static_cast<Asic::UnitId>(unit), nullptr, false), n++);
    }
  };
  ofInstance(std::type_identity<LoamInLif::InLif0>());
  ofInstance(std::type_identity<LoamInLif::InLif1>());
  ofInstance(std::type_identity<LoamInLif::InLif23>());
}

void restartOf(char const* text, Resources resources, unsigned units) {
  AgentWorld world;
  world.end();
  life([&] {
    world.begin();
    forEachTable(world, units, [&](auto& table, unsigned n) {
      writeUnit(world, Pivot::Ptr(&table), resources, n * kEntries, 1);
    });
    return Figures();
  });
  Figures const figures = medians([&] {
    return life([&] {
      ThreadTime watch;
      world.begin();
      double const resourceTables = watch.lap();
      double keys = 0;
      double entries = 0;
      forEachTable(world, units, [&](auto& table, unsigned) {
        LoamInLif::forEachKind([&]<class K>() { keys += table.template linkage<K>()->entryUsageSms(); });
        entries += table.entrys();
      });
      double const tables = watch.lap();
      return Figures{entries, keys, resourceTables, tables};
    });
  });
  double const entries = figures[0];
  double const keys = figures[1];
  double const target = 1500 * entries + 1000 * keys;
  double const all = figures[2] + figures[3];
  fmt::print("{:>11} {:>10.0f} {:>10.0f} {:>8.0f} {:>10.0f} {:>9.0f} {:>8.2f}\n", text, entries, keys,
             all * 1e-6, all / entries, figures[2] / entries, all / target);
}

void restarts() {
  fmt::print(
      "\nRestart, until each table is served again: three tables, full units\n"
      "{:>11} {:>10} {:>10} {:>8} {:>10} {:>9} {:>8}\n",
      "resources", "entries", "keys", "ms", "ns/entry", "of it", "target");
  fmt::print("{:>11} {:>10} {:>10} {:>8} {:>10} {:>9} {:>8}\n", "", "", "in use", "", "", "res.tabs",
             "times");
  for (unsigned const units : {1U, 4U}) {
    restartOf("none", Resources::none, units);
    restartOf("ten shared", Resources::shared, units);
    restartOf("private", Resources::own, units);
  }
  fmt::print("target: 1,500 ns an entry and 1,000 ns a resource key in use\n");
}

// --- what follows a restart, beside the publication alone ---

using Order = std::vector<std::uint32_t>;

// The order in which writeUnit goes through the keys.
Order const& inTurn() {
  static Order const order = [] {
    Order keys(kEntries);
    std::iota(keys.begin(), keys.end(), 0U);
    return keys;
  }();
  return order;
}

// One that memory does not know, as that of a sweep and of the users of a resource.
Order const& inNoOrder() {
  static Keys keys(kEntries);
  return keys.shuffled();
}

// One publication of an entry or a removal for each key, straight to the log.
double publication(AgentWorld& world, Table const& table, Resources resources, bool removal,
                   Order const& order) {
  auto const& log = table->entryLog();
  TestSupport::mustBeOk(log->tableEntryLog()->entryLogConfig().reserve(kEntries));
  double ns = 0;
  std::vector<Entry> entries(kBatch);
  for (std::uint32_t from = 0; from < kEntries; from += kBatch) {
    for (std::uint32_t i = 0; i < kBatch; ++i) {
      entries[i] = entryOf(resources, order[from + i], 9);
      entries[i].logEntry.key = EntryKey(order[from + i]);
    }
    ThreadTime watch;
    for (Entry const& entry : entries) {
      if (removal) {
        log->entryDel(entry.logEntry.key, nullptr, table->unitId());
      } else {
        log->entryIs(entry.logEntry, entry.rsrcKeys, nullptr, table->unitId(), table->stats(), false);
      }
    }
    ns += watch.lap();
  }
  acknowledge(world, table);
  return ns / kEntries;
}

void identicalWrites(char const* text, Resources resources) {
  Figures const figures = life([&] {
    AgentWorld world;
    auto const table = world.interface<InLif1>()->makeSwTable(1, nullptr, false);
    unsigned value = 10;
    writeUnit(world, table, resources, 0, value);
    return medians([&] {
      double const changed = writeUnit(world, table, resources, 0, ++value);
      auto const version = table->entryLog()->tableVersion();
      table->mark();
      double const same = writeUnit(world, table, resources, 0, value);
      if (table->entryLog()->tableVersion() != version) throw std::runtime_error("a record was written");
      table->sweep();
      double const published = publication(world, table, resources, false, inTurn());
      return Figures{same, changed, published};
    });
  });
  fmt::print("{:>11} {:>10.0f} {:>10.0f} {:>12.0f} {:>10.2f}\n", text, figures[0], figures[1], figures[2],
             figures[0] / (figures[1] - figures[2]));
}

void markings() {
  fmt::print(
      "\n65,536 identical writes during the marking, no record (ns an entry)\n"
      "{:>11} {:>10} {:>10} {:>12} {:>10}\n",
      "resources", "identical", "changed", "publication", "times rest");
  identicalWrites("none", Resources::none);
  identicalWrites("ten shared", Resources::shared);
  identicalWrites("private", Resources::own);
}

void sweeps() {
  Figures const figures = life([&] {
    AgentWorld world;
    auto const table = world.interface<InLif1>()->makeSwTable(1, nullptr, false);
    return medians([&] {
      writeUnit(world, table, Resources::none, 0, 1);
      double const published = publication(world, table, Resources::none, true, inNoOrder());
      writeUnit(world, table, Resources::none, 0, 1);
      table->mark();
      ThreadTime watch;
      table->sweep();
      double const sweep = watch.lap() / kEntries;
      world.resolve();
      double const resolve = watch.lap() / kEntries;
      acknowledge(world, table);
      return Figures{sweep, resolve, watch.lap() / kEntries, published};
    });
  });
  fmt::print(
      "\nSweep of a full unit (ns an entry): sweep {:.0f}, commits {:.0f}, acknowledgement {:.0f}; "
      "publication of a removal alone {:.0f}\n",
      figures[0], figures[1], figures[2], figures[3]);
}

void resourceChanges() {
  using Kind = LoamInLif::L2AdjToFecKind;
  Figures const figures = life([&] {
    AgentWorld world;
    auto const table = world.interface<InLif1>()->makeSwTable(1, nullptr, false);
    writeUnit(world, table, Resources::shared, 0, 1);
    std::uint32_t value = 1000;
    return medians([&] {
      acknowledge(world, table);
      auto const version = table->entryLog()->tableVersion().value();
      ThreadTime watch;
      TestSupport::mustBeOk(world.resources<Kind>().valueIs(TestSupport::keyOf<Kind>(0), ++value));
      double const change = watch.lap() / kEntries;
      if (table->entryLog()->tableVersion().value() != version + kEntries)
        throw std::runtime_error("records");
      return Figures{change, publication(world, table, Resources::shared, false, inNoOrder())};
    });
  });
  fmt::print("\nOne resource of 65,536 entries changes (ns an entry): {:.0f}; publication alone {:.0f}\n",
             figures[0], figures[1]);
}

// --- clean-up ---

// The first clean-up of a life over a log of so many records, all of them taken; then steps of 4,096 records
// with a log that always holds so many.
Figures cleanUpsOf(std::uint32_t records) {
  AgentWorld world;
  auto const log = world.interface<InLif1>()->entryLog();
  auto const table = world.interface<InLif1>()->makeSwTable(1, nullptr, false);
  Entry entry;
  auto const publish = [&](std::uint32_t count) {
    TestSupport::mustBeOk(log->tableEntryLog()->entryLogConfig().reserve(count));
    for (std::uint32_t i = 0; i < count; ++i) {
      entry.logEntry.key = EntryKey(i % kEntries);
      log->entryIs(entry.logEntry, entry.rsrcKeys, nullptr, 1, table->stats(), false);
    }
  };
  publish(records);
  ThreadTime watch;
  log->cleanupEntryLog(log->tableVersion());
  double const first = watch.lap() / records;
  constexpr std::uint32_t kStep = 4096;
  publish(records);
  double running = 0;
  for (std::uint32_t step = 0; step < 64; ++step) {
    publish(kStep);
    watch.lap();
    log->cleanupEntryLog(Asic::LogVersion(log->cleanedVersion().value() + kStep));
    running += watch.lap();
  }
  return {first, running / (64 * kStep)};
}

void cleanUps() {
  fmt::print("\nClean-up (ns a record)\n{:>10} {:>10} {:>10}\n", "log", "first", "running");
  for (std::uint32_t const records : {16384U, 131072U, 995000U}) {
    Figures const figures = medians([&] { return life([&] { return cleanUpsOf(records); }); });
    fmt::print("{:>10} {:>10.0f} {:>10.0f}\n", records, figures[0], figures[1]);
  }
}

}  // namespace
}  // namespace bench

int main(int argc, char** argv) {
  std::set<std::string> const parts(argv + 1, argv + argc);
  auto const run = [&parts](char const* part, auto body) {
    if (parts.empty() || parts.contains(part)) body();
  };
  run("restart", bench::restarts);
  run("marking", bench::markings);
  run("sweep", bench::sweeps);
  run("change", bench::resourceChanges);
  run("cleanup", bench::cleanUps);
}
