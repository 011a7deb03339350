#include "Shoal/ChangeWatch.h"

#include <fmt/format.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>

namespace Shoal {

ChangeSignal::~ChangeSignal() {
  if (descriptor_ >= 0) close(descriptor_);
}

Pivot::Status ChangeSignal::open() {
  if (descriptor_ < 0) descriptor_ = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (descriptor_ < 0) return Pivot::Status::refused(fmt::format("no eventfd: {}", std::strerror(errno)));
  return Pivot::Status::ok();
}

void ChangeSignal::take() {
  if (!signalled_.load(std::memory_order_relaxed)) return;
  signalled_.exchange(false, std::memory_order_acquire);
  std::uint64_t count = 0;
  [[maybe_unused]] ssize_t const size = read(descriptor_, &count, sizeof count);
}

void ChangeSignal::signal() {
  std::uint64_t const one = 1;
  [[maybe_unused]] ssize_t const size = write(descriptor_, &one, sizeof one);
  signalled_.store(true, std::memory_order_release);
}

}  // namespace Shoal
