// Levels by facility name, the handles that follow them, and the way of a line to its sink.
#include "Vex/Trace.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <mutex>
#include <vector>

#include "Vex/ErrorLog.h"

namespace Vex {
namespace {

// Made by the first handle or the first setting, in whichever static initialiser that is, and never
// destroyed, so that handles may go at any time.
struct Registry {
  std::mutex mutex;
  std::vector<TraceHandle*> handles;
  int levelOfAll = TraceControl::kDefaultLevel;
  std::map<std::string, int, std::less<>> levels;
  TraceControl::Sink sink = nullptr;
  void* context = nullptr;

  // REQUIRES: mutex held.
  int levelOf(std::string_view facility) const {
    auto const found = levels.find(facility);
    return found == levels.end() ? levelOfAll : found->second;
  }
};

Registry& registry() {
  static auto* const theRegistry = new Registry;
  return *theRegistry;
}

}  // namespace

constinit std::atomic<int> TraceControl::highest_{kDefaultLevel};

TraceHandle::TraceHandle(std::string_view facility) : facility_(facility), level_(0) {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  known.handles.push_back(this);
  level_.store(known.levelOf(facility), std::memory_order_relaxed);
}

TraceHandle::~TraceHandle() {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  std::erase(known.handles, this);
}

void TraceControl::levelIs(std::string_view facility, int level) {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  if (facility == "*") {
    known.levelOfAll = level;
    known.levels.clear();
  } else {
    known.levels.insert_or_assign(std::string(facility), level);
  }
  int highest = known.levelOfAll;
  for (auto const& [name, ofFacility] : known.levels) highest = std::max(highest, ofFacility);
  highest_.store(highest, std::memory_order_relaxed);
  for (TraceHandle* handle : known.handles) {
    handle->level_.store(known.levelOf(handle->facility_), std::memory_order_relaxed);
  }
}

int TraceControl::level(std::string_view facility) {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  return known.levelOf(facility);
}

std::vector<std::string> TraceControl::facilities() {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  std::vector<std::string> names;
  for (TraceHandle const* handle : known.handles) names.push_back(handle->facility());
  std::ranges::sort(names);
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

void TraceControl::sinkIs(Sink sink, void* context) {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  known.sink = sink;
  known.context = context;
}

void Impl::traceLine(TraceHandle const& handle, int level, std::string_view file, std::string_view function,
                     int line, fmt::string_view format, fmt::format_args args) {
  fmt::memory_buffer text;
  fmt::vformat_to(std::back_inserter(text), format, args);
  TraceRecord const record{handle.facility(), level, file, function, line, {text.data(), text.size()}};
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  bool const prints = known.sink == nullptr;
  if (!prints) known.sink(known.context, record);
  if (!prints && level > 1) return;
  std::string const origin = fmt::format("{} {}:{} {}", record.facility, file, line, function);
  if (level > 1) return ErrorLog::line(level, origin, record.text);
  // One place in a template is a kind for each facility that it serves.
  std::hash<std::string_view> const hash;
  std::uint64_t const place = hash(file) + static_cast<std::uint64_t>(line);
  ErrorLog::tell(hash(record.facility) * 31 + place, level, origin, record.text, prints);
}

}  // namespace Vex
