// The virtual slots of every node.
#include "Pivot/Node.h"

#include "Pivot/RootRecords.h"

namespace Pivot {

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
