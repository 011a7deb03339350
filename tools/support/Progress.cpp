#include "tools/support/Progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>

#include "tools/support/Command.h"

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
  printAside("{}", kErase);
  std::fflush(stderr);
}

void Progress::show(std::uint64_t count) {
  auto const now = Clock::now();
  if (now - shown_ < kRefresh) return;
  shown_ = now;
  isWritten_ = true;
  auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(now - begin_).count();
  printAside("{}{}", kErase, doing_);
  if (!things_.empty()) printAside(": {}", count);
  if (of_ != 0) printAside(" of {}", of_);
  if (!things_.empty()) printAside(" {}", things_);
  if (of_ != 0) printAside(", {} %", 100 * count / of_);
  printAside(", {} s", seconds);
  std::fflush(stderr);
}

}  // namespace Inlif
