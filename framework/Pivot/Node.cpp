// The virtual slots of every node.
#include "Pivot/Node.h"

#include "Vex/RootRecords.h"

namespace Pivot {

bool ThreadControl::tsp_ = false;

Node::~Node() = default;

void Node::lastUserGone() {
  delete this;
}

Publisher* Node::publisher() const {
  return nullptr;
}

TypeData Node::typeData() const {
  return TypeNamed<Node>::record;
}

}  // namespace Pivot
