// The virtual slots of every node.
#include "Pivot/Node.h"

#include <atomic>

#include "Pivot/RootRecords.h"

namespace Pivot {

Node::~Node() = default;

void Node::lastUserGone() {
  delete this;
}

void Node::sharedAdd(Node const* node) {
  std::atomic_ref<std::uint32_t>(node->useCount_).fetch_add(1, std::memory_order_relaxed);
}

void Node::sharedRelease(Node const* node) {
  if (std::atomic_ref<std::uint32_t>(node->useCount_).fetch_sub(1, std::memory_order_acq_rel) == 1)
    gone(node);
}

Publisher* Node::publisher() const {
  return nullptr;
}

TypeData Node::typeData() const {
  return TypeNamed<Node>::record;
}

}  // namespace Pivot
