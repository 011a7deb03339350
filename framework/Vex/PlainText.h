// Text from outside on its way to people: names, keys and messages that others have given. They are shown as they are, but
// for what would end the line or steer the terminal of who reads it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Vex {

// What a terminal obeys and does not show: the control characters, those above ASCII too, and what ends lines or turns the
// direction of writing.
constexpr bool isControl(char32_t character) {
  return character < 0x20 || (character >= 0x7F && character < 0xA0) ||
         (character >= 0x2028 && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
}

struct Character {
  char32_t code = 0;
  std::size_t bytes = 0;
};

// The character with which a text begins; none where that is no UTF-8. REQUIRES: the text is not empty.
constexpr std::optional<Character> characterAt(std::string_view text) {
  auto const byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  if (byte(0) < 0x80) return Character{byte(0), 1};
  if (byte(0) < 0xC2 || byte(0) > 0xF4) return std::nullopt;
  std::size_t const bytes = byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
  if (text.size() < bytes) return std::nullopt;
  char32_t code = byte(0) & (0x7Fu >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return std::nullopt;
    code = code << 6 | (byte(i) & 0x3Fu);
  }
  // A longer form than needed, half of a pair, and beyond the last character.
  constexpr std::array<char32_t, 5> kLeast{0, 0, 0x80, 0x800, 0x10000};
  bool const isOne = code >= kLeast[bytes] && (code < 0xD800 || code > 0xDFFF) && code <= 0x10FFFF;
  return isOne ? std::optional(Character{code, bytes}) : std::nullopt;
}

// The text with a question mark for each control character, and for each byte that is no UTF-8.
inline std::string withoutControls(std::string_view text) {
  std::string plain;
  plain.reserve(text.size());
  while (!text.empty()) {
    std::optional<Character> const next = characterAt(text);
    std::size_t const bytes = next ? next->bytes : 1;
    if (next && !isControl(next->code))
      plain += text.substr(0, bytes);
    else
      plain += '?';
    text.remove_prefix(bytes);
  }
  return plain;
}

}  // namespace Vex
