// The work of an edge switch as operations of the agent: what the demo drives, and what examples/generator
// prints.
//
// Three tables on four units. InLif0 holds routed ports and their routed sub-interfaces, InLif1 bridged
// sub-interfaces (VLAN on a port), InLif23 tunnel terminations that depend on the routed port that carries
// them. In-LIF data and counters are private to an interface; QoS profile, learn state and tag edits are
// shared by many. One QoS profile and one counter fail, so that the writes that need them fail too. Later
// operations change, remove and write again, and one unit of InLif1 is emptied by a remove-all. The same seed
// gives the same operations, on every machine.
#pragma once

#include <cstdint>
#include <vector>

#include "tools/json/ObjectReader.h"

namespace Inlif {

struct WorkloadShape {
  std::uint32_t entries = 24000;  // different keys that are written
  std::uint32_t seed = 1;
  std::uint32_t units = 4;
  std::uint32_t portsPerUnit = 24;  // at most 24: the 8-bit profiles bound what can be told apart
  std::uint32_t generation = 0;     // makes the clients' bytes differ from those of another generation
};

class Workload {
 public:
  explicit Workload(WorkloadShape const& shape);

  // Makes the units and steers the resources that shall fail. Each must be answered before the operations
  // begin.
  std::vector<Json> const& preparation() const { return preparation_; }
  // Writes, removes and the remove-all, in order; `id` counts from 1.
  std::vector<Json> const& operations() const { return operations_; }
  // Whether an operation must fail, since it needs one of the failing resources.
  static bool mustFail(Json const& operation);
  // The place of the routed port on which an interface stands, as members `table`, `unit` and `key`: what
  // `after` means in another life of the agent, where ids begin anew.
  static Json carrierOf(Json const& operation);

 private:
  struct Interface {
    std::uint32_t table;  // 0 to 2
    std::uint32_t unit;
    std::uint32_t port;
    std::uint32_t number;  // of the interface on its port; 0 is the routed port itself
    std::uint64_t lastWrite = 0;
    std::uint32_t generation = 0;
    bool removed = false;
  };

  std::uint32_t random(std::uint32_t below);
  void makeInterfaces();
  void write(Interface& interface);
  void remove(Interface& interface);
  void removeAll();
  void change();
  Json operation(char const* name, Interface const& interface);
  void addResources(Json& write, Interface const& interface) const;

  WorkloadShape shape_;
  std::uint64_t state_;
  std::uint64_t nextId_ = 1;
  std::vector<Interface> interfaces_;
  std::vector<Json> preparation_;
  std::vector<Json> operations_;
};

}  // namespace Inlif
