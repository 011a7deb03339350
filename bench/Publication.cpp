// Publication alone, its floor and its peer: the same keys, shuffled anew for each round, and the same bytes.
// What a round leaves in the log is cleaned away between the rounds, outside the time.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <array>
#include <memory>

#include "LoamInLif/InLifNSwTable.h"
#include "Vex/Xxh3.h"
#include "bench/Agent.h"
#include "bench/Floor.h"
#include "bench/Keys.h"
#include "bench/LmdbPeer.h"
#include "support/AgentWorld.h"

namespace bench {
namespace {

// Publications of one round, whatever the number of keys.
constexpr std::uint32_t kRound = 65536;

struct Bytes {
  std::array<std::byte, Floor::kConfigSize> config{};
  std::array<std::byte, Floor::kLogSize> log{};
};

// Calls publish(unit, key) kRound times over all units and keys, and notes the time of one.
template <class Publish>
void round(benchmark::State& state, std::uint32_t entries, std::uint32_t units, Keys& keys,
           Publish&& publish) {
  double ns = 0;
  for (auto _ : state) {
    Stopwatch watch;
    for (std::uint32_t done = 0; done < kRound;) {
      auto const& order = keys.shuffled();
      watch.lap();
      for (std::uint32_t const key : order) publish(key / entries, key % entries);
      ns += watch.lap();
      done += entries * units;
    }
    state.SetIterationTime(ns * 1e-9);
  }
  state.counters["ns"] = ns / kRound;
}

void floorOf(benchmark::State& state, std::uint32_t entries, std::uint32_t units,
             std::unique_ptr<Floor>& floor, std::unique_ptr<Keys>& keys) {
  if (!floor) floor = std::make_unique<Floor>(entries, units, kRound);
  if (!keys) keys = std::make_unique<Keys>(entries * units);
  static Bytes bytes;
  round(state, entries, units, *keys, [&](std::uint32_t unit, std::uint32_t key) {
    bytes.config[0] = static_cast<std::byte>(key);
    floor->publish(unit, key, bytes.config.data(), bytes.log.data());
  });
}

// The tables of one instance, each with `entries` entries, and the room that a round takes.
template <class I>
struct Published {
  Published(std::uint32_t entries, std::uint32_t units) : keys(entries * units), entries_(entries) {
    for (std::uint32_t unit = 0; unit < units; ++unit)
      tables.push_back(Agent::table<I>(static_cast<Asic::UnitId>(unit + 1)));
  }
  typename I::EntryLog& log() { return *tables.front()->entryLog(); }
  void makeRoom() {
    Agent::world().acknowledge(I::tableId, log().tableVersion());
    TestSupport::mustBeOk(log().tableEntryLog()->entryLogConfig().reserve(kRound));
    for (auto const& table : tables)
      if (log().entrys(table->unitId()) == 0)
        TestSupport::mustBeOk(log().tableConfigShoal(table->unitId())->swTableEntries().reserve(entries_));
  }

  Keys keys;
  std::vector<Pivot::Ptr<typename I::SwTable>> tables;

 private:
  std::uint32_t entries_;
};

template <class I>
void publicationOf(benchmark::State& state, std::uint32_t entries, std::uint32_t units,
                   std::unique_ptr<Published<I>>& published) {
  bool const first = !published;
  if (first) published = std::make_unique<Published<I>>(entries, units);
  Entry entry;
  auto const publish = [&](std::uint32_t unit, std::uint32_t key) {
    auto const& table = published->tables[unit];
    entry.logEntry.key = EntryKey(key);
    entry.logEntry.inLifData = key;
    published->log().entryIs(entry.logEntry, entry.rsrcKeys, nullptr, table->unitId(), table->stats(), false);
  };
  published->makeRoom();
  if (first) {
    for (std::uint32_t const key : published->keys.shuffled()) publish(key / entries, key % entries);
    published->makeRoom();
  }
  round(state, entries, units, published->keys, publish);
}

void lmdbOf(benchmark::State& state, std::uint32_t entries, std::unique_ptr<LmdbPeer>& peer,
            std::unique_ptr<Keys>& keys) {
  if (!peer) peer = std::make_unique<LmdbPeer>("/dev/shm/loam-bench-lmdb-" + std::to_string(getpid()), true);
  if (!keys) keys = std::make_unique<Keys>(entries);
  static Bytes bytes;
  peer->clean(peer->version());
  round(state, entries, 1, *keys, [&](std::uint32_t unit, std::uint32_t key) {
    bytes.config[0] = static_cast<std::byte>(key);
    peer->publish(unit, key, bytes.config.data(), bytes.log.data());
  });
}

// The checksums of one configuration record and one log record, on warm bytes.
void checksum(benchmark::State& state) {
  Bytes bytes;
  double ns = 0;
  for (auto _ : state) {
    Stopwatch watch;
    for (std::uint32_t i = 0; i < kRound; ++i) {
      bytes.config[0] = static_cast<std::byte>(i);
      benchmark::DoNotOptimize(XXH3_64bits(bytes.config.data(), bytes.config.size()));
      benchmark::DoNotOptimize(XXH3_64bits(bytes.log.data(), bytes.log.size()));
    }
    ns = watch.lap();
    state.SetIterationTime(ns * 1e-9);
  }
  state.counters["ns"] = ns / kRound;
}

template <class... Args>
void add(char const* name, Args... args) {
  benchmark::RegisterBenchmark(name, args...)->Iterations(1)->UseManualTime();
}

template <class I>
void addSize(std::string const& suffix, std::uint32_t entries, std::uint32_t units) {
  auto floor = std::make_shared<std::unique_ptr<Floor>>();
  auto keys = std::make_shared<std::unique_ptr<Keys>>();
  add(("floor/" + suffix).c_str(),
      [=](benchmark::State& state) { floorOf(state, entries, units, *floor, *keys); });
  static std::unique_ptr<Published<I>> published;
  Agent::atEnd([] { published.reset(); });
  add(("publication/" + suffix).c_str(),
      [=](benchmark::State& state) { publicationOf<I>(state, entries, units, published); });
}

bool const registered = [] {
  addSize<LoamInLif::InLif0>("1024", 1024, 1);
  addSize<LoamInLif::InLif1>("65536", 65536, 1);
  addSize<LoamInLif::InLif23>("16x4096", 4096, 16);
  auto peer = std::make_shared<std::unique_ptr<LmdbPeer>>();
  auto keys = std::make_shared<std::unique_ptr<Keys>>();
  add("lmdb/65536", [=](benchmark::State& state) { lmdbOf(state, 65536, *peer, *keys); });
  add("checksum", checksum);
  return true;
}();

}  // namespace
}  // namespace bench
