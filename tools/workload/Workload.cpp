#include "tools/workload/Workload.h"

#include <fmt/format.h>

#include <algorithm>

namespace Inlif {
namespace {

constexpr char const* kTableNames[] = {"InLif0", "InLif1", "InLif23"};
constexpr std::uint32_t kRouted = 0;
constexpr std::uint32_t kBridged = 1;
constexpr std::uint32_t kTunnel = 2;
constexpr std::uint32_t kVlans = 48;
constexpr std::uint32_t kEmptiedUnit = 2;
constexpr char const* kFailingProfile = "Ethernet99";
constexpr std::uint64_t kFailingCounter = 4242;
constexpr std::uint32_t kClientBytes = 49;

std::string portName(std::uint32_t unit, std::uint32_t port) {
  return fmt::format("Ethernet{}/{}", unit + 1, port + 1);
}

}  // namespace

Workload::Workload(WorkloadShape const& shape)
    : shape_(shape), state_(shape.seed * 0x9E3779B97F4A7C15ULL + 1) {
  for (std::uint32_t unit = 0; unit < shape_.units; ++unit) {
    for (char const* table : kTableNames) {
      preparation_.push_back(
          {{"op", "unit"}, {"id", fmt::format("{}:{}", table, unit)}, {"table", table}, {"unit", unit}});
    }
  }
  preparation_.push_back({{"op", "resource"},
                          {"id", "failing profile"},
                          {"resource", "qosProfileKey"},
                          {"key", {{"intf", kFailingProfile}}},
                          {"state", "failed"}});
  preparation_.push_back({{"op", "resource"},
                          {"id", "failing counter"},
                          {"resource", "l2CounterRequestKey"},
                          {"key", {{"object", kFailingCounter}}},
                          {"state", "failed"}});
  makeInterfaces();
  // The first half comes up alone; then changes fall between the writes, as they do on a switch that is
  // already in use.
  std::size_t const half = interfaces_.size() / 2;
  for (std::size_t i = 0; i < interfaces_.size(); ++i) {
    write(interfaces_[i]);
    if (i > half && random(3) == 0) change();
    if (i == half + half / 2) removeAll();
  }
  for (Interface& interface : interfaces_) {
    if (interface.removed && random(2) == 0) write(interface);
  }
}

bool Workload::mustFail(Json const& operation) {
  if (operation["op"] != "write") return false;
  auto const profile = operation.find("qosProfileKey");
  auto const counter = operation.find("l2CounterRequestKey");
  return (profile != operation.end() && (*profile)["intf"] == kFailingProfile) ||
         (counter != operation.end() && (*counter)["object"] == kFailingCounter);
}

Json Workload::carrierOf(Json const& operation) {
  return {{"table", kTableNames[kRouted]},
          {"unit", operation["unit"]},
          {"key", operation["key"].get<std::uint32_t>() & 0xFFFF0000U}};
}

// A small generator of our own (xorshift), since the standard distributions differ between libraries.
std::uint32_t Workload::random(std::uint32_t below) {
  state_ ^= state_ << 13;
  state_ ^= state_ >> 7;
  state_ ^= state_ << 17;
  return static_cast<std::uint32_t>((state_ >> 33) % below);
}

void Workload::makeInterfaces() {
  std::uint32_t const ports = shape_.units * shape_.portsPerUnit;
  std::uint32_t const perPort = std::max(3U, (shape_.entries + ports - 1) / ports);
  // The routed ports come first, so that each later interface finds the one that carries it.
  for (std::uint32_t port = 0; port < ports; ++port) {
    interfaces_.push_back({kRouted, port / shape_.portsPerUnit, port % shape_.portsPerUnit, 0});
  }
  for (std::uint32_t number = 1; number < perPort; ++number) {
    for (std::uint32_t port = 0; port < ports; ++port) {
      interfaces_.push_back({number % 3, port / shape_.portsPerUnit, port % shape_.portsPerUnit, number});
    }
  }
  for (std::size_t i = interfaces_.size() - 1; i > ports; --i) {
    std::swap(interfaces_[i], interfaces_[ports + random(static_cast<std::uint32_t>(i + 1 - ports))]);
  }
}

Json Workload::operation(char const* name, Interface const& interface) {
  return {{"op", name},
          {"id", nextId_++},
          {"table", kTableNames[interface.table]},
          {"unit", interface.unit},
          {"key", (interface.port + 1) << 16 | interface.number}};
}

void Workload::addResources(Json& write, Interface const& interface) const {
  std::string const port = portName(interface.unit, interface.port);
  std::string const name = interface.number ? fmt::format("{}.{}", port, interface.number) : port;
  std::uint64_t const counter =
      (std::uint64_t{interface.unit} << 32 | interface.port << 16 | interface.number) + 0x100000;
  bool const failing = interface.port == 3 && interface.number % 5 == 2;
  write["inLifDataKey"] = {{"intf", name}};
  write["qosProfileKey"] = {{"intf", failing && interface.table != kBridged ? kFailingProfile : port}};
  if (interface.table == kBridged) {
    std::string const vlan = fmt::format("Vlan{}", 100 + interface.number % kVlans);
    write["inLifDataVlanKey"] = {{"intf", vlan}};
    write["l2CounterRequestKey"] = {{"object", failing ? kFailingCounter : counter}};
    write["learnEnableKey"] = {{"intf", port}};
    write["learnEnableVlanKey"] = {{"intf", vlan}};
    // Half of the members carry their tag on the wire, which is taken off on the way in.
    if (interface.number % 2)
      write["vlanEditProfileKey"] = {{"customer", {{"action", "edit"}, {"tagsRemoved", 1}}}};
    return;
  }
  write["l3CounterRequestKey"] = {{"object", counter}};
  if (interface.table == kTunnel) {
    write["srv6EndpointCounterRequestKey"] = {{"object", counter}};
    write["l2AdjId"] = 1 + interface.unit * 1000 + interface.port;
  }
}

void Workload::write(Interface& interface) {
  Json write = operation("write", interface);
  std::string client;
  for (std::uint32_t i = 0; i < kClientBytes; ++i) {
    client += fmt::format(
        "{:02x}", (interface.number * 31 + (shape_.generation + interface.generation) * 7 + i) & 0xFF);
  }
  write["client"] = std::move(client);
  addResources(write, interface);
  if (interface.table == kTunnel) {
    Interface const& carrier = interfaces_[interface.unit * shape_.portsPerUnit + interface.port];
    if (carrier.lastWrite) write["after"] = carrier.lastWrite;
  }
  interface.lastWrite = write["id"].get<std::uint64_t>();
  interface.removed = false;
  operations_.push_back(std::move(write));
}

void Workload::remove(Interface& interface) {
  operations_.push_back(operation("remove", interface));
  interface.removed = true;
}

void Workload::removeAll() {
  std::uint32_t const unit = std::min(kEmptiedUnit, shape_.units - 1);
  operations_.push_back(
      {{"op", "removeAll"}, {"id", nextId_++}, {"table", kTableNames[kBridged]}, {"unit", unit}});
  for (Interface& interface : interfaces_) {
    if (interface.table == kBridged && interface.unit == unit && interface.lastWrite)
      interface.removed = true;
  }
}

void Workload::change() {
  Interface& interface = interfaces_[random(static_cast<std::uint32_t>(interfaces_.size()))];
  if (!interface.lastWrite || interface.removed) return;
  if (random(3) == 0 && interface.number) return remove(interface);
  ++interface.generation;
  write(interface);
}

}  // namespace Inlif
