// Log messages for the operator: registered by name when a library is loaded, raised when there is cause.
#pragma once

#include <initializer_list>
#include <string_view>
#include <vector>

#include "Pivot/Export.h"
#include "Pivot/Types.h"

namespace Vex {

// What is told to the sink; the views hold for the call.
struct LogRecord {
  std::string_view name;
  int severity;
  std::string_view text;
  std::string_view explanation;
};

class LOAM_FRAMEWORK_EXPORT LogHandle {
 public:
  using Sink = void (*)(void* context, LogRecord const& record);

  // name and the other texts: constants that outlive the handle. format: %s stands for an argument. severity:
  // 0 the gravest, to 7. action: what the operator should do; one byte 0x01 says that nothing can be done.
  // The last four bound how often the message may come: duration and interval in seconds, burst counts; 0
  // sets no bound.
  LogHandle(std::string_view name, std::string_view format, std::string_view explanation, int severity,
            std::string_view action, double duration, double interval, int burst, int rateLimit);
  ~LogHandle();
  LogHandle(LogHandle const&) = delete;
  LogHandle& operator=(LogHandle const&) = delete;

  std::string_view name() const { return name_; }
  std::string_view format() const { return format_; }
  std::string_view explanation() const { return explanation_; }
  std::string_view action() const { return action_; }
  int severity() const { return severity_; }
  double duration() const { return duration_; }
  double interval() const { return interval_; }
  int burst() const { return burst_; }
  int rateLimit() const { return rateLimit_; }

  // Raises the message; one argument for each %s of the format. A surplus argument is dropped, a missing one
  // reads as "%s".
  template <class... Args>
  void log(Args const&... args) const {
    raise({std::string_view(args)...});
  }

  // Where messages go: null is one line each on stderr.
  static void sinkIs(Sink sink, void* context);
  // Every registered message.
  static std::vector<LogHandle const*> all();

 private:
  void raise(std::initializer_list<std::string_view> args) const;

  std::string_view name_;
  std::string_view format_;
  std::string_view explanation_;
  std::string_view action_;
  int severity_;
  double duration_;
  double interval_;
  int burst_;
  int rateLimit_;
};

}  // namespace Vex
