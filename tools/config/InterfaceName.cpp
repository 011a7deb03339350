#include "tools/config/InterfaceName.h"

#include <fmt/format.h>

#include "tools/config/PortName.h"
#include "tools/json/Document.h"

namespace Inlif {
namespace {

std::string longName(std::string const& part) {
  std::optional<PortName> const port = PortName::parse(part);
  return port ? port->name() : part;
}

}  // namespace

std::string interfaceName(LoamTunnelNiLib::InLifModelResourceKeys const& keys) {
  if (keys.inLifDataKey.intfId.isEmpty()) return {};
  std::string name = keys.inLifDataKey.intfId.name();
  if (!keys.inLifDataVlanKey.intfId.isEmpty()) name = keys.inLifDataVlanKey.intfId.name() + "|" + name;
  return name;
}

std::string spelledOut(std::string const& name) {
  std::size_t const bar = name.find('|');
  if (bar == std::string::npos) return longName(name);
  std::string first = longName(name.substr(0, bar));
  std::string second = longName(name.substr(bar + 1));
  if (second.starts_with("Vlan")) std::swap(first, second);
  return first + "|" + second;
}

Pivot::Status interfaceNameFrom(std::string_view text, std::string& name) {
  for (std::size_t begin = 0; begin <= text.size();) {
    std::size_t const end = std::min(text.find('|', begin), text.size());
    Wirekit::IntfId part;
    Pivot::Status status =
        Wirekit::IntfId::parse(longName(std::string(text.substr(begin, end - begin))), part);
    if (status.isOk() && part.isEmpty())
      status = Pivot::Status::refused(fmt::format(
          "{} is no interface; expected a name such as Ethernet4, Ethernet4.10 or Vlan10|Ethernet4",
          shownText(text)));
    if (!status.isOk()) return status;
    begin = end + 1;
  }
  name = spelledOut(std::string(text));
  return Pivot::Status::ok();
}

}  // namespace Inlif
