#include "agent/ReportWatch.h"

#include <fmt/format.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "Asic/GroupShoal.h"
#include "LoamInLif/Tables.h"
#include "Shoal/SteadyReader.h"

namespace LoamAgent {
namespace {

// How long a wait lasts at most, and with it the end of the thread.
constexpr std::chrono::milliseconds kWait{200};

}  // namespace

ReportWatch::~ReportWatch() {
  stop_ = true;
  if (thread_.joinable()) thread_.join();
  if (descriptor_ >= 0) close(descriptor_);
}

Pivot::Status ReportWatch::start() {
  if (thread_.joinable()) return Pivot::Status::ok();
  descriptor_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (descriptor_ < 0) return Pivot::Status::refused(fmt::format("no eventfd: {}", std::strerror(errno)));
  thread_ = std::thread([this] { run(); });
  return Pivot::Status::ok();
}

void ReportWatch::take() {
  if (!signalled_.load(std::memory_order_relaxed)) return;
  signalled_.exchange(false, std::memory_order_acquire);
  std::uint64_t count = 0;
  [[maybe_unused]] ssize_t const size = read(descriptor_, &count, sizeof count);
}

void ReportWatch::signal() {
  std::uint64_t const one = 1;
  [[maybe_unused]] ssize_t const size = write(descriptor_, &one, sizeof one);
  signalled_.store(true, std::memory_order_release);
}

void ReportWatch::run() {
  Shoal::SteadyReader<Asic::TableVersion> map(LoamInLif::groupInfo().tableVersionPath);
  while (!stop_) {
    if (!map.ready()) {
      std::this_thread::sleep_for(kWait);
      continue;
    }
    // A file that has just been opened may hold reports that came before. The counter is read before the loop
    // is told, so that a report after that ends the wait.
    unsigned const opening = map.openings();
    std::uint32_t seen = map.reader().changeCounter();
    signal();
    while (!stop_ && map.ready() && map.openings() == opening) {
      if (map.reader().waitForChange(seen, kWait) != Shoal::WaitResult::changed) continue;
      seen = map.reader().changeCounter();
      signal();
    }
  }
}

}  // namespace LoamAgent
