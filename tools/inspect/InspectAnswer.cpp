#include "tools/inspect/InspectAnswer.h"

#include <fmt/format.h>

#include <exception>

#include "Vex/Assert.h"
#include "tools/inspect/PathWalk.h"
#include "tools/inspect/TreeWalk.h"
#include "tools/inspect/Values.h"

namespace Inlif {
namespace {

using Pivot::AttributeKind;
using Pivot::OpCode;
using Pivot::OpResult;
using Pivot::OpStatus;
using Pivot::Status;

// Steps to an object that is an argument: enough for any path whose keys can be made from their texts.
constexpr int kStepsToArgument = 256;

// What is to be done at the place.
enum class Action { show, count, has, write, remove, call };

ObjectFinder finderIn(std::vector<Root> const& roots) {
  return [&roots](std::string const& text, Pivot::Ptr<Pivot::Node>& object) {
    InspectPath path;
    Status status = InspectPath::parse(text, path);
    if (!status.isOk()) return status;
    PathWalk walk(roots, std::move(path), false);
    PathWalk::State state = PathWalk::State::walking;
    for (int i = 0; i < kStepsToArgument && state == PathWalk::State::walking; ++i) state = walk.step();
    if (state == PathWalk::State::refused) return Status::refused(walk.refusal());
    if (state == PathWalk::State::found) object = walk.place().value.node();
    if (!object)
      return Status::refused(fmt::format("path {} leads to no object that can be handed in", text));
    return Status::ok();
  };
}

Action actionFrom(ObjectReader& in, Value& values) {
  struct Known {
    char const* name;
    Action action;
  };
  Action action = Action::show;
  for (Known const& known :
       {Known{"count", Action::count}, Known{"has", Action::has}, Known{"remove", Action::remove},
        Known{"write", Action::write}, Known{"call", Action::call}}) {
    if (!in.has(known.name)) continue;
    if (action != Action::show) {
      in.refuse(fmt::format(
          "'{}' stands beside another action; expected one of count, has, write, remove, call", known.name));
    }
    bool const takesValues = known.action == Action::write || known.action == Action::call;
    if (takesValues)
      values = in.member(known.name);
    else if (!in.booleanOr(known.name, false))
      continue;
    action = known.action;
  }
  if (action == Action::call && !values.isArray())
    in.refuse(fmt::format("'call' is {}; expected an array of arguments", shown(values)));
  return action;
}

class Inspection final : public SteppedAnswer {
 public:
  Inspection(Asker asker, Action action, Value values, unsigned depth, std::vector<Root> roots,
             InspectPath path)
      : SteppedAnswer(std::move(asker)),
        action_(action),
        depth_(depth),
        roots_(std::move(roots)),
        tree_(path.components.empty() ? std::make_unique<TreeWalk>(roots_, depth) : nullptr),
        path_(roots_, std::move(path), action == Action::has || action == Action::write) {
    if (values) keep(values);
  }

 private:
  bool turn() override;
  void keep(Value values);
  bool act();
  Status perform(Json& answer);
  Status write(OpResult& result);
  Status call(OpResult& result);
  bool refused(std::string const& message) const { return refuse("inspect: " + message); }

