#include "tools/inspect/Inspections.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>

namespace Inlif {
namespace {

using Pivot::AttributeKind;
using Pivot::OpCode;
using Pivot::OpResult;
using Pivot::OpStatus;
using Pivot::Status;

// What all inspections together take of one turn.
constexpr std::chrono::microseconds kSlice{1000};
// How long one waits for its channel before it looks again.
constexpr std::chrono::milliseconds kPause{10};
constexpr unsigned kMostDepth = 64;
// Steps to an object that is an argument: enough for any path whose keys can be made from their texts.
constexpr int kStepsToArgument = 256;

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

}  // namespace

Inspections::Action Inspections::actionFrom(ObjectReader& in, Json& values) {
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
      values = *in.member(known.name);
    else if (!in.booleanOr(known.name, false))
      continue;
    action = known.action;
  }
  if (action == Action::call && !values.is_array())
    in.refuse(fmt::format("'call' is {}; expected an array of arguments", shown(values)));
  return action;
}

void Inspections::begin(ChannelNumber channel, Json const& id, ObjectReader& in, std::vector<Root> roots) {
  std::string const text = in.text("path");
  auto const depth = static_cast<unsigned>(in.numberOr("depth", 1, kMostDepth));
  Json values;
  Action const action = actionFrom(in, values);
  InspectPath path;
  if (in.isOk()) {
    Status const status = InspectPath::parse(text, path);
    if (!status.isOk()) in.refuse(status.message());
  }
  if (in.isOk() && path.components.empty() && action != Action::show)
    in.refuse("path / is all roots, which can only be shown; expected the path of a field or a member");
  if (!in.finish().isOk()) return;
  bool const mayMiss = action == Action::has || action == Action::write;
  std::unique_ptr<TreeWalk> tree;
  if (path.components.empty()) tree = std::make_unique<TreeWalk>(roots, depth);
  PathWalk walk(roots, std::move(path), mayMiss);
  running_.push_back(
      {channel, id, action, std::move(values), depth, std::move(roots), std::move(walk), std::move(tree), 0});
}

bool Inspections::holds(ChannelNumber channel) const {
  return std::ranges::any_of(running_, [channel](Inspection const& one) { return one.channel == channel; });
}

void Inspections::channelGone(ChannelNumber channel) {
  running_.remove_if([channel](Inspection const& one) { return one.channel == channel; });
}

bool Inspections::turn() {
  if (running_.empty()) return false;
  auto const slice = kSlice / running_.size();
  std::size_t const ended =
      running_.remove_if([&](Inspection& one) { return goOn(one, Clock::now() + slice); });
  // Whoever was answered may have more to say.
  return ended > 0 || std::ranges::any_of(
                          running_, [this](Inspection const& one) { return !outlet_.isFull(one.channel); });
}

Inspections::Clock::time_point Inspections::nextDeadline() const {
  bool const waits =
      std::ranges::any_of(running_, [this](Inspection const& one) { return outlet_.isFull(one.channel); });
  return waits ? Clock::now() + kPause : Clock::time_point::max();
}

bool Inspections::goOn(Inspection& inspection, Clock::time_point until) {
  while (!inspection.tree) {
    PathWalk::State const state = inspection.path.step();
    if (state == PathWalk::State::refused) return refuse(inspection, inspection.path.refusal());
    if (state == PathWalk::State::found && act(inspection)) return true;
    if (Clock::now() >= until) return false;
  }
  Json node;
  do {
    if (outlet_.isFull(inspection.channel)) return false;
    if (!inspection.tree->step(node)) return answer(inspection, {{"nodes", inspection.nodes}});
    Json message = {{"id", inspection.id}};
    message.update(node);
    outlet_.send(inspection.channel, message);
    ++inspection.nodes;
  } while (Clock::now() < until);
  return false;
}

