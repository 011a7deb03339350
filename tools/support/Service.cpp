#include "tools/support/Service.h"

#ifdef LOAM_SYSTEMD
#include <systemd/sd-daemon.h>
#endif

namespace Inlif {

#ifdef LOAM_SYSTEMD

Service::Service() {
  std::uint64_t microseconds = 0;
  // Twice within the time after which the manager would end the service.
  if (sd_watchdog_enabled(0, &microseconds) > 0) interval_ = std::chrono::microseconds(microseconds / 2);
}

void Service::isReady(std::string const& state) {
  sd_notify(0, ("READY=1\nSTATUS=" + state).c_str());
}

void Service::goesOn() {
  if (interval_ == Clock::duration::zero()) return;
  auto const now = Clock::now();
  if (now < next_) return;
  next_ = now + interval_;
  sd_notify(0, "WATCHDOG=1");
}

void Service::ends() {
  sd_notify(0, "STOPPING=1");
}

#else

Service::Service() = default;
void Service::isReady(std::string const&) {}
void Service::goesOn() {}
void Service::ends() {}

#endif

}  // namespace Inlif
