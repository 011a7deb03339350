// Raising log messages within their limits, and the list of those that are registered.
#include "Vex/LogHandle.h"

#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "Vex/ErrorLog.h"

namespace Vex {
namespace {

using Clock = std::chrono::steady_clock;

// At most so many in so long.
class Limit {
 public:
  // Whether the limit stands in the way of one more. Zero of either sets none.
  bool isReached(Clock::time_point now, double seconds, int most) {
    if (seconds <= 0 || most <= 0) return false;
    if (now - since_ >= std::chrono::duration<double>(seconds)) {
      since_ = now;
      count_ = 0;
    }
    return count_ >= most;
  }
  void countOne() { ++count_; }

 private:
  Clock::time_point since_{};
  int count_ = 0;
};

// What has been told of one message.
struct Told {
  Limit burst;
  Limit rate;
  std::string text;
  Clock::time_point at{};
  std::uint64_t heldBack = 0;

  bool admits(LogHandle const& handle, std::string const& next) {
    Clock::time_point const now = Clock::now();
    bool const again = next == text && now - at < std::chrono::duration<double>(handle.interval());
    bool const reached = burst.isReached(now, handle.duration(), handle.burst());
    if (rate.isReached(now, 1, handle.rateLimit()) || reached || again) {
      ++heldBack;
      return false;
    }
    burst.countOne();
    rate.countOne();
    text = next;
    at = now;
    return true;
  }
};

struct Registry {
  std::mutex mutex;
  std::vector<LogHandle const*> handles;
  std::map<LogHandle const*, Told> told;
  LogHandle::Sink sink = nullptr;
  void* context = nullptr;
};

Registry& registry() {
  static auto* const theRegistry = new Registry;
  return *theRegistry;
}

// The format with each %s in turn replaced by an argument; what an argument holds is not looked at again.
std::string expanded(std::string_view format, std::initializer_list<std::string_view> args) {
  std::string text;
  auto const* arg = args.begin();
  while (true) {
    std::size_t const place = arg == args.end() ? std::string_view::npos : format.find("%s");
    text += format.substr(0, place);
    if (place == std::string_view::npos) return text;
    text += *arg++;
    format.remove_prefix(place + 2);
  }
}

}  // namespace

LogHandle::LogHandle(std::string_view name, std::string_view format, std::string_view explanation,
                     int severity, std::string_view action, double duration, double interval, int burst,
                     int rateLimit)
    : name_(name),
      format_(format),
      explanation_(explanation),
      action_(action),
      severity_(severity),
      duration_(duration),
      interval_(interval),
      burst_(burst),
      rateLimit_(rateLimit) {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  known.handles.push_back(this);
}

LogHandle::~LogHandle() {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  std::erase(known.handles, this);
  known.told.erase(this);
}

void LogHandle::raise(std::initializer_list<std::string_view> args) const {
  std::string const text = expanded(format_, args);
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  Told& told = known.told[this];
  bool const admitted = told.admits(*this, text);
  ErrorLog::tell(std::hash<std::string_view>()(name_), severity_, name_, text,
                 admitted && known.sink == nullptr);
  if (!admitted) return;
  std::uint64_t const heldBack = std::exchange(told.heldBack, 0);
  if (known.sink != nullptr) known.sink(known.context, {name_, severity_, text, explanation_, heldBack});
}

void LogHandle::sinkIs(Sink sink, void* context) {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  known.sink = sink;
  known.context = context;
  known.told.clear();
}

std::vector<LogHandle const*> LogHandle::all() {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  return known.handles;
}

}  // namespace Vex