// Does at the place what is to be done. Returns whether that was all; otherwise there is a tree to walk.
bool Inspections::act(Inspection& inspection) {
  Json members = Json::object();
  Status status = Status::ok();
  try {
    status = perform(inspection, members);
  } catch (std::exception const& failure) {
    status = Status::refused(fmt::format("path {}: {}", inspection.path.name(), failure.what()));
  }
  if (!status.isOk()) return refuse(inspection, status.message());
  return !inspection.tree && answer(inspection, std::move(members));
}

Status Inspections::perform(Inspection& inspection, Json& answer) const {
  Place& place = inspection.path.place();
  std::string const name = inspection.path.name();
  auto const refused = [&name](std::string_view what) {
    return Status::refused(fmt::format("path {}: {}", name, what));
  };
  OpResult result;
  switch (inspection.action) {
    case Action::show:
      if (place.isOf(AttributeKind::operation))
        return refused(
            fmt::format("is an operation; expected a call with ({})", argumentNames(place.row().arguments)));
      inspection.tree = std::make_unique<TreeWalk>(place, name, inspection.depth);
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
      Status status = write(inspection, result);
      if (!status.isOk()) return status;
      break;
    }
    case Action::call: {
      Status status = call(inspection, result);
      if (!status.isOk()) return status;
      break;
    }
  }
  // What came of it is shown like something found.
  place = Place();
  place.value = std::move(result);
  if (!place.value.empty()) inspection.tree = std::make_unique<TreeWalk>(place, "result", inspection.depth);
  return Status::ok();
}

Status Inspections::write(Inspection& inspection, OpResult& result) const {
  Place const& place = inspection.path.place();
  std::string const name = "path " + inspection.path.name();
  if (!place.field || !place.row().writable || place.isWhole()) {
    return Status::refused(fmt::format(
        "{}: cannot be written; expected a writable attribute, or a member of a writable collection", name));
  }
  if (place.isMember && place.key == nullptr)
    return Status::refused(fmt::format("{}: its key cannot be made from a text", name));
  Pivot::AttributeRecord const& row = place.row();
  bool const isMade = row.arguments != nullptr;
  Json values = inspection.values;
  if (isMade && !values.is_array()) values = Json::array({values});
  if (!isMade && values.is_array() && values.size() == 1) values = Json(values.front());
  ObjectFinder const find = finderIn(inspection.roots);
  ArgumentValues arguments;
  std::shared_ptr<void> value;
  Status status = isMade ? arguments.make(values, row.arguments, name, find)
                         : makeValue(values, *row.type, name, find, value);
  if (!status.isOk()) return status;
  void const* const given = isMade ? arguments.array() : value.get();
  if (place.type().inspect(result, place.owner.object(), row.id, OpCode::write, place.key.get(), given) ==
      OpStatus::done)
    return status;
  return Status::refused(fmt::format("{}: cannot be written through inspection", name));
}

Status Inspections::call(Inspection& inspection, OpResult& result) const {
  Place const& place = inspection.path.place();
  std::string const name = "path " + inspection.path.name();
  if (!place.isOf(AttributeKind::operation))
    return Status::refused(fmt::format("{}: is no operation; expected one to call", name));
  if (place.row().operate == nullptr)
    return Status::refused(fmt::format("{}: cannot be called through inspection", name));
  ArgumentValues arguments;
  Status status = arguments.make(inspection.values, place.row().arguments, name, finderIn(inspection.roots));
  if (!status.isOk()) return status;
  static_cast<void>(place.type().inspect(result, place.owner.object(), place.row().id, OpCode::call, nullptr,
                                         arguments.array()));
  return status;
}

bool Inspections::answer(Inspection const& inspection, Json members) {
  Json message = {{"id", inspection.id}, {"ok", true}};
  message.update(members);
  outlet_.send(inspection.channel, message);
  return true;
}

bool Inspections::refuse(Inspection const& inspection, std::string const& message) {
  outlet_.send(inspection.channel, {{"id", inspection.id}, {"ok", false}, {"error", "inspect: " + message}});
  return true;
}

}  // namespace Inlif
