// The whole road of one write in one process: entryWrite, resolution, commit, publication, the hardware's
// report, clean-up and handler. The loop works as an agent's does: a batch of writes, a turn of the resolver,
// a report. Four cases: an entry without resources, with ten keys that all entries share, with keys of its
// own, and with keys of its own that change at every write.
#include <benchmark/benchmark.h>

#include <array>
#include <memory>
#include <stdexcept>
#include <string>

#include "LoamInLif/InLifNSwTable.h"
#include "bench/Agent.h"
#include "bench/Keys.h"
#include "bench/Resources.h"
#include "support/AgentWorld.h"

namespace bench {
namespace {

using Instance = LoamInLif::InLif1;

// Writes of one round, whatever the number of entries.
constexpr std::uint32_t kRound = 65536;
constexpr std::uint32_t kBatch = 256;

class Road {
 public:
  Road(Resources resources, std::uint32_t entries, Asic::UnitId unit)
      : resources_(resources), table_(Agent::table<Instance>(unit)), keys_(entries) {}

  // One round; the three phases' nanoseconds for one entry.
  std::array<double, 3> round() {
    std::array<double, 3> ns{};
    std::uint32_t handled = 0;
    auto const handler = [&handled](auto const&) { ++handled; };
    std::array<Entry, kBatch> entries;
    std::vector<std::uint32_t> const* shuffled = nullptr;
    for (std::uint32_t done = 0; done < kRound; done += kBatch) {
      std::uint32_t const from = done % keys_.count();
      if (from == 0) {
        shuffled = &keys_.shuffled();
        ++rounds_;
      }
      auto const& order = *shuffled;
      for (std::uint32_t i = 0; i < kBatch; ++i) fill(entries[i], order[from + i]);
      Stopwatch watch;
      for (std::uint32_t i = 0; i < kBatch; ++i)
        table_->entryWriteWithResponseHandler(EntryKey(order[from + i]), entries[i], nullptr, handler);
      ns[0] += watch.lap();
      Agent::world().resolve();
      ns[1] += watch.lap();
      Agent::world().acknowledge(Instance::tableId, table_->entryLog()->tableVersion());
      ns[2] += watch.lap();
    }
    if (handled != kRound) throw std::runtime_error("handlers called: " + std::to_string(handled));
    for (double& phase : ns) phase /= kRound;
    return ns;
  }

 private:
  void fill(Entry& entry, std::uint32_t key) const {
    entry.logEntry.client[0] = static_cast<std::byte>(rounds_);
    resourceKeysAre(entry, resources_, key, rounds_);
  }

  Resources resources_;
  Pivot::Ptr<typename Instance::SwTable> table_;
  Keys keys_;
  unsigned rounds_ = 0;
};

void roadOf(benchmark::State& state, Resources resources, std::uint32_t entries, Asic::UnitId unit,
            std::shared_ptr<std::unique_ptr<Road>> const& road) {
  if (!*road) {
    *road = std::make_unique<Road>(resources, entries, unit);
    Agent::atEnd([road] { road->reset(); });
    (*road)->round();
  }
  std::array<double, 3> ns{};
  for (auto _ : state) {
    ns = (*road)->round();
    state.SetIterationTime((ns[0] + ns[1] + ns[2]) * kRound * 1e-9);
  }
  state.counters["ns"] = ns[0] + ns[1] + ns[2];
  state.counters["write"] = ns[0];
  state.counters["resolve"] = ns[1];
  state.counters["acknowledge"] = ns[2];
}

bool const registered = [] {
  struct Case {
    char const* name;
    Resources resources;
    std::uint32_t entries;
  };
  Asic::UnitId unit = 20;
  for (auto const& [name, resources, entries] :
       {Case{"road/none", Resources::none, 65536}, Case{"road/none/1024", Resources::none, 1024},
        Case{"road/shared", Resources::shared, 65536}, Case{"road/private", Resources::own, 65536},
        Case{"road/moving", Resources::moving, 65536}}) {
    auto road = std::make_shared<std::unique_ptr<Road>>();
    benchmark::RegisterBenchmark(
        name, [resources = resources, entries = entries, unit,
               road](benchmark::State& state) { roadOf(state, resources, entries, unit, road); })
        ->Iterations(1)
        ->UseManualTime();
    ++unit;
  }
  return true;
}();

}  // namespace
}  // namespace bench
