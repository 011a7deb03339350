#include "Vex/ErrorLog.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <functional>
#include <mutex>

#include "Vex/LineFold.h"
#include "Vex/NoWait.h"
#include "Vex/PlainText.h"
#include "Vex/UtcTime.h"

namespace Vex {
namespace {

using SteadyClock = std::chrono::steady_clock;
using SystemClock = std::chrono::system_clock;

constexpr std::uint64_t kOtherKinds = 0;

struct Kind {
  std::uint64_t kind;
  LineFold fold;
  ErrorLog::Row row;
};

// Never destroyed: lines may come at any time.
struct Log {
  std::mutex mutex;
  std::vector<Kind> kinds;
  ErrorLog::Watcher watcher = nullptr;
  void* context = nullptr;
  std::atomic<bool> anyHeld{false};
  LineFold::Limit limit;

  // REQUIRES for all: mutex held.
  Kind& of(std::uint64_t kind);
  void tellHeld(Kind& kind, std::uint64_t count) const;
};

Log& log() {
  static auto* const theLog = [] {
    auto* const made = new Log;
    made->kinds.reserve(ErrorLog::kMostRows);
    std::atexit([] {
      std::lock_guard const lock(log().mutex);
      for (Kind& kind : log().kinds) log().tellHeld(kind, kind.fold.held());
    });
    return made;
  }();
  return *theLog;
}

// Whether standard error is the stream to the journal that the service manager has told of in JOURNAL_STREAM, as
// DEVICE:INODE: it may lead elsewhere by now.
bool errorsGoToJournal() {
  char const* const stream = std::getenv("JOURNAL_STREAM");
  struct stat file {};
  return stream != nullptr && fstat(STDERR_FILENO, &file) == 0 &&
         fmt::format("{}:{}", file.st_dev, file.st_ino) == stream;
}

// What stands in front of the level: the time, or for the journal the priority that it takes from a line, of an error or
// of something less.
std::string beginOfLine(int level) {
  static bool const toJournal = errorsGoToJournal();
  if (toJournal) return level <= 1 ? "<3>" : level == 2 ? "<6>" : "<7>";
  return utcText(SystemClock::now()) + " ";
}

// One line in one call of the system. What would end the line or steer a terminal shows as a question mark.
void print(int level, std::string_view origin, std::string_view text) {
  writeError(withoutControls(fmt::format("{}{} {}{}{}", beginOfLine(level), level, origin,
                                         origin.empty() ? "" : ": ", text)) +
             '\n');
}

Kind& Log::of(std::uint64_t kind) {
  auto const known = std::ranges::find(kinds, kind, &Kind::kind);
  if (known != kinds.end()) return *known;
  if (kinds.size() == ErrorLog::kMostRows) return kinds.back();
  bool const isLast = kinds.size() + 1 == ErrorLog::kMostRows;
  kinds.push_back({isLast ? kOtherKinds : kind, {}, {0, {}, 0, SystemClock::now(), {}, {}}});
  return kinds.back();
}

void Log::tellHeld(Kind& kind, std::uint64_t count) const {
  if (count == 0) return;
  print(
      kind.row.level, kind.row.origin,
      fmt::format("... and {} more within {} s, at last: {}",
                  count == 1 ? "once" : fmt::format("{} times", count), limit.window.count(), kind.row.text));
}

}  // namespace

void ErrorLog::tell(std::uint64_t kind, int level, std::string_view origin, std::string_view text,
                    bool prints) {
  std::lock_guard const lock(log().mutex);
  Kind& one = log().of(kind);
  auto const now = SteadyClock::now();
  if (std::uint64_t const held = one.fold.due(now, log().limit); held != 0) log().tellHeld(one, held);
  Row& row = one.row;
  row.level = level;
  row.origin = origin;
  ++row.count;
  row.last = SystemClock::now();
  row.text = text.substr(0, kMostText);
  if (log().watcher != nullptr)
    log().watcher(log().context, static_cast<std::size_t>(&one - log().kinds.data()), row);
  if (!prints) return;
  if (one.fold.admits(std::hash<std::string_view>()(text), now, log().limit))
    print(level, origin, text);
  else
    log().anyHeld.store(true, std::memory_order_relaxed);
}

void ErrorLog::line(int level, std::string_view origin, std::string_view text) {
  print(level, origin, text);
}

void ErrorLog::turn() {
  if (!log().anyHeld.load(std::memory_order_relaxed)) return;
  std::lock_guard const lock(log().mutex);
  auto const now = SteadyClock::now();
  bool held = false;
  for (Kind& kind : log().kinds) {
    log().tellHeld(kind, kind.fold.due(now, log().limit));
    held |= kind.fold.held() != 0;
  }
  log().anyHeld.store(held, std::memory_order_relaxed);
}

LineFold::Limit ErrorLog::limit() {
  std::lock_guard const lock(log().mutex);
  return log().limit;
}

void ErrorLog::limitIs(LineFold::Limit limit) {
  std::lock_guard const lock(log().mutex);
  log().limit = limit;
}

std::vector<ErrorLog::Row> ErrorLog::rows() {
  std::lock_guard const lock(log().mutex);
  std::vector<Row> rows;
  for (Kind const& kind : log().kinds) rows.push_back(kind.row);
  return rows;
}

void ErrorLog::watcherIs(Watcher watcher, void* context) {
  std::lock_guard const lock(log().mutex);
  log().watcher = watcher;
  log().context = context;
  for (std::size_t place = 0; watcher != nullptr && place < log().kinds.size(); ++place)
    watcher(context, place, log().kinds[place].row);
}

}  // namespace Vex
