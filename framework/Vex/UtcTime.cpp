#include "Vex/UtcTime.h"

#include <fmt/format.h>

#include <ctime>

namespace Vex {

std::string utcText(std::chrono::system_clock::time_point time) {
  auto const milliseconds = std::chrono::floor<std::chrono::milliseconds>(time.time_since_epoch());
  auto const seconds = std::chrono::floor<std::chrono::seconds>(milliseconds);
  std::time_t const whole = seconds.count();
  std::tm parts{};
  ::gmtime_r(&whole, &parts);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", parts.tm_year + 1900, parts.tm_mon + 1,
                     parts.tm_mday, parts.tm_hour, parts.tm_min, parts.tm_sec,
                     (milliseconds - seconds).count());
}

}  // namespace Vex
