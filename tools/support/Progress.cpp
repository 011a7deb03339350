#include "tools/support/Progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>

namespace Inlif {
namespace {

constexpr std::chrono::milliseconds kRefresh{200};
// Back to the beginning of the line, and what stands there taken away.
constexpr char const* kErase = "\r\x1b[K";

}  // namespace

Progress::Progress(std::string doing, std::string things, std::uint64_t of)
    : doing_(std::move(doing)),
      things_(std::move(things)),
      of_(of),
      isTerminal_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  if (!isWritten_) return;
  fmt::print(stderr, "{}", kErase);
  std::fflush(stderr);
}

void Progress::show(std::uint64_t count) {
  auto const now = Clock::now();
  if (now - shown_ < kRefresh) return;
  shown_ = now;
  isWritten_ = true;
  auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(now - begin_).count();
  fmt::print(stderr, "{}{}", kErase, doing_);
  if (!things_.empty()) fmt::print(stderr, ": {}", count);
  if (of_ != 0) fmt::print(stderr, " of {}", of_);
  if (!things_.empty()) fmt::print(stderr, " {}", things_);
  if (of_ != 0) fmt::print(stderr, ", {} %", 100 * count / of_);
  fmt::print(stderr, ", {} s", seconds);
  std::fflush(stderr);
}

}  // namespace Inlif
