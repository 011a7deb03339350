// bench_processes: agent and writer as two processes, each on a core of its own: how many records a second go
// from the agent's commit into the image and back as an acknowledgement. Three arrangements in interleaved
// rounds: our store with publication alone, our whole road without resources, and LMDB with one transaction
// for each publication, a consumer that reads in order and acknowledges, and log records deleted behind it.
#include <fmt/format.h>
#include <sched.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "Shoal/StoreRoot.h"
#include "bench/Floor.h"
#include "bench/LmdbPeer.h"
#include "bench/TwoProcesses.h"
#include "hardware/memory/ImageOnly.h"

namespace bench {
namespace {

double lmdbRound(LmdbPeer& peer, Keys& keys) {
  std::array<std::byte, Floor::kConfigSize> config{};
  std::array<std::byte, Floor::kLogSize> log{};
  Seconds time;
  for (std::uint32_t pass = 0; pass < kPasses; ++pass) {
    auto const& order = keys.shuffled();
    for (std::uint32_t from = 0; from < kEntries; from += kBatch) {
      for (std::uint32_t i = from; i < from + kBatch; ++i)
        peer.publish(1, order[i], config.data(), log.data());
      peer.clean(peer.acknowledged());
      while (peer.version() - peer.acknowledged() > kWindow) peer.clean(peer.acknowledged());
    }
  }
  while (peer.acknowledged() < peer.version()) sched_yield();
  peer.clean(peer.acknowledged());
  return kPasses * kEntries / time.now();
}

void consumeForever(std::string const& folder) {
  LmdbPeer peer(folder, false);
  std::array<std::byte, Floor::kLogSize> log;
  for (std::uint64_t applied = peer.acknowledged();;) {
    std::uint64_t const last = peer.consume(applied, 1024, log.data());
    if (last == applied) {
      sched_yield();
      continue;
    }
    applied = last;
    peer.acknowledge(applied);
  }
}

void run(std::string const& directory) {
  VexSharedMem::StoreRoot::rootIs(directory + "/store");
  std::filesystem::create_directory(directory + "/store");
  std::filesystem::permissions(directory + "/store", std::filesystem::perms::owner_all);
  pin(0);
  LmdbPeer peer(directory + "/lmdb", true);
  std::vector<double> publication;
  std::vector<double> road;
  std::vector<double> lmdb;
  Keys keys(kEntries);
  LoamHardware::ImageOnly hardware;
  Consumer const writer([&] { writeForever(hardware); });
  LoamAgent::Host host;
  mustBeOk(host.open());
  mustBeOk(host.makeTable(kTable, 1, false));
  oursRound(host, keys, false);
  for (int round = 0; round < kRounds; ++round) {
    publication.push_back(oursRound(host, keys, false));
    road.push_back(oursRound(host, keys, true));
    Consumer const consumer([&] { consumeForever(directory + "/lmdb"); });
    lmdb.push_back(lmdbRound(peer, keys));
  }
  double const peerRate = median(lmdb);
  fmt::print(
      "\nAgent and writer as two processes, one core each (records a second, published to acknowledged; "
      "medians of {} rounds)\n",
      kRounds);
  fmt::print("{:>48} {:>10.0f}   {:.2f} times LMDB\n", "publication alone, applied to the image",
             median(publication), median(publication) / peerRate);
  fmt::print("{:>48} {:>10.0f}   {:.2f} times LMDB\n", "the whole road, no resources", median(road),
             median(road) / peerRate);
  fmt::print("{:>48} {:>10.0f}\n", "LMDB, read by the consumer", peerRate);
}

}  // namespace
}  // namespace bench

int main() {
  std::string directory = "/dev/shm/loam-bench-XXXXXX";
  if (mkdtemp(directory.data()) == nullptr) {
    fmt::print(stderr, "bench_processes: no directory {}\n", directory);
    return 1;
  }
  int status = 0;
  try {
    bench::run(directory);
  } catch (std::exception const& failure) {
    fmt::print(stderr, "bench_processes: {}\n", failure.what());
    status = 1;
  }
  std::filesystem::remove_all(directory);
  return status;
}
