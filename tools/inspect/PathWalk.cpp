#include "tools/inspect/PathWalk.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>

#include "Pivot/RootRecords.h"
#include "tools/inspect/Values.h"

namespace Inlif {
namespace {

using Pivot::AttributeKind;
using Pivot::AttributeRecord;
using Pivot::OpCode;
using Pivot::OpResult;
using Pivot::OpStatus;
using Pivot::TypeView;

// Members that a refusal names.
constexpr int kMembersNamed = 8;

void append(std::string& list, std::string_view one) {
  if (!list.empty()) list += ", ";
  list += one;
}

// A key of the type from the text of a component; null when the text gives none.
std::shared_ptr<void> keyFrom(std::string const& text, Pivot::ValueType const& type) {
  Given from = std::string_view(text);
  Document fields;
  if (text.starts_with('{')) {
    if (!fields.parse(text).isOk()) return nullptr;
    from = fields.root();
  }
  std::shared_ptr<void> key;
  ObjectFinder const none = [](std::string const&, Pivot::Ptr<Pivot::Node>&) {
    return Pivot::Status::refused("a key holds no objects");
  };
  return makeValue(from, type, "key", none, key).isOk() ? key : nullptr;
}

OpResult ofNode(Pivot::Ptr<Pivot::Node> node) {
  OpResult result;
  Pivot::Inspect::opResEncRelNode(result, std::move(node));
  return result;
}

}  // namespace

PathWalk::PathWalk(std::vector<Root> roots, InspectPath path, bool mayMiss)
    : roots_(std::move(roots)), path_(std::move(path)), mayMiss_(mayMiss) {}

PathWalk::State PathWalk::step() {
  if (state_ != State::walking) return state_;
  if (at_ == path_.components.size()) return state_ = State::found;
  try {
    if (compared_) {
      state_ = compareOn();
    } else if (at_ == 0) {
      state_ = root();
    } else if (place_.isWhole()) {
      state_ = place_.isOf(AttributeKind::queue) ? queueElement() : member();
    } else {
      state_ = field();
    }
  } catch (std::exception const& failure) {
    state_ = refuse(failure.what());
  }
  return state_;
}

PathWalk::State PathWalk::refuse(std::string const& what) {
  refusal_ = fmt::format("path {}: {}", path_.head(at_ + 1), what);
  return State::refused;
}

PathWalk::State PathWalk::root() {
  auto const found = std::ranges::find(roots_, component(), &Root::name);
  if (found == roots_.end()) {
    std::string names;
    for (Root const& one : roots_) append(names, pathComponent(one.name));
    return refuse(fmt::format("there is no root \"{}\"; expected one of {}", component(), names));
  }
  root_ = &*found;
  place_.value = ofNode(root_->object);
  ++at_;
  return State::walking;
}

std::string PathWalk::fieldNames(TypeView const& type) const {
  std::string names;
  if (at_ == 1) {
    for (Root::Shortcut const& shortcut : root_->shortcuts) append(names, shortcut.name);
  }
  for (TypeView::Field const& one : type.fields()) {
    bool const isOperation = one.attribute->kind == AttributeKind::operation;
    append(names, fmt::format("{}{}", one.attribute->name, isOperation ? "()" : ""));
  }
  return names;
}

PathWalk::State PathWalk::field() {
  if (place_.isOf(AttributeKind::operation))
    return refuse(fmt::format("{} is an operation; expected the path to end there", place_.row().name));
  auto const type = place_.value.view();
  if (!type) {
    return refuse(fmt::format("{} is {}, which has no fields; expected the path to end there",
                              path_.head(at_), place_.value.text()));
  }
  if (at_ == 1 && detour_.empty()) {
    auto const shortcut = std::ranges::find(root_->shortcuts, component(), &Root::Shortcut::name);
    if (shortcut != root_->shortcuts.end()) detour_.assign(shortcut->path.rbegin(), shortcut->path.rend());
  }
  std::uint64_t id = 0;
  bool const byId = numberFrom(std::string_view(component()), id) && id <= UINT32_MAX;
  auto const found = byId ? type->field(static_cast<Pivot::FieldId>(id)) : type->field(component());
  if (!found) {
    std::string const names = fieldNames(*type);
    return refuse(fmt::format("{} has no field \"{}\"; expected {}", type->name(), component(),
                              names.empty() ? "the path to end there" : "one of " + names));
  }
  Place next;
  next.owner = std::move(place_.value);
  next.field = found;
  place_ = std::move(next);
  bool const isAttribute = place_.isOf(AttributeKind::stored) || place_.isOf(AttributeKind::computed);
  return enter(isAttribute ? place_.type().inspect(place_.value, place_.owner.object(), found->attribute->id,
                                                   OpCode::read)
                           : OpStatus::done);
}

// Goes on behind the component when what stands there was read.
PathWalk::State PathWalk::enter(OpStatus status) {
  if (status != OpStatus::done) return refuse(fmt::format("{} cannot be read", place_.row().name));
  if (!detour_.empty()) detour_.pop_back();
  if (detour_.empty()) ++at_;
  return State::walking;
}

PathWalk::State PathWalk::member() {
  std::shared_ptr<void> key = keyFrom(component(), *place_.row().keyType);
  TypeView const type = place_.type();
  if (!key) {
    compared_ = std::make_unique<Vex::MemberWalk>(type, place_.owner.object(), place_.row().id);
    return State::walking;
  }
  OpResult has;
  void* const object = place_.owner.object();
  OpStatus const status = type.inspect(has, object, place_.row().id, OpCode::has, key.get());
  bool const* const isMember = has.as<bool>();
  if (status != OpStatus::done || isMember == nullptr) return enter(OpStatus::notAvailable);
  place_.key = std::move(key);
  if (!*isMember) return missing();
  place_.isMember = true;
  return enter(type.inspect(place_.value, object, place_.row().id, OpCode::read, place_.key.get()));
}

PathWalk::State PathWalk::compareOn() {
  if (!*compared_) {
    compared_.reset();
    return missing();
  }
  OpResult key;
  compared_->key(key);
  if (wordOf(key) != component()) {
    compared_->inc();
    return State::walking;
  }
  compared_->object(place_.value);
  place_.isMember = true;
  auto const kept = std::make_shared<OpResult>(key);
  place_.key = std::shared_ptr<void const>(kept, kept->value());
  compared_.reset();
  return enter(OpStatus::done);
}

PathWalk::State PathWalk::queueElement() {
  void* const object = place_.owner.object();
  Pivot::FieldId const id = place_.row().id;
  TypeView const type = place_.type();
  place_.isMember = true;
  if (component() == "front") return enter(type.inspect(place_.value, object, id, OpCode::front));
  if (component() == "back") return enter(type.inspect(place_.value, object, id, OpCode::back));
  std::shared_ptr<void> key = keyFrom(component(), *place_.row().keyType);
  if (!key) return refuse("expected front, back or the index of an element");
  OpResult has;
  bool const asked = type.inspect(has, object, id, OpCode::has, key.get()) == OpStatus::done;
  place_.key = std::move(key);
  if (!asked || !has.as<bool>() || !*has.as<bool>()) return missing();
  return enter(type.inspect(place_.value, object, id, OpCode::read, place_.key.get()));
}

PathWalk::State PathWalk::missing() {
  if (mayMiss_ && isLast()) {
    place_.isMember = true;
    place_.present = false;
    return enter(OpStatus::done);
  }
  return refuse(
      fmt::format("{} has no member {}; expected {}", place_.row().name, component(), memberKeys()));
}

std::string PathWalk::memberKeys() const {
  OpResult result;
  if (place_.isOf(AttributeKind::queue)) return "front, back or the index of an element";
  TypeView const type = place_.type();
  std::string keys;
  int named = 0;
  Vex::MemberWalk walk(type, place_.owner.object(), place_.row().id);
  for (; walk && named < kMembersNamed; walk.inc(), ++named) {
    walk.key(result);
    append(keys, pathComponent(wordOf(result)));
  }
  if (keys.empty()) return "none, it is empty";
  if (!walk) return "one of " + keys;
  static_cast<void>(type.inspect(result, place_.owner.object(), place_.row().id, OpCode::count));
  return fmt::format("one of {}, ... ({} members)", keys, result.text());
}

}  // namespace Inlif
