// Raising log messages, and the list of those that are registered.
#include "Vex/LogHandle.h"

#include <fmt/format.h>

#include <algorithm>
#include <mutex>
#include <string>

#include "Vex/ErrorPrint.h"

namespace Vex {
namespace {

struct Registry {
  std::mutex mutex;
  std::vector<LogHandle const*> handles;
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
}

void LogHandle::raise(std::initializer_list<std::string_view> args) const {
  std::string const text = expanded(format_, args);
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  if (known.sink != nullptr) {
    known.sink(known.context, {name_, severity_, text, explanation_});
  } else {
    errorPrint("%{}-{}: {}\n", name_, severity_, text);
  }
}

void LogHandle::sinkIs(Sink sink, void* context) {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  known.sink = sink;
  known.context = context;
}

std::vector<LogHandle const*> LogHandle::all() {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  return known.handles;
}

}  // namespace Vex
