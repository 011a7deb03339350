// What the benchmarks of two processes share: an agent that publishes on core 0, a consumer on core 1, and the round that is
// timed from the first publication to the last acknowledgement.
#pragma once

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <vector>

#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/InLifNInterface.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/Tables.h"
#include "agent/Host.h"
#include "bench/Keys.h"
#include "hardware/Writer.h"

namespace bench {

inline constexpr std::uint32_t kEntries = 65536;
inline constexpr std::uint32_t kPasses = 4;
inline constexpr std::uint32_t kBatch = 256;
// Records that may be on their way before the producer waits: the log never grows beyond it.
inline constexpr std::uint64_t kWindow = 65536;
inline constexpr int kRounds = 5;
inline constexpr std::size_t kTable = 1;

inline void pin(int core) {
  cpu_set_t cores;
  CPU_ZERO(&cores);
  CPU_SET(core, &cores);
  sched_setaffinity(0, sizeof cores, &cores);
}

inline void mustBeOk(Pivot::Status const& status) {
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

// The writer of the hardware, until it is killed.
inline void writeForever(LoamHardware::Hardware& hardware) {
  LoamHardware::Writer writer(LoamInLif::groupInfo(), hardware);
  mustBeOk(writer.open());
  for (;;)
    if (writer.turn(1024) == 0) writer.wait(std::chrono::milliseconds(100));
}

// One round of our store: kPasses over all keys, then until the last record is acknowledged. Records a
// second.
inline double oursRound(LoamAgent::Host& host, Keys& keys, bool wholeRoad) {
  auto const table = boost::static_pointer_cast<LoamInLif::InLif1SwTable>(
      LoamInLif::InLif1Interface::getIntf(nullptr)->swTableSet()->swTable(1));
  auto const log = table->entryLog();
  LoamTunnelNiLib::InLifModelEntry entry;
  entry.logEntry.client[7] = std::byte{3};  // a tagged member that is up
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

inline double median(std::vector<double> values) {
  std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2),
                   values.end());
  return values[values.size() / 2];
}

}  // namespace bench
