#include "tools/writer/WriterCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>
#include <thread>

#include "LoamInLif/Tables.h"
#include "Shoal/StoreRoot.h"
#include "Vex/ErrorLog.h"
#include "hardware/Writer.h"
#include "hardware/memory/FaultyHardware.h"
#include "hardware/memory/ImageOnly.h"
#include "tools/json/ObjectReader.h"
#include "tools/support/ErrorFile.h"
#include "tools/support/Service.h"

namespace Inlif {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kBudget = 4096;
// A writer with nothing to do looks so often whether it shall end.
constexpr std::chrono::milliseconds kIdle{250};
constexpr std::uint64_t kMostRate = 100'000'000;
constexpr std::uint64_t kMostFaults = 1'000'000;

volatile std::sig_atomic_t stop = 0;

void stopOn(int signal) {
  struct sigaction action {};
  action.sa_handler = [](int) { stop = 1; };
  sigaction(signal, &action, nullptr);
}

// How many records may be applied now at a rate: a tenth of a second's worth can be made up, more is lost.
class Pace {
 public:
  explicit Pace(std::uint64_t rate) : rate_(rate), since_(Clock::now()) {}

  std::size_t allowed() {
    if (rate_ == 0) return kBudget;
    auto const now = Clock::now();
    credit_ += std::chrono::duration<double>(now - since_).count() * static_cast<double>(rate_);
    credit_ = std::min(credit_, std::max(1.0, static_cast<double>(rate_) / 10));
    since_ = now;
    return std::min(kBudget, static_cast<std::size_t>(credit_));
  }
  void used(std::size_t records) { credit_ -= static_cast<double>(records); }
  // Until one more record is allowed.
  std::chrono::microseconds pause() const {
    double const seconds = rate_ == 0 ? 0.0 : std::max(0.0, 1.0 - credit_) / static_cast<double>(rate_);
    return std::min<std::chrono::microseconds>(
        std::chrono::microseconds(static_cast<long>(seconds * 1e6) + 1), kIdle);
  }

 private:
  std::uint64_t rate_;
  double credit_ = 1;
  Clock::time_point since_;
};

}  // namespace

Outcome runWriter(WriterOptions const& options) {
  std::uint64_t rate = 0;
  if (!options.rate.empty() &&
      (!numberFrom(std::string_view(options.rate), rate) || rate == 0 || rate > kMostRate)) {
    return Outcome::wrong(Pivot::Status::refused(fmt::format(
        "--rate {}: expected records a second, a whole number from 1 to {}", options.rate, kMostRate)));
  }
  std::unique_ptr<LoamHardware::Hardware> hardware = std::make_unique<LoamHardware::ImageOnly>();
  std::uint64_t faults = 0;
  if (!options.faults.empty() &&
      (!numberFrom(std::string_view(options.faults), faults) || faults < 2 || faults > kMostFaults)) {
    return Outcome::wrong(Pivot::Status::refused(fmt::format(
        "--faults {}: expected one in so many, a whole number from 2 to {}", options.faults, kMostFaults)));
  }
  if (faults != 0 && options.hardware != "memory")
    return Outcome::wrong(Pivot::Status::refused(
        fmt::format("--faults goes with --hardware memory alone, not with {}", options.hardware)));
  Pivot::Status status = tracesAre(options.traces);
  if (status.isOk() && options.hardware == "kernel") status = kernelHardware(options.kernel, hardware);
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  status = storeIs(options.store, true);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  stopOn(SIGTERM);
  stopOn(SIGINT);
  if (faults != 0)
    hardware = std::make_unique<LoamHardware::FaultyHardware>(std::move(hardware), faults,
                                                              static_cast<std::uint64_t>(getpid()));
  LoamHardware::Writer writer(LoamInLif::groupInfo(), *hardware);
  status = writer.open();
  if (!status.isOk()) return Outcome::refused(std::move(status));
  keepErrors(VexSharedMem::StoreRoot::Role::writer);
  Pace pace(rate);
  Service service;
  service.isReady("applies what the agent publishes to " + options.hardware);
  while (!stop) {
    service.goesOn();
    Vex::ErrorLog::turn();
    status = VexSharedMem::StoreRoot::giveSignOfLife();
    if (!status.isOk()) return Outcome::refused(std::move(status));
    std::size_t const allowed = pace.allowed();
    if (allowed == 0) {
      std::this_thread::sleep_for(pace.pause());
      continue;
    }
    std::size_t const count = writer.turn(allowed);
    pace.used(count);
    if (count < allowed) writer.wait(kIdle);
  }
  service.ends();
  return Outcome::done();
}

}  // namespace Inlif
