// The errors of the process: a line each on the standard error output, and a table of the kinds that there were.
//
// An error is a trace at level 1, a raised log message, or a line of printError(). Its kind is the place in the code that
// tells it: the values in its text make no kind of their own. Of each kind the table keeps the number, the first and the
// last time, and the text told last; it is bounded, and what finds no room in it is counted in one row. Lines that come
// again and again are folded (LineFold.h).
//
// A line reads "TIME LEVEL ORIGIN: TEXT", for instance
//   2026-11-25T20:53:28.123Z 1 HwWriter Writer.cpp:163 advance: image of InLif1 waits for space: ...
//   2026-11-25T20:53:38.124Z 1 HwWriter Writer.cpp:163 advance: ... and 812 times more within 10 s, at last: image of ...
// To the journal of the service manager it goes without the time, which that notes itself, and with a priority in front.
// What cannot be written at once is lost, and that is told with the next line (NoWait.h). Any thread.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "Cobble/Export.h"
#include "Vex/LineFold.h"

namespace Vex {

class LOAM_FRAMEWORK_EXPORT ErrorLog {
 public:
  struct Row {
    int level;           // of the kind's last line; the lower, the graver
    std::string origin;  // who told it and where; may be empty
    std::uint64_t count;
    std::chrono::system_clock::time_point first;
    std::chrono::system_clock::time_point last;
    std::string text;  // the last one, at most kMostText bytes of it
  };
  // Called with each row that has changed, under the lock of the log: it may tell no error.
  using Watcher = void (*)(void* context, std::size_t place, Row const& row);

  static constexpr std::size_t kMostRows = 127;
  static constexpr std::size_t kMostText = 300;

  // Counts an error of a kind (a number that stands for the place in the code) and, unless another has taken the line
  // (`print` false), prints it or folds it.
  static void tell(std::uint64_t kind, int level, std::string_view origin, std::string_view text,
                   bool print = true);
  // Prints a line that is no error.
  static void line(int level, std::string_view origin, std::string_view text);
  // Tells what was held back, where its time has come. For the loop of a process, which costs next to nothing; what is
  // still held back at the end of the process is told then.
  static void turn();

  // How many lines of a kind are printed in which time before the rest is folded. A new limit holds for the windows that
  // begin after it, and for those that are open as far as their lines go.
  static LineFold::Limit limit();
  static void limitIs(LineFold::Limit limit);

  static std::vector<Row> rows();
  // Who keeps a copy of the table; null: nobody. Called at once with each row that stands.
  static void watcherIs(Watcher watcher, void* context);
};

}  // namespace Vex
