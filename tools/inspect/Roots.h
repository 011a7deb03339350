// Where an inspection of an agent begins: the objects that everything else is reached from.
#pragma once

#include <string>
#include <vector>

#include "Pivot/Node.h"

namespace LoamAgent {
class Host;
}

namespace Inlif {

struct Root {
  // Another name for something below the root, by its path there.
  struct Shortcut {
    std::string name;
    std::vector<std::string> path;
  };

  std::string name;
  Pivot::Ptr<Pivot::Node> object;
  std::vector<Shortcut> shortcuts;
};

// Each registered table interface under the name of its table, with `units` for its tables; then `framework`
// (groups, resource tables), `group` (resolver, sets of tables) and `registry` (the interfaces).
std::vector<Root> rootsOf(LoamAgent::Host& host);

}  // namespace Inlif
