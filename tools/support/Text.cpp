#include "tools/support/Text.h"

#include <fmt/color.h>
#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "Vex/PlainText.h"

namespace Inlif {
namespace {

constexpr std::string_view kGap = "  ";
constexpr std::string_view kCutMark = "...";

// What a terminal has where nothing tells its size.
constexpr ScreenSize kUsualScreen{80, 24};

bool isTerminal() {
  return isatty(STDOUT_FILENO) == 1;
}

bool mayColour() {
  char const* const no = std::getenv("NO_COLOR");
  char const* const terminal = std::getenv("TERM");
  bool const isDumb = terminal != nullptr && std::string_view(terminal) == "dumb";
  return isTerminal() && !isDumb && (no == nullptr || *no == '\0');
}

bool beginsCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
}

std::size_t widthOf(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(text, beginsCharacter));
}

std::string_view charactersOf(std::string_view text, std::size_t characters) {
  std::size_t at = 0;
  for (; at < text.size(); ++at)
    if (beginsCharacter(text[at]) && characters-- == 0) break;
  return text.substr(0, at);
}

std::string cut(std::string const& text, std::size_t columns) {
  if (text.size() <= columns || widthOf(text) <= columns) return text;
  std::size_t const mark = std::min(columns, kCutMark.size());
  return std::string(charactersOf(text, columns - mark)).append(kCutMark.substr(0, mark));
}

bool saysNothing(std::string const& cell) {
  return cell.empty() || cell == "0" || cell == "-";
}

}  // namespace

ScreenSize screenSize() {
  if (!isTerminal()) return {};
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0 || size.ws_row == 0)
    return kUsualScreen;
  return {size.ws_col, size.ws_row};
}

Output::Output(bool isVerbose)
    : isVerbose_(isVerbose),
      isColoured_(mayColour()),
      columns_(isVerbose ? SIZE_MAX : screenSize().columns) {}

std::string Output::shown(Line const& line) const {
  std::string text = cut(Vex::withoutControls(line.text), columns_);
  if (!isColoured_ || line.tone == Tone::plain) return text;
  fmt::text_style const style =
      line.tone == Tone::heading ? fmt::text_style(fmt::emphasis::bold) : fmt::fg(fmt::terminal_color::red);
  return fmt::format(style, "{}", text);
}

void Output::print(Line const& line) const {
  fmt::print("{}\n", shown(line));
}

void Output::print(std::vector<Line> const& lines) const {
  for (Line const& line : lines) print(line);
}

Line headingOf(Columns const& columns) {
  std::vector<std::string> headings;
  for (Column const& column : columns) headings.push_back(column.heading);
  return rowOf(columns, headings, Tone::heading);
}

Line rowOf(Columns const& columns, std::vector<std::string> const& cells, Tone tone) {
  std::string text;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    if (i > 0) text += kGap;
    std::size_t const width = widthOf(cells[i]);
    std::string const padding(columns[i].width > width ? columns[i].width - width : 0, ' ');
    text += columns[i].side == Column::Side::right ? padding + cells[i] : cells[i] + padding;
  }
  text.erase(text.find_last_not_of(' ') + 1);
  return {std::move(text), tone};
}

void TextTable::add(std::vector<std::string> cells, Tone tone) {
  rows_.push_back({std::move(cells), tone});
}

std::vector<Line> TextTable::lines(bool all) const {
  std::vector<std::size_t> shown;
  Columns columns;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    auto const isMute = [i](Row const& row) { return saysNothing(row.cells[i]); };
    if (!all && columns_[i].mayGo && std::ranges::all_of(rows_, isMute)) continue;
    Column column = columns_[i];
    column.width = std::max(column.width, widthOf(column.heading));
    for (Row const& row : rows_) column.width = std::max(column.width, widthOf(row.cells[i]));
    shown.push_back(i);
    columns.push_back(std::move(column));
  }
  std::vector<Line> lines{headingOf(columns)};
  for (Row const& row : rows_) {
    std::vector<std::string> cells;
    for (std::size_t const i : shown) cells.push_back(row.cells[i]);
    lines.push_back(rowOf(columns, cells, row.tone));
  }
  return lines;
}

std::vector<Line> TextTable::linesOr(std::string empty) const {
  if (!isEmpty()) return lines();
  std::vector<Line> only;
  only.push_back({std::move(empty)});
  return only;
}

std::string durationText(std::chrono::duration<double> time) {
  double const seconds = time.count();
  if (seconds < 1e-3) return fmt::format("{:.1f} us", seconds * 1e6);
  if (seconds < 1) return fmt::format("{:.1f} ms", seconds * 1e3);
  if (seconds < 120) return fmt::format("{:.1f} s", seconds);
  auto const whole = static_cast<std::uint64_t>(seconds);
  if (whole < 7200) return fmt::format("{} min {} s", whole / 60, whole % 60);
  if (whole < 172'800) return fmt::format("{} h {} min", whole / 3600, whole % 3600 / 60);
  return fmt::format("{} d {} h", whole / 86'400, whole % 86'400 / 3600);
}

}  // namespace Inlif
