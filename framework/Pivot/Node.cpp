// The virtual slots of every node, and the record of the root class.
#include "Pivot/Node.h"

namespace Pivot {
namespace {

constexpr char const* kTypeNames[] = {"Pivot::Node"};
constexpr ModuleInspectData kModule{"Pivot", 1, 1, kTypeNames};
[[maybe_unused]] bool const announced = (ModuleInspectData::loaded(&kModule), true);

}  // namespace

bool ThreadControl::tsp_ = false;

Node::~Node() = default;

void Node::lastUserGone() {
  delete this;
}

Publisher* Node::publisher() const {
  return nullptr;
}

TypeData Node::typeData() const {
  return {&kModule, 0};
}

}  // namespace Pivot
