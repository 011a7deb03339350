#include "Shoal/MappingGuard.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string_view>

#include "Shoal/PageSize.h"
#include "Shoal/RecordCopy.h"
#include "Vex/Trace.h"

namespace Shoal {

namespace {

Vex::TraceHandle traceHandle("Shoal");

// Entries form a list that only grows; one whose mapping has gone is used again. The handler walks it without
// a lock, in any thread: `turn` is odd while an entry is filled, and a walk that sees it odd or changed passes
// on, since an entry that is being filled covers no address that is in use. `bytes` is 0 and `base` null while the
// entry is free: who lets a mapping go takes no lock, and finds its entry by the address, which no other bears. The path is read only of an entry that covers a fault, whose mapping therefore stands.
struct Entry {
  std::atomic<std::uint32_t> turn{0};
  std::atomic<std::byte*> base{nullptr};
  std::atomic<std::size_t> bytes{0};
  std::atomic<bool> owner{false};
  std::array<char, 512> path{};
  Entry* next = nullptr;
};

std::atomic<Entry*> entries{nullptr};
std::mutex entriesChange;
struct sigaction handledBefore;

struct Covered {
  Entry const* entry;
  std::byte* base;
  std::size_t bytes;
  bool owner;
};

bool covering(std::byte const* at, Covered& found) noexcept {
  for (Entry* entry = entries.load(std::memory_order_acquire); entry != nullptr; entry = entry->next) {
    std::uint32_t const turn = entry->turn.load(std::memory_order_acquire);
    found = {entry, entry->base.load(std::memory_order_relaxed), entry->bytes.load(std::memory_order_relaxed),
             entry->owner.load(std::memory_order_relaxed)};
    acquireFence();
    if (turn % 2 != 0 || entry->turn.load(std::memory_order_relaxed) != turn) continue;
    if (found.base != nullptr && at >= found.base && at < found.base + found.bytes) return true;
  }
  return false;
}

// One line without memory of the heap, as a signal handler must.
[[noreturn]] void ownerEnds(Entry const& entry) noexcept {
  char line[640];
  std::size_t length = 0;
  for (std::string_view part : {std::string_view("collection '"), std::string_view(entry.path.data()),
                                std::string_view("': its file was cut, or the file system has no memory for "
                                                 "it; its owner ends\n")}) {
    std::size_t const take = std::min(part.size(), sizeof(line) - length);
    std::memcpy(line + length, part.data(), take);
    length += take;
  }
  [[maybe_unused]] ssize_t const written = ::write(STDERR_FILENO, line, length);
  ::_exit(1);
}

// What would have happened without this handler. A handler runs under the mask that it asked for; the default
// action ends the process by the signal: a sent one is sent again, a fault comes again when its access is
// repeated.
void passOn(int signal, siginfo_t* info, void* context) noexcept {
  struct sigaction const before = handledBefore;
  bool const sent = info->si_code <= 0;
  bool const withInfo = (before.sa_flags & SA_SIGINFO) != 0;
  if (!withInfo && (before.sa_handler == SIG_DFL || before.sa_handler == SIG_IGN)) {
    if (sent && before.sa_handler == SIG_IGN) return;
    struct sigaction none {};
    none.sa_handler = SIG_DFL;
    ::sigaction(signal, &none, nullptr);
    if (sent) ::raise(signal);
    return;
  }
  if ((static_cast<unsigned>(before.sa_flags) & SA_RESETHAND) != 0) {
    handledBefore.sa_flags &= ~SA_SIGINFO;
    handledBefore.sa_handler = SIG_DFL;
  }
  sigset_t mask = before.sa_mask;
  sigset_t now;
  if ((before.sa_flags & SA_NODEFER) == 0) ::sigaddset(&mask, signal);
  ::pthread_sigmask(SIG_BLOCK, &mask, &now);
  if (withInfo)
    before.sa_sigaction(signal, info, context);
  else
    before.sa_handler(signal);
  ::pthread_sigmask(SIG_SETMASK, &now, nullptr);
}

void onBusError(int signal, siginfo_t* info, void* context) {
  int const error = errno;
  if (!takeBusError(info)) passOn(signal, info, context);
  errno = error;
}

// Asked before it is set, so that a signal that comes at once finds what to pass on to.
bool installHandler() {
  systemPageBytes();  // asked here, and not by the handler for the first time
  if (::sigaction(SIGBUS, nullptr, &handledBefore) != 0) return false;
  struct sigaction action {};
  action.sa_sigaction = &onBusError;
  action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK | (handledBefore.sa_flags & SA_RESTART);
  ::sigemptyset(&action.sa_mask);
  return ::sigaction(SIGBUS, &action, nullptr) == 0;
}

// Tells once that the handler is not the first to be asked any more.
void checkHandler() {
  static bool const installed = installHandler();
  static bool told = false;
  struct sigaction now;
  if (told || (installed && ::sigaction(SIGBUS, nullptr, &now) == 0 && now.sa_sigaction == &onBusError))
    return;
  told = true;
  VEX_TRACE(
      traceHandle, 1,
      "SIGBUS is handled by another: a file that is cut beneath a mapping ends this process, unless that "
      "handler passes on what it does not know");
}

}  // namespace

bool takeBusError(siginfo_t const* info) noexcept {
  if (info->si_code != BUS_ADRERR && info->si_code != BUS_OBJERR && info->si_code != BUS_MCEERR_AR)
    return false;
  auto* const at = static_cast<std::byte*>(info->si_addr);
  Covered found;
  if (!covering(at, found)) return false;
  if (found.owner) ownerEnds(*found.entry);
  std::size_t const page = systemPageBytes();
  std::size_t const begin = static_cast<std::size_t>(at - found.base) / page * page;
  return ::mmap(found.base + begin, std::min(page, found.bytes - begin), PROT_READ,
                MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) == found.base + begin;
}

void mappingGuard(std::byte* base, std::size_t bytes, bool owner, std::string const& path) {
  std::lock_guard const lock(entriesChange);
  checkHandler();
  Entry* entry = entries.load(std::memory_order_relaxed);
  while (entry != nullptr && entry->bytes.load(std::memory_order_acquire) != 0) entry = entry->next;
  bool const isNew = entry == nullptr;
  if (isNew) entry = new Entry();
  std::uint32_t const turn = entry->turn.load(std::memory_order_relaxed);
  entry->turn.store(turn + 1, std::memory_order_relaxed);
  releaseFence();
  entry->base.store(base, std::memory_order_relaxed);
  entry->bytes.store(bytes, std::memory_order_relaxed);
  entry->owner.store(owner, std::memory_order_relaxed);
  entry->path.fill(0);
  std::memcpy(entry->path.data(), path.data(), std::min(path.size(), entry->path.size() - 1));
  entry->turn.store(turn + 2, std::memory_order_release);
  if (!isNew) return;
  entry->next = entries.load(std::memory_order_relaxed);
  entries.store(entry, std::memory_order_release);
}

void letMappingGo(std::byte* base) noexcept {
  for (Entry* entry = entries.load(std::memory_order_acquire); entry != nullptr; entry = entry->next) {
    if (entry->base.load(std::memory_order_relaxed) != base) continue;
    entry->base.store(nullptr, std::memory_order_relaxed);
    // Release: whoever fills the entry next finds it without an address.
    entry->bytes.store(0, std::memory_order_release);
    return;
  }
}

}  // namespace Shoal
