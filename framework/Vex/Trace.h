// Trace lines: a facility, a level and a text, off unless asked for.
//
// A handle is a static object of its source unit. It may be made before or after the levels are set:
// TraceControl remembers the settings by facility name and hands them to handles that come later, in any
// order of static initialisation. A trace that is off costs one predictable branch; its arguments are not
// evaluated. Format and arguments are checked against each other at compile time.
#pragma once

#include <atomic>
#include <string>
#include <string_view>
#include <vector>

#include "Cobble/Export.h"
#include "Vex/FileName.h"
#include "Vex/Text.h"

namespace Vex {

class LOAM_FRAMEWORK_EXPORT TraceHandle {
 public:
  // Several handles may share a facility.
  explicit TraceHandle(std::string_view facility);
  ~TraceHandle();
  TraceHandle(TraceHandle const&) = delete;
  TraceHandle& operator=(TraceHandle const&) = delete;

  std::string const& facility() const { return facility_; }
  // Levels count from 1, the gravest; a facility set to n traces 1 to n.
  bool enabled(int level) const { return level <= level_.load(std::memory_order_relaxed); }

 private:
  friend struct TraceControl;

  std::string facility_;
  std::atomic<int> level_;
};

// One trace line on its way to the sink; the views hold for the call.
struct TraceRecord {
  std::string_view facility;
  int level;
  std::string_view file;
  std::string_view function;
  int line;
  std::string_view text;
};

struct LOAM_FRAMEWORK_EXPORT TraceControl {
  using Sink = void (*)(void* context, TraceRecord const& record);

  // What a facility has that was never set.
  static constexpr int kDefaultLevel = 1;

  // Sets the level of one facility, or with "*" of all, which forgets what was set for single ones. 0 is
  // silence.
  static void levelIs(std::string_view facility, int level);
  static int level(std::string_view facility);
  // Whether any facility traces at that level: for work whose only purpose is a trace that others may make.
  static bool anyEnabled(int level) { return level <= highest_.load(std::memory_order_relaxed); }
  // The names of all facilities that there are, in order.
  static std::vector<std::string> facilities();
  // Where lines go: null is one line each on stderr. The sink may not trace. Lines at level 1 are errors: they are
  // counted wherever they go, and folded on stderr (ErrorLog.h); those of other levels are told one by one.
  static void sinkIs(Sink sink, void* context);

 private:
  static std::atomic<int> highest_;
};

namespace Impl {

LOAM_FRAMEWORK_EXPORT void traceLine(TraceHandle const& handle, int level, std::string_view file,
                                     std::string_view function, int line, fmt::string_view format,
                                     fmt::format_args args);

template <class... Args>
[[gnu::noinline, gnu::cold]] void trace(TraceHandle const& handle, int level, std::string_view file,
                                        std::string_view function, int line,
                                        fmt::format_string<Args...> format, Args&&... args) {
  traceLine(handle, level, file, function, line, format, fmt::make_format_args(args...));
}

}  // namespace Impl
}  // namespace Vex

// VEX_TRACE_AT(handle, level, file, "format {}", arguments...): file is the name that the line carries as its
// origin. An engine that is spread over several files gives its own constant.
#define VEX_TRACE_AT(handle, traceLevel, file, ...)                                        \
  do {                                                                                     \
    if ((handle).enabled(traceLevel)) [[unlikely]]                                         \
      ::Vex::Impl::trace((handle), (traceLevel), (file), __func__, __LINE__, __VA_ARGS__); \
  } while (false)

// VEX_TRACE(handle, level, "format {}", arguments...)
#define VEX_TRACE(handle, traceLevel, ...) \
  VEX_TRACE_AT(handle, traceLevel, ::Vex::Impl::fileName(__FILE__), __VA_ARGS__)
