// Log messages for the operator: registered by name when a library is loaded, raised when there is cause.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "Cobble/Export.h"

namespace Vex {

// What is told to the sink; the views hold for the call.
struct LogRecord {
  std::string_view name;
  int severity;
  std::string_view text;
  std::string_view explanation;
  std::uint64_t heldBack;  // messages of this name that its limits kept back since the one told before
};

class LOAM_FRAMEWORK_EXPORT LogHandle {
 public:
  using Sink = void (*)(void* context, LogRecord const& record);

  // name and the other texts: constants that outlive the handle. format: %s stands for an argument. severity:
  // 0 the gravest, to 7. action: what the operator should do; one byte 0x01 says that nothing can be done.
  // The last four limit how often the message is told, each by itself; 0 sets no limit. The same text is told
  // once in `interval` seconds; whatever the text, at most `burst` messages in `duration` seconds, and at most
  // `rateLimit` in one second. What is kept back is counted, in the next record and in the error log.
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

  // Any thread. The sink is called under a lock: it raises no message and asks for none.
  // Where messages go from now on, with limits that begin anew: null is one line each on stderr (ErrorLog.h).
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
