#include "Shoal/Futex.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <climits>
#include <ctime>

namespace Shoal {

void futexWait(std::atomic<std::uint32_t> const& word, std::uint32_t seen,
               std::chrono::milliseconds timeout) {
  timespec wait;
  wait.tv_sec = static_cast<time_t>(timeout.count() / 1000);
  wait.tv_nsec = static_cast<long>(timeout.count() % 1000) * 1000000;
  // Not FUTEX_PRIVATE: sleepers are other processes.
  ::syscall(SYS_futex, &word, FUTEX_WAIT, seen, &wait, nullptr, 0);
}

void futexWakeAll(std::atomic<std::uint32_t>& word) {
  ::syscall(SYS_futex, &word, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

}  // namespace Shoal
