// What commands print for people: lines in columns, cut to the width of a terminal, and the two tones that colour has there.
//
// A command makes lines and gives them to an Output, which knows what standard output is. What goes elsewhere than to a
// terminal is neither cut nor coloured, so that programs get all of it.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Inlif {

enum class Tone {
  plain,
  heading,
  fault
};  // a fault: a process that does not run or hangs, an entry that has failed

struct Line {
  std::string text;
  Tone tone = Tone::plain;
};

struct ScreenSize {
  std::size_t columns = SIZE_MAX;
  std::size_t rows = SIZE_MAX;
};
// Of the terminal that standard output is; without bounds where it is none.
ScreenSize screenSize();

class Output {
 public:
  // A verbose one cuts nothing, and its command leaves nothing out.
  explicit Output(bool isVerbose = false);

  bool isVerbose() const { return isVerbose_; }
  // The line as it is written, without its end; control characters in it are shown as ?.
  std::string shown(Line const& line) const;
  void print(Line const& line) const;
  void print(std::vector<Line> const& lines) const;

 private:
  bool isVerbose_;
  bool isColoured_;
  std::size_t columns_;
};

struct Column {
  enum class Side { left, right };

  std::string heading;
  std::size_t width = 0;  // at least
  Side side = Side::left;
  bool mayGo = false;  // where no row says anything in it
};
using Columns = std::vector<Column>;
// Of numbers.
inline constexpr Column::Side kRight = Column::Side::right;

// For rows that are printed as they come. Cells that are longer than their column push the others on.
Line headingOf(Columns const& columns);
Line rowOf(Columns const& columns, std::vector<std::string> const& cells, Tone tone = Tone::plain);

// Rows that are known before the first is printed: columns are as wide as they must be.
class TextTable {
 public:
  explicit TextTable(Columns columns) : columns_(std::move(columns)) {}

  // REQUIRES: a cell for each column.
  void add(std::vector<std::string> cells, Tone tone = Tone::plain);
  bool isEmpty() const { return rows_.empty(); }
  // Heading and rows; with `all` every column, also those that may go.
  std::vector<Line> lines(bool all = true) const;
  // The same, or a line of its own where there is no row.
  std::vector<Line> linesOr(std::string empty) const;

 private:
  struct Row {
    std::vector<std::string> cells;
    Tone tone;
  };

  Columns columns_;
  std::vector<Row> rows_;
};

// In the unit that people would take: "0.3 us", "4.1 ms", "3.7 s", "12 min 5 s", "3 h 10 min", "2 d 4 h".
std::string durationText(std::chrono::duration<double> time);

}  // namespace Inlif
