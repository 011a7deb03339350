// Names into 64 bits and back; docs/interface-id.md draws the layout.
//
// A run of digits is coded as its place among all runs, shorter ones first: "0" is 1, "9" is 10, "00" is 11.
// So leading zeros are kept, absence is 0, and the codes of numbers without
// them sort as the numbers do.
#include "Wirekit/IntfId.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cstddef>
#include <optional>
#include <stdexcept>

namespace Wirekit {
namespace {

// The kinds by their code less one. Ids are stored, so a place in this list never changes and is never used
// again.
constexpr std::string_view kKinds[] = {"Ethernet", "Eth",      "PortChannel", "Po",     "Vlan",
                                       "Lag",      "Loopback", "Lo",          "Tunnel", "Management",
                                       "Vxlan",    "Irb",      "eth"};

constexpr unsigned kKindShift = 59;
constexpr unsigned kCountShift = 57;
constexpr std::size_t kMostNumbers = 3;
constexpr std::size_t kSubDigits = 7;
constexpr unsigned kSubBits = 24;

struct Field {
  std::size_t digits;
  unsigned bits;
};
// The numbers of a name with one, two and three of them; from bit 56 downwards, together 33 bits at most.
constexpr Field kLayouts[kMostNumbers][kMostNumbers] = {
    {{9, 31}}, {{5, 17}, {4, 14}}, {{3, 11}, {3, 11}, {3, 11}}};

// Number of digit runs that are shorter than length, and the empty one among them.
constexpr std::uint64_t runsBelow(std::size_t length) {
  std::uint64_t count = 0;
  for (std::size_t i = 0; i < length; ++i) count = count * 10 + 1;
  return count;
}

constexpr bool layoutsFit() {
  for (std::size_t count = 1; count <= kMostNumbers; ++count) {
    unsigned bits = 0;
    for (std::size_t i = 0; i < count; ++i) {
      Field const field = kLayouts[count - 1][i];
      if (runsBelow(field.digits + 1) > std::uint64_t{1} << field.bits) return false;
      bits += field.bits;
    }
    if (bits > kCountShift - kSubBits) return false;
  }
  return runsBelow(kSubDigits + 1) <= std::uint64_t{1} << kSubBits;
}
static_assert(layoutsFit());
static_assert(std::size(kKinds) < 32);

constexpr bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

// Takes a run of 1 to most digits off the front; nothing when there is none or a longer one.
std::optional<std::uint64_t> takeRun(std::string_view& text, std::size_t most) {
  std::size_t length = 0;
  std::uint64_t number = 0;
  while (length < text.size() && isDigit(text[length])) {
    if (++length > most) return std::nullopt;
    number = number * 10 + static_cast<std::uint64_t>(text[length - 1] - '0');
  }
  if (length == 0) return std::nullopt;
  text.remove_prefix(length);
  return runsBelow(length) + number;
}

// Appends the run of that code. REQUIRES: the code is not 0.
void appendRun(std::string& text, std::uint64_t code) {
  std::size_t length = 1;
  while (runsBelow(length + 1) <= code) ++length;
  fmt::format_to(std::back_inserter(text), "{:0{}}", code - runsBelow(length), length);
}

std::optional<std::uint64_t> kindOf(std::string_view word) {
  for (std::size_t i = 0; i < std::size(kKinds); ++i) {
    if (kKinds[i] == word) return i + 1;
  }
  return std::nullopt;
}

// How many numbers a name has is told by its slashes, before any number is read: it decides how many digits
// each may have.
std::optional<std::uint64_t> encode(std::string_view name) {
  std::size_t wordEnd = 0;
  while (wordEnd < name.size() && !isDigit(name[wordEnd])) ++wordEnd;
  std::optional<std::uint64_t> const kind = kindOf(name.substr(0, wordEnd));
  if (!kind) return std::nullopt;
  std::string_view rest = name.substr(wordEnd);

  std::size_t count = 1;
  for (char const c : rest) count += c == '/' ? 1 : 0;
  if (count > kMostNumbers) return std::nullopt;

  std::uint64_t value = *kind << kKindShift | std::uint64_t{count} << kCountShift;
  unsigned shift = kCountShift;
  for (std::size_t i = 0; i < count; ++i) {
    Field const field = kLayouts[count - 1][i];
    if (i > 0) {
      if (rest.empty() || rest.front() != '/') return std::nullopt;
      rest.remove_prefix(1);
    }
    std::optional<std::uint64_t> const code = takeRun(rest, field.digits);
    if (!code) return std::nullopt;
    shift -= field.bits;
    value |= *code << shift;
  }
  if (rest.empty()) return value;
  if (rest.front() != '.') return std::nullopt;
  rest.remove_prefix(1);
  std::optional<std::uint64_t> const sub = takeRun(rest, kSubDigits);
  if (!sub || !rest.empty()) return std::nullopt;
  return value | *sub;
}

// The text of a value, also of one that no name has; such a text does not encode to the value again.
std::string decode(std::uint64_t value) {
  std::string text;
  std::size_t const kind = static_cast<std::size_t>(value >> kKindShift);
  std::size_t const count = static_cast<std::size_t>(value >> kCountShift & 3);
  if (kind == 0 || kind > std::size(kKinds) || count == 0) return text;
  text = kKinds[kind - 1];
  unsigned shift = kCountShift;
  for (std::size_t i = 0; i < count; ++i) {
    Field const field = kLayouts[count - 1][i];
    shift -= field.bits;
    std::uint64_t const code = value >> shift & ((std::uint64_t{1} << field.bits) - 1);
    if (i > 0) text += '/';
    if (code != 0) appendRun(text, code);
  }
  std::uint64_t const sub = value & ((std::uint64_t{1} << kSubBits) - 1);
  if (sub != 0) {
    text += '.';
    appendRun(text, sub);
  }
  return text;
}

}  // namespace

Pivot::Status IntfId::parse(std::string_view name, IntfId& id) {
  if (name.empty()) {
    id.value_ = 0;
    return Pivot::Status::ok();
  }
  std::optional<std::uint64_t> const value = encode(name);
  if (!value) {
    return Pivot::Status::refused(
        fmt::format("\"{}\" is no interface name: expected one of {}, then 1 to {} numbers with '/' between "
                    "them (one of up to 9 digits, "
                    "two of up to 5 and 4, three of up to 3 each), then perhaps '.' and a sub-interface of "
                    "up to {} digits",
                    name, fmt::join(kKinds, ", "), kMostNumbers, kSubDigits));
  }
  id.value_ = *value;
  return Pivot::Status::ok();
}

void IntfId::handleInitialized(std::string_view name) {
  if (Pivot::Status const status = parse(name, *this); !status) throw std::invalid_argument(status.message());
}

std::string IntfId::name() const {
  return decode(value_);
}

}  // namespace Wirekit
