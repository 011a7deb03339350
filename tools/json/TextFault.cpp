#include "tools/json/TextFault.h"

#include <fmt/format.h>
#include <simdjson.h>

#include <algorithm>

#include "tools/json/Document.h"

namespace Inlif {
namespace {

// What is shown of a text that does not fit.
constexpr std::size_t kMostFound = 20;

bool goesOn(char c) {
  return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

}  // namespace

std::string faultAt(std::string_view text, std::size_t at, std::string_view found,
                    std::string_view expected) {
  std::string_view const before = text.substr(0, at);
  std::string_view const line = before.substr(before.rfind('\n') + 1);
  auto const column = line.size() - static_cast<std::size_t>(std::ranges::count_if(line, goesOn)) + 1;
  return fmt::format("line {}, column {}: {}; expected {}", std::ranges::count(before, '\n') + 1, column,
                     found, expected);
}

std::string foundAt(std::string_view text, std::size_t at) {
  std::string_view rest = text.substr(std::min(at, text.size()));
  if (rest.empty()) return "the text ends";
  // A text up to its closing quote, anything else up to where the next value could begin.
  std::size_t const end = rest.front() == '"' ? rest.find('"', 1) + 1 : rest.find_first_of(" \t\r\n,:[]{}\"");
  rest = rest.substr(0, std::max<std::size_t>(end, 1));
  return "found " + shownText(headOf(rest, kMostFound));
}

std::size_t badCharacter(std::string_view text) {
  for (std::size_t at = 0;;) {
    std::size_t end = at + 1;
    while (end < text.size() && goesOn(text[end])) ++end;
    if (end - at > 1 || static_cast<unsigned char>(text[at]) >= 0x80) {
      if (!simdjson::validate_utf8(text.data() + at, end - at)) return at;
    }
    at = end;
  }
}

std::size_t badString(std::string_view text) {
  constexpr std::size_t kOutside = std::string_view::npos;
  std::size_t begin = kOutside;
  for (std::size_t at = 0; at < text.size(); ++at) {
    bool const inside = begin != kOutside;
    if (inside && static_cast<unsigned char>(text[at]) < 0x20) return at;
    if (!inside && text[at] == '\\') return at;
    if (inside && text[at] == '\\')
      ++at;
    else if (text[at] == '"')
      begin = inside ? kOutside : at;
  }
  return begin;
}

std::string_view headOf(std::string_view text, std::size_t most) {
  if (text.size() <= most) return text;
  while (most > 0 && goesOn(text[most])) --most;
  return text.substr(0, most);
}

}  // namespace Inlif
