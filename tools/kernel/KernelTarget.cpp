#include "tools/kernel/KernelTarget.h"

#include <fmt/format.h>

#include "hardware/kernel/KernelHardware.h"
#include "tools/config/PortName.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {
namespace {

constexpr std::uint64_t kLeastTpid = 0x600;

Pivot::Status wiringFrom(std::string const& text, LoamHardware::PortWiring& wiring) {
  std::string_view rest = text;
  auto const upTo = [&](char separator) {
    std::size_t const end = rest.find(separator);
    std::string_view const part = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    return part;
  };
  std::optional<PortName> const port = PortName::parse(upTo('='));
  std::string_view wires = upTo(',');
  std::string_view const tpid = rest;
  std::size_t const colon = wires.find(':');
  wiring.interface = wires.substr(0, colon);
  if (colon != std::string_view::npos) wiring.egress = wires.substr(colon + 1);
  std::uint64_t number = 0;
  bool const isTpid = tpid.empty() || (tpid.starts_with("tpid=") && numberFrom(tpid.substr(5), number) &&
                                       number >= kLeastTpid && number <= UINT16_MAX);
  if (!port || port->subInterface != 0 || wiring.interface.empty() || !isTpid)
    return Pivot::Status::refused(fmt::format(
        "--port {}: expected PORT=INTERFACE, with :EGRESS where its frames go on to another interface, and "
        ",tpid=0x600 to 0xffff where a further type makes a tag; for instance Ethernet4=eth1:eth2",
        text));
  wiring.name = port->name();
  wiring.port = port->code();
  wiring.userTpid = static_cast<std::uint16_t>(number);
  return Pivot::Status::ok();
}

}  // namespace

Pivot::Status kernelHardware(KernelArguments const& arguments,
                             std::unique_ptr<LoamHardware::Hardware>& hardware) {
  LoamHardware::KernelOptions options;
  options.pins = arguments.pins;
  options.mode = arguments.xdp == "native" ? LoamHardware::XdpMode::native : LoamHardware::XdpMode::generic;
  for (std::string const& port : arguments.ports) {
    Pivot::Status status = wiringFrom(port, options.ports.emplace_back());
    if (!status.isOk()) return status;
  }
  hardware = std::make_unique<LoamHardware::KernelHardware>(std::move(options));
  return Pivot::Status::ok();
}

}  // namespace Inlif
