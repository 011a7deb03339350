// bench_memory: what one live entry costs the agent. A process of its own for each case makes an agent with a
// full unit and compares what it has resident before and after; the part of the store's file counts as well,
// since it is mapped.
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/Kinds.h"
#include "bench/Agent.h"
#include "bench/Resources.h"
#include "support/AgentWorld.h"

namespace bench {
namespace {

using Instance = LoamInLif::InLif1;
constexpr std::uint32_t kEntries = 65536;
constexpr std::uint32_t kBatch = 256;

double residentBytes() {
  std::ifstream statm("/proc/self/statm");
  long pages = 0;
  long resident = 0;
  statm >> pages >> resident;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

double fileBytes(std::string const& file) {
  struct stat status {};
  return stat(file.c_str(), &status) == 0 ? static_cast<double>(status.st_blocks) * 512 : 0;
}

void measure(char const* text, Resources resources) {
  TestSupport::AgentWorld world;
  auto const table = world.interface<Instance>()->makeSwTable(1, nullptr, false);
  std::string const file =
      world.directory() + "/" + LoamInLif::InLif1Constants::configShoalPath(1) + ".shoal";
  double const residentBefore = residentBytes();
  double const fileBefore = fileBytes(file);
  for (std::uint32_t key = 0; key < kEntries; ++key) {
    Entry entry;
    resourceKeysAre(entry, resources, key, 0);
    table->entryWrite(EntryKey(key), entry, nullptr);
    if (key % kBatch == kBatch - 1) {
      world.resolve();
      world.acknowledge(Instance::tableId, table->entryLog()->tableVersion());
    }
  }
  fmt::print("{:>16} {:>10.0f} {:>10.0f} {:>10.0f}\n", text, (residentBytes() - residentBefore) / kEntries,
             (fileBytes(file) - fileBefore) / kEntries, 784.0 + 112.0);
}

int inChild(char const* text, Resources resources) {
  std::fflush(stdout);
  pid_t const child = fork();
  if (child == 0) {
    measure(text, resources);
    std::fflush(stdout);
    _exit(0);
  }
  int status = 0;
  return child > 0 && waitpid(child, &status, 0) == child && status == 0 ? 0 : 1;
}

}  // namespace
}  // namespace bench

int main() {
  fmt::print("\nMemory of one live entry among 65,536 (bytes)\n{:>16} {:>10} {:>10} {:>10}\n",
             "resource keys", "resident", "of it file", "records");
  return bench::inChild("none", bench::Resources::none) |
         bench::inChild("ten shared", bench::Resources::shared) |
         bench::inChild("private", bench::Resources::own);
}
