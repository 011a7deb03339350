#include "tools/agent/operations/WaitJson.h"

#include <fmt/format.h>

#include <cstring>

#include "LoamInLif/Kinds.h"
#include "tools/agent/operations/ResourceAnswer.h"
#include "tools/agent/operations/Target.h"
#include "tools/json/EntryJson.h"
#include "tools/json/MemberNames.h"

namespace Inlif {
namespace {

using namespace LoamAgent;

Json nameOf(QueuedOperation const& operation) {
  using Does = QueuedOperation::Does;
  Json name = placeJson(operation.place);
  name["does"] = operation.does == Does::removeAll ? "removeAll"
                 : operation.does == Does::remove  ? "remove"
                                                   : "write";
  if (operation.key) name["key"] = *operation.key;
  return name;
}

Json causeOf(WaitsForTurn const&) {
  return {{"for", "turn"}, {"until", "the agent's next turn"}};
}

Json causeOf(WaitsForQueue const&) {
  return {{"for", "queue"}};
}

Json causeOf(WaitsForRoom const& room) {
  Json out = placeJson(room.place);
  out.update(
      {{"for", "room"},
       {"why", room.why},
       {"until",
        fmt::format("clean-up makes room behind the writer of the hardware; it has come to version {} of {}",
                    room.cleaned, room.written)}});
  return out;
}

Json causeOf(WaitsForResource const& resource) {
  Json out;
  LoamInLif::forEachKind([&]<class Kind>() {
    if (resource.kind != LoamInLif::Kinds::indexOf<Kind>()) return;
    typename Kind::Key key;
    std::memcpy(static_cast<void*>(&key), resource.key.data(), sizeof key);
    out = {{"for", "resource"},
           {"resource", keyName<Kind>()},
           {"key", keyJson(key)},
           {"resourceTable", fmt::format("{}::{}", Kind::resourceNamespace, Kind::resourceTableName)},
           {"state", stateWord(resource.state)},
           {"until", fmt::format("{} is done or has failed", keyName<Kind>())}};
  });
  return out;
}

Json causeOf(WaitsForOperation const& operation) {
  Json out = {{"for", "operation"},
              {"table", operation.tableName},
              {"state", stateWord(operation.state)},
              {"until", "that operation commits or fails"}};
  if (operation.place) {
    out["unit"] = operation.place->unit;
    out["key"] = operation.key;
  }
  return out;
}

}  // namespace

Json WaitJson::operation(WaitingOperation const& operation) {
  Json out = nameOf(operation);
  out["ageMs"] = operation.ageNanoseconds / 1'000'000;
  out["asked"] = operation.asked;
  Json& causes = out["waitsFor"] = Json::array();
  for (WaitCause const& one : operation.waitsFor) causes.push_back(cause(one));
  return out;
}

Json WaitJson::cause(WaitCause const& cause) {
  Json out = std::visit([](auto const& one) { return causeOf(one); }, cause.what);
  if (cause.heldUpBy) out["heldUpBy"] = head(cause.heldUpBy);
  return out;
}

// A head is made whole before it is kept: on the way others may be.
Json const& WaitJson::head(std::shared_ptr<WaitingOperation const> const& head) {
  if (head != last_) {
    Json made = operation(*head);
    last_ = head;
    lastJson_ = std::move(made);
  }
  return lastJson_;
}

Json WaitJson::causes(std::vector<CauseCounts::Cause> const& causes) {
  Json out = Json::array();
  for (CauseCounts::Cause const& one : causes) {
    out.push_back({{"operations", one.operations},
                   {"queues", one.queues},
                   {"oldestMs", one.oldestNanoseconds / 1'000'000},
                   {"cause", cause(one.cause)},
                   {"oldest", nameOf(one.first)}});
  }
  return out;
}

}  // namespace Inlif
