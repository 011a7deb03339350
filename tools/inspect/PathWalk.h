// The way along a path, from object to object by their records, in steps that are each done at once.
//
// A component is a step; where a key cannot be made from its text, each member whose key is compared with it is
// one. So a walk into a large collection can go on over turns of the agent's loop. The walk holds what it has
// reached. On the agent's one thread.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Pivot/CollectionIterator.h"
#include "Pivot/OpResult.h"
#include "Pivot/TypeRecords.h"
#include "tools/inspect/InspectPath.h"
#include "tools/inspect/Roots.h"

namespace Inlif {

// What a path leads to.
struct Place {
  // The object of which it is a field, and what keeps that alive; no field for a root.
  Pivot::OpResult owner;
  std::optional<Pivot::TypeView::Field> field;
  // A member of a collection or queue, not the field as a whole; its key, null for the ends of a queue and for
  // a key that could only be compared; and false for a key that is no member.
  bool isMember = false;
  std::shared_ptr<void const> key;
  bool present = true;
  // What stands there. Empty for a collection or queue as a whole, and for an operation.
  Pivot::OpResult value;

  // REQUIRES for both: there is a field.
  Pivot::TypeView type() const { return *owner.view(); }
  Pivot::AttributeRecord const& row() const { return *field->attribute; }
  bool isOf(Pivot::AttributeKind kind) const { return field && row().kind == kind; }
  // A collection or queue as a whole.
  bool isWhole() const {
    return !isMember && (isOf(Pivot::AttributeKind::collection) || isOf(Pivot::AttributeKind::queue));
  }
};

class PathWalk {
 public:
  enum class State { walking, found, refused };

  // mayMiss: the last component may be a key that is no member.
  PathWalk(std::vector<Root> roots, InspectPath path, bool mayMiss);

  State step();
  // REQUIRES: found.
  Place& place() { return place_; }
  std::string name() const { return path_.head(path_.components.size()); }
  // One line that names the component and what was expected. REQUIRES: refused.
  std::string const& refusal() const { return refusal_; }

 private:
  State root();
  State field();
  State member();
  State compareOn();
  State queueElement();
  State enter(Pivot::OpStatus status);
  State missing();
  State refuse(std::string const& what);
  std::string const& component() const { return detour_.empty() ? path_.components[at_] : detour_.back(); }
  bool isLast() const { return detour_.empty() && at_ + 1 == path_.components.size(); }
  std::string fieldNames(Pivot::TypeView const& type) const;
  std::string memberKeys() const;

  std::vector<Root> roots_;
  InspectPath path_;
  bool mayMiss_;
  std::size_t at_ = 0;
  Root const* root_ = nullptr;
  // What is left of the shortcut that the component stands for, the next step last.
  std::vector<std::string> detour_;
  Place place_;
  // While keys are compared with the component.
  std::unique_ptr<Vex::MemberWalk> compared_;
  State state_ = State::walking;
  std::string refusal_;
};

}  // namespace Inlif
