#include "Shoal/MappingGuard.h"

#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string_view>

#include "Shoal/FileLayout.h"

namespace Shoal {

namespace {

// Entries form a list that only grows; one whose mapping has gone is used again. The handler walks it without
// a lock: `bytes` is stored last, by release, and is 0 while the entry is not in use, so that whoever sees it
// sees the rest.
struct Entry {
  std::atomic<std::size_t> bytes{0};
  std::byte* base = nullptr;
  bool owner = false;
  std::array<char, 512> path{};
  Entry* next = nullptr;
};

std::atomic<Entry*> entries{nullptr};
std::mutex entriesChange;
struct sigaction handledBefore;

// One line without memory of the heap, as a signal handler must.
[[noreturn]] void ownerEnds(Entry const& entry) {
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

void onBusError(int signal, siginfo_t* info, void* context) {
  auto* const at = static_cast<std::byte*>(info->si_addr);
  for (Entry* entry = entries.load(std::memory_order_acquire); entry != nullptr; entry = entry->next) {
    std::size_t const bytes = entry->bytes.load(std::memory_order_acquire);
    if (bytes == 0 || at < entry->base || at >= entry->base + bytes) continue;
    if (entry->owner) ownerEnds(*entry);
    auto* const page = entry->base + static_cast<std::size_t>(at - entry->base) / kPageBytes * kPageBytes;
    if (::mmap(page, kPageBytes, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0) == page) return;
  }
  if ((handledBefore.sa_flags & SA_SIGINFO) != 0 && handledBefore.sa_sigaction != nullptr)
    return handledBefore.sa_sigaction(signal, info, context);
  if (handledBefore.sa_handler != SIG_DFL && handledBefore.sa_handler != SIG_IGN)
    return handledBefore.sa_handler(signal);
  // The access is repeated on return, and the process ends by the signal.
  ::sigaction(signal, &handledBefore, nullptr);
}

void installHandler() {
  static bool const installed = [] {
    struct sigaction action {};
    action.sa_sigaction = &onBusError;
    action.sa_flags = SA_SIGINFO | SA_NODEFER | SA_ONSTACK;
    ::sigemptyset(&action.sa_mask);
    return ::sigaction(SIGBUS, &action, &handledBefore) == 0;
  }();
  static_cast<void>(installed);
}

}  // namespace

void mappingGuard(std::byte* base, std::size_t bytes, bool owner, std::string const& path) {
  installHandler();
  std::lock_guard const lock(entriesChange);
  Entry* entry = entries.load(std::memory_order_relaxed);
  while (entry != nullptr && entry->bytes.load(std::memory_order_relaxed) != 0) entry = entry->next;
  bool const isNew = entry == nullptr;
  if (isNew) entry = new Entry();
  entry->base = base;
  entry->owner = owner;
  entry->path.fill(0);
  std::memcpy(entry->path.data(), path.data(), std::min(path.size(), entry->path.size() - 1));
  entry->bytes.store(bytes, std::memory_order_release);
  if (!isNew) return;
  entry->next = entries.load(std::memory_order_relaxed);
  entries.store(entry, std::memory_order_release);
}

void mappingLetGo(std::byte* base) {
  std::lock_guard const lock(entriesChange);
  for (Entry* entry = entries.load(std::memory_order_relaxed); entry != nullptr; entry = entry->next)
    if (entry->base == base) entry->bytes.store(0, std::memory_order_release);
}

}  // namespace Shoal
