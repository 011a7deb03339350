#include "Shoal/PageSize.h"

#include <unistd.h>

#include <atomic>

namespace Shoal {
namespace {

std::atomic<std::size_t> assumed{0};

}  // namespace

std::size_t systemPageBytes() noexcept {
  static std::size_t const asked = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  std::size_t const given = assumed.load(std::memory_order_relaxed);
  return given != 0 ? given : asked;
}

void assumeSystemPageBytes(std::size_t bytes) noexcept {
  assumed.store(bytes, std::memory_order_relaxed);
}

}  // namespace Shoal