  Action const action_;
  Document document_;          // of the operation, as far as it outlives its line
  std::vector<Given> values_;  // of write and call
  unsigned const depth_;
  std::vector<Root> const roots_;
  std::unique_ptr<TreeWalk> tree_;  // once the place has been found
  PathWalk path_;
  std::uint64_t nodes_ = 0;
};

// A single value counts as an array of one.
void Inspection::keep(Value values) {
  std::string const text(values.source());
  Status const status = document_.parse(values.isArray() ? text : "[" + text + "]");
  VEX_ASSERT_MSG(status.isOk(), "a part of what was read can be read", "{}", status.message());
  for (Value const value : document_.root()) values_.emplace_back(value);
}

bool Inspection::turn() {
  while (!tree_) {
    PathWalk::State const state = path_.step();
    if (state == PathWalk::State::refused) return refused(path_.refusal());
    if (state == PathWalk::State::found && act()) return true;
    if (sliceIsOver()) return false;
  }
  Json node;
  do {
    if (!tree_->step(node)) return complete({{"nodes", nodes_}});
    send(node);
    ++nodes_;
  } while (!sliceIsOver());
  return false;
}

// Does at the place what is to be done. Returns whether that was all; otherwise there is a tree to walk.
bool Inspection::act() {
  Json members = Json::object();
  Status status = Status::ok();
  try {
    status = perform(members);
  } catch (std::exception const& failure) {
    status = Status::refused(fmt::format("path {}: {}", path_.name(), failure.what()));
  }
  if (!status.isOk()) return refused(status.message());
  return !tree_ && complete(members);
}

Status Inspection::perform(Json& answer) {
  Place& place = path_.place();
  std::string const name = path_.name();
  auto const refused = [&name](std::string_view what) {
    return Status::refused(fmt::format("path {}: {}", name, what));
  };
  OpResult result;
  switch (action_) {
    case Action::show:
      if (place.isOf(AttributeKind::operation))
        return refused(
            fmt::format("is an operation; expected a call with ({})", argumentNames(place.row().arguments)));
      tree_ = std::make_unique<TreeWalk>(place, name, depth_);
      return Status::ok();
    case Action::count:
      if (!place.isWhole()) return refused("is no collection; expected one to count");
      if (place.type().inspect(result, place.owner.object(), place.row().id, OpCode::count) != OpStatus::done)
        return refused("cannot be counted");
      answer["count"] = leafJson(result);
      return Status::ok();
    case Action::has:
      if (place.key == nullptr && place.present)
        return refused("is no member by key; expected the path of a collection and a key");
      answer["has"] = place.present;
      return Status::ok();
    case Action::remove:
      if (place.key == nullptr)
        return refused("is no member by key; expected the path of a collection and a key");
      if (place.type().inspect(result, place.owner.object(), place.row().id, OpCode::remove,
                               place.key.get()) != OpStatus::done)
        return refused("cannot be removed through inspection");
      break;
    case Action::write: {
      Status status = write(result);
      if (!status.isOk()) return status;
      break;
    }
    case Action::call: {
      Status status = call(result);
      if (!status.isOk()) return status;
      break;
    }
  }
  // What came of it is shown like something found.
  place = Place();
  place.value = std::move(result);
  if (!place.value.empty()) tree_ = std::make_unique<TreeWalk>(place, "result", depth_);
  return Status::ok();
}

Status Inspection::write(OpResult& result) {
  Place const& place = path_.place();
  std::string const name = "path " + path_.name();
  if (!place.field || !place.row().writable || place.isWhole()) {
    return Status::refused(fmt::format(
        "{}: cannot be written; expected a writable attribute, or a member of a writable collection", name));
  }
  if (place.isMember && place.key == nullptr)
    return Status::refused(fmt::format("{}: its key cannot be made from a text", name));
  Pivot::AttributeRecord const& row = place.row();
  bool const isMade = row.arguments != nullptr;
  if (!isMade && values_.size() != 1)
    return Status::refused(fmt::format("{}: {} values given; expected one", name, values_.size()));
  ObjectFinder const find = finderIn(roots_);
  ArgumentValues arguments;
  std::shared_ptr<void> value;
  Status status = isMade ? arguments.make(values_, row.arguments, name, find)
                         : makeValue(values_.front(), *row.type, name, find, value);
  if (!status.isOk()) return status;
  void const* const given = isMade ? arguments.array() : value.get();
  if (place.type().inspect(result, place.owner.object(), row.id, OpCode::write, place.key.get(), given) ==
      OpStatus::done)
    return status;
  return Status::refused(fmt::format("{}: cannot be written through inspection", name));
}

Status Inspection::call(OpResult& result) {
  Place const& place = path_.place();
  std::string const name = "path " + path_.name();
  if (!place.isOf(AttributeKind::operation))
    return Status::refused(fmt::format("{}: is no operation; expected one to call", name));
  if (place.row().operate == nullptr)
    return Status::refused(fmt::format("{}: cannot be called through inspection", name));
  ArgumentValues arguments;
  Status status = arguments.make(values_, place.row().arguments, name, finderIn(roots_));
  if (!status.isOk()) return status;
  static_cast<void>(place.type().inspect(result, place.owner.object(), place.row().id, OpCode::call, nullptr,
                                         arguments.array()));
  return status;
}

}  // namespace

std::unique_ptr<SteppedAnswer> inspectAnswer(Asker asker, ObjectReader& in, std::vector<Root> roots) {
  std::string_view const text = in.text("path");
  auto const depth = static_cast<unsigned>(in.numberOr("depth", 1, kMostLevels));
  Value values;
  Action const action = actionFrom(in, values);
  InspectPath path;
  if (in.isOk()) {
    Status const status = InspectPath::parse(text, path);
    if (!status.isOk()) in.refuse(status.message());
  }
  if (in.isOk() && path.components.empty() && action != Action::show)
    in.refuse("path / is all roots, which can only be shown; expected the path of a field or a member");
  if (!in.finish().isOk()) return nullptr;
  return std::make_unique<Inspection>(std::move(asker), action, values, depth, std::move(roots),
                                      std::move(path));
}

}  // namespace Inlif
