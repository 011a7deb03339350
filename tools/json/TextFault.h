// Where and how a text stops to be JSON, for the refusal of a Document. The parser underneath tells the kind of a
// fault, and of some kinds not the place.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Inlif {

// "line 3, column 7: FOUND; expected EXPECTED". Columns count characters, as editors do.
std::string faultAt(std::string_view text, std::size_t at, std::string_view found, std::string_view expected);

// "found X", with the beginning of what stands at a place.
std::string foundAt(std::string_view text, std::size_t at);

// Where the text stops to be UTF-8. REQUIRES: it does.
std::size_t badCharacter(std::string_view text);

// The first control character inside a string or backslash outside of one; without them, the beginning of the string that
// has no end; npos without that.
std::size_t badString(std::string_view text);

// So many bytes from the beginning at most, and no part of a character.
std::string_view headOf(std::string_view text, std::size_t most);

}  // namespace Inlif
