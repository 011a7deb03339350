#include "tools/config/PortName.h"

#include <charconv>

namespace Inlif {
namespace {

struct Prefix {
  std::string_view text;
  PortKind kind;
};
// A long name stands before the short one that it begins with.
constexpr Prefix kPrefixes[] = {{"Ethernet", PortKind::ethernet},
                                {"Eth", PortKind::ethernet},
                                {"PortChannel", PortKind::portChannel},
                                {"Po", PortKind::portChannel}};

bool digitsFrom(std::string_view text, std::uint32_t most, std::uint32_t& out) {
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), out);
  return error == std::errc() && end == text.data() + text.size() && out <= most;
}

}  // namespace

std::optional<PortName> PortName::parse(std::string_view text) {
  for (Prefix const& prefix : kPrefixes) {
    if (!text.starts_with(prefix.text)) continue;
    text.remove_prefix(prefix.text.size());
    PortName name;
    name.kind = prefix.kind;
    auto const dot = text.find('.');
    if (dot != std::string_view::npos) {
      if (!digitsFrom(text.substr(dot + 1), kMostSubInterface, name.subInterface) || name.subInterface == 0) {
        return std::nullopt;
      }
      text = text.substr(0, dot);
    }
    if (text.size() > kMostDigits || !digitsFrom(text, kMostNumber, name.number)) return std::nullopt;
    name.digits = text;
    return name;
  }
  return std::nullopt;
}

std::string PortName::port() const {
  return (kind == PortKind::ethernet ? "Ethernet" : "PortChannel") + digits;
}

std::string PortName::name() const {
  return subInterface ? port() + "." + std::to_string(subInterface) : port();
}

}  // namespace Inlif
