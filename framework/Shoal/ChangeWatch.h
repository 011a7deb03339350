// Tells by a descriptor when a collection of another process has changed: a helper thread that waits on its change counter
// and signals an eventfd. It reads nothing but that counter and touches no state of its owner, so a program of one thread
// stays one. Agent and writer of the hardware each wait for the other with one.
#pragma once

#include <fmt/format.h>

#include <atomic>
#include <chrono>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "Cobble/Export.h"
#include "Pivot/Status.h"
#include "Shoal/SteadyReader.h"

namespace Shoal {

// The descriptor, and the two ends of what goes through it.
class LOAM_FRAMEWORK_EXPORT ChangeSignal {
 public:
  ChangeSignal() = default;
  ~ChangeSignal();
  ChangeSignal(ChangeSignal const&) = delete;
  ChangeSignal& operator=(ChangeSignal const&) = delete;

  Pivot::Status open();
  int descriptor() const { return descriptor_; }
  void signal();
  void take();

 private:
  int descriptor_ = -1;
  // Spares take() the reading while there is nothing to read. The thread stores it with release after it has written to the
  // descriptor; take() clears it with acquire before it reads, so it finds what was written, and a change in between is read
  // the next time. In any other order the descriptor could stay readable with nobody to read it.
  std::atomic<bool> signalled_{false};
};

template <class Record>
class ChangeWatch {
 public:
  explicit ChangeWatch(std::string path) : path_(std::move(path)) {}
  ~ChangeWatch() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }
  ChangeWatch(ChangeWatch const&) = delete;
  ChangeWatch& operator=(ChangeWatch const&) = delete;

  // Once; more calls do nothing. REQUIRES: signals that the loop takes are blocked already, so that the thread never gets
  // one.
  Pivot::Status start() {
    if (thread_.joinable()) return Pivot::Status::ok();
    Pivot::Status status = signal_.open();
    try {
      if (status.isOk()) thread_ = std::thread([this] { run(); });
    } catch (std::system_error const& error) {  // no more threads for this process
      status = Pivot::Status::refused(fmt::format("no thread that watches '{}': {}", path_, error.what()));
    }
    return status;
  }
  // Becomes readable after a change.
  int descriptor() const { return signal_.descriptor(); }
  // Makes it unreadable again; to be called before the collection is looked at. Without a change it is one load.
  void take() { signal_.take(); }

 private:
  // How long a wait lasts at most, and with it the end of the thread.
  static constexpr std::chrono::milliseconds kWait{200};

  void run() {
    SteadyReader<Record> map(path_);
    while (!stop_) {
      if (!map.ready()) {
        std::this_thread::sleep_for(kWait);
        continue;
      }
      // A file that has just been opened may hold changes that came before. The counter is read before the loop
      // is told, so that a change after that ends the wait.
      unsigned const opening = map.openings();
      std::uint32_t seen = map.reader().changeCounter();
      signal_.signal();
      while (!stop_ && map.ready() && map.openings() == opening) {
        if (map.reader().waitForChange(seen, kWait) != WaitResult::changed) continue;
        seen = map.reader().changeCounter();
        signal_.signal();
      }
    }
  }

  std::string const path_;
  ChangeSignal signal_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace Shoal
