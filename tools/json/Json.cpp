#include "tools/json/Json.h"

#include <fmt/format.h>

#include <algorithm>

#include "Vex/PlainText.h"

namespace Inlif {
namespace {

// The library escapes the control characters of ASCII but for the last; these are the others.
std::string withControlsEscaped(std::string_view text) {
  std::string escaped;
  while (!text.empty()) {
    Vex::Character const next = *Vex::characterAt(text);
    if (Vex::isControl(next.code))
      escaped += fmt::format("\\u{:04x}", static_cast<std::uint32_t>(next.code));
    else
      escaped += text.substr(0, next.bytes);
    text.remove_prefix(next.bytes);
  }
  return escaped;
}

}  // namespace

std::string jsonText(Json const& value) {
  std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
  bool const isPlain = std::ranges::all_of(text, [](char byte) { return byte >= ' ' && byte < '\x7F'; });
  return isPlain ? text : withControlsEscaped(text);
}

std::string bareText(Json const& value) {
  return value.is_string() ? value.get<std::string>() : jsonText(value);
}

}  // namespace Inlif
