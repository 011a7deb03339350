// Captures trace lines for a test: while one of these lives, the lines of its facility up to its level go
// into it and nowhere else. At its end every facility is back at the default level and lines go to stderr
// again. One at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Vex/Trace.h"

namespace TestSupport {

class TraceCapture {
 public:
  struct Line {
    std::string facility;
    int level;
    std::string file;
    std::string function;
    std::string text;
  };

  explicit TraceCapture(std::string_view facility = "*", int level = 9) {
    Vex::TraceControl::sinkIs(&TraceCapture::take, this);
    Vex::TraceControl::levelIs(facility, level);
  }
  ~TraceCapture() {
    Vex::TraceControl::levelIs("*", Vex::TraceControl::kDefaultLevel);
    Vex::TraceControl::sinkIs(nullptr, nullptr);
  }
  TraceCapture(TraceCapture const&) = delete;
  TraceCapture& operator=(TraceCapture const&) = delete;

  // What else is to be noted at each line, behind its text.
  std::function<std::string()> beside;

  std::vector<Line> const& lines() const { return lines_; }
  void clear() { lines_.clear(); }

  // The texts of one facility ("*": any) at one level (0: any), in order.
  std::vector<std::string> texts(std::string_view facility = "*", int level = 0) const {
    std::vector<std::string> texts;
    for (Line const& line : lines_) {
      if ((facility == "*" || line.facility == facility) && (level == 0 || line.level == level))
        texts.push_back(line.text);
    }
    return texts;
  }
  // How many lines have exactly this text, or contain the part.
  std::size_t count(std::string_view text) const {
    return countIf([&](Line const& line) { return line.text == text; });
  }
  bool has(std::string_view text) const { return count(text) != 0; }
  std::size_t countContaining(std::string_view part) const {
    return countIf([&](Line const& line) { return line.text.find(part) != std::string::npos; });
  }

 private:
  template <class Predicate>
  std::size_t countIf(Predicate predicate) const {
    return static_cast<std::size_t>(std::count_if(lines_.begin(), lines_.end(), predicate));
  }
  static void take(void* self, Vex::TraceRecord const& record) {
    auto& capture = *static_cast<TraceCapture*>(self);
    capture.lines_.push_back({std::string(record.facility), record.level, std::string(record.file),
                              std::string(record.function),
                              std::string(record.text) + (capture.beside ? capture.beside() : "")});
  }

  std::vector<Line> lines_;
};

}  // namespace TestSupport
