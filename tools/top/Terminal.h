// The screen of a terminal for one program: drawn over in place, given back as it was. Plain sequences that every terminal
// of today knows.
#pragma once

#include <termios.h>

#include <chrono>
#include <vector>

#include "Pivot/Status.h"
#include "tools/support/Text.h"

namespace Inlif {

class Terminal {
 public:
  enum class Event { none, resized, ended };

  Terminal() = default;
  // Gives the screen back.
  ~Terminal();
  Terminal(Terminal const&) = delete;
  Terminal& operator=(Terminal const&) = delete;

  // Takes the screen of standard output. REQUIRES: that is a terminal.
  Pivot::Status open();
  void draw(std::vector<Line> const& lines) const;
  // Waits so long for a key or a signal. Ended: somebody said q, ^C or an end, or the terminal has gone.
  Event wait(std::chrono::milliseconds time) const;

 private:
  int signals_ = -1;
  bool isOpen_ = false;
  bool hasModes_ = false;  // standard input is a terminal, whose modes were changed
  termios modes_{};
};

}  // namespace Inlif
