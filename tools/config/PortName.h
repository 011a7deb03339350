// A physical or bundled port as a switch configuration names it, and what the mapping needs of the name.
//
// Operators write long names ("Ethernet36", "PortChannel0001") and, for sub-interfaces, short ones too
// ("Eth36.10", "Po0001.10"). Both stand for the same interface; the digits stay as written in the long name,
// while order, equality and keys go by the number: by code().
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Inlif {

enum class PortKind : std::uint8_t { ethernet = 1, portChannel = 2 };

struct PortName {
  static constexpr std::uint32_t kMostNumber = 0xFFFF;
  static constexpr std::uint32_t kMostSubInterface = 0x3FFF;
  static constexpr std::size_t kMostDigits = 9;  // as many as the id of an interface holds

  PortKind kind = PortKind::ethernet;
  std::uint32_t number = 0;        // 0 to kMostNumber
  std::uint32_t subInterface = 0;  // 1 to kMostSubInterface; 0 is the port itself
  std::string digits;              // of the port's number, as written

  // Nothing when the text is no port name; what is expected stands in kExpected.
  static std::optional<PortName> parse(std::string_view text);
  static constexpr char const* kExpected =
      "Ethernet or PortChannel (short: Eth, Po) with a number up to 65535 in at most 9 digits, and for a "
      "sub-interface . and 1 to 16383";

  // The long name of the port, and of the sub-interface where it is one.
  std::string port() const;
  std::string name() const;

  // Kind, number and sub-interface in one word: the same for names that stand for the same interface.
  std::uint32_t code() const { return static_cast<std::uint32_t>(kind) << 30 | number << 14 | subInterface; }
  // Equal ones are written alike too.
  bool operator==(PortName const&) const = default;
  PortName withoutSubInterface() const {
    PortName name = *this;
    name.subInterface = 0;
    return name;
  }
};

}  // namespace Inlif
