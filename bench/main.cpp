// bench_road: the figures of one process. Runs every case in interleaved rounds and prints tables of medians
// (Figures.h). The options are Google Benchmark's; --benchmark_filter=publication picks cases.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "bench/Agent.h"
#include "bench/Figures.h"

namespace bench {
namespace {

std::unique_ptr<TestSupport::AgentWorld>& theWorld() {
  static std::unique_ptr<TestSupport::AgentWorld> world;
  return world;
}

std::vector<std::function<void()>>& releases() {
  static std::vector<std::function<void()>> all;
  return all;
}

}  // namespace

TestSupport::AgentWorld& Agent::world() {
  if (!theWorld()) theWorld() = std::make_unique<TestSupport::AgentWorld>();
  return *theWorld();
}

void Agent::atEnd(std::function<void()> release) {
  releases().push_back(std::move(release));
}

void Agent::end() {
  for (auto const& release : releases()) release();
  theWorld().reset();
}

}  // namespace bench

int main(int argc, char** argv) {
  // As an agent does: a batch gives its memory back, and takes it again.
  ::mallopt(M_TRIM_THRESHOLD, 64 * 1024 * 1024);
  std::vector<std::string> words(argv, argv + argc);
  words.insert(words.begin() + 1,
               {"--benchmark_enable_random_interleaving=true", "--benchmark_repetitions=9"});
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
  bench::Figures figures;
  benchmark::RunSpecifiedBenchmarks(&figures);
  bench::Agent::end();
}
