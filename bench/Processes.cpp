// bench_processes: agent and writer as two processes, each on a core of its own: how many records a second go
// from the agent's commit into the image and back as an acknowledgement. Three arrangements in interleaved
// rounds: our store with publication alone, our whole road without resources, and LMDB with one transaction
// for each publication, a consumer that reads in order and acknowledges, and log records deleted behind it.
#include <fmt/format.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/InLifNInterface.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/Tables.h"
#include "Shoal/StoreRoot.h"
#include "agent/Host.h"
#include "bench/Floor.h"
#include "bench/Keys.h"
#include "bench/LmdbPeer.h"
#include "hardware/Writer.h"
#include "hardware/memory/ImageOnly.h"

namespace bench {
namespace {

constexpr std::uint32_t kEntries = 65536;
constexpr std::uint32_t kPasses = 4;
constexpr std::uint32_t kBatch = 256;
// Records that may be on their way before the producer waits: the log never grows beyond it.
constexpr std::uint64_t kWindow = 65536;
constexpr int kRounds = 5;
constexpr std::size_t kTable = 1;

void pin(int core) {
  cpu_set_t cores;
  CPU_ZERO(&cores);
  CPU_SET(core, &cores);
  sched_setaffinity(0, sizeof cores, &cores);
}

void mustBeOk(Pivot::Status const& status) {
  if (!status.isOk()) throw std::runtime_error(status.message());
}

class Seconds {
 public:
  double now() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

// Runs `body` in a process on core 1 and kills it when the caller is done.
class Consumer {
 public:
  template <class Body>
  explicit Consumer(Body body) : pid_(fork()) {
    if (pid_ != 0) return;
    pin(1);
    body();
    _exit(0);
  }
  ~Consumer() {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  Consumer(Consumer const&) = delete;
  Consumer& operator=(Consumer const&) = delete;

 private:
  pid_t pid_;
};

void writeForever() {
  LoamHardware::ImageOnly hardware;
  LoamHardware::Writer writer(LoamInLif::groupInfo(), hardware);
  mustBeOk(writer.open());
  for (;;)
    if (writer.turn(1024) == 0) writer.wait(std::chrono::milliseconds(100));
}

// One round of our store: kPasses over all keys, then until the last record is acknowledged. Records a
// second.
double oursRound(LoamAgent::Host& host, Keys& keys, bool wholeRoad) {
  auto const table = boost::static_pointer_cast<LoamInLif::InLif1SwTable>(
      LoamInLif::InLif1Interface::getIntf(nullptr)->swTableSet()->swTable(1));
  auto const log = table->entryLog();
  LoamTunnelNiLib::InLifModelEntry entry;
  auto const outstanding = [&] { return log->tableVersion().value() - log->cleanedVersion().value(); };
  Seconds time;
  for (std::uint32_t pass = 0; pass < kPasses; ++pass) {
    auto const& order = keys.shuffled();
    for (std::uint32_t from = 0; from < kEntries; from += kBatch) {
      for (std::uint32_t i = from; i < from + kBatch; ++i) {
        LoamTunnelNiLib::InLifModelEntryKey const key(order[i]);
        entry.logEntry.inLifData = pass;
        entry.logEntry.key = key;
        if (wholeRoad) {
          table->entryWrite(key, entry, nullptr);
        } else {
          mustBeOk(log->reserveRoom(1));
          log->entryIs(entry.logEntry, entry.rsrcKeys, nullptr, 1, table->stats(), false);
        }
      }
      host.turn();
      host.group().announcement().wakeReaders();
      while (outstanding() > kWindow) host.turn();
    }
  }
  while (host.turn() || outstanding() > 0) host.group().announcement().wakeReaders();
  return kPasses * kEntries / time.now();
}

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

double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                   values.end());
  return values[values.size() / 2];
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
  Consumer const writer(writeForever);
  LoamAgent::Host host;
  mustBeOk(host.open(false));
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
