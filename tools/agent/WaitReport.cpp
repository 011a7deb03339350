#include "tools/agent/WaitReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>

#include "LoamInLif/InLifNInfraTypes.h"
#include "LoamInLif/InLifNSwTable.h"
#include "tools/agent/ResourceOperation.h"
#include "tools/json/EntryJson.h"
#include "tools/json/MemberNames.h"

namespace Inlif {
namespace {

using Asic::GroupResolver;
using Asic::OrderedSwTable;
using Asic::ResolverEntry;
using TableHandle = LoamTunnelNiLib::InLifModelSwTableBase::EntryHandle;

// A queued operation without the types of its instance.
struct Queued {
  LoamInLif::EntryWrapperCore const& wrapper;
  Asic::WaitCauses causes;
};

template <class I>
Queued queuedOf(ResolverEntry const& entry) {
  auto const& own = static_cast<typename I::ResolverEntry const&>(entry);
  return {*own.swTableEntry(), own.swTable()->waitCauses(own)};
}

Queued queued(OrderedSwTable const& table, ResolverEntry const& entry) {
  switch (tableIndex(table.tableId())) {
    case 0:
      return queuedOf<LoamInLif::InLif0>(entry);
    case 1:
      return queuedOf<LoamInLif::InLif1>(entry);
    default:
      return queuedOf<LoamInLif::InLif23>(entry);
  }
}

// Calls f(cause) for each resource that is waited for.
template <class F>
void forEachResource(Queued const& one, F f) {
  LoamInLif::forEachKind([&]<class Kind>() {
    if ((one.causes.resources >> LoamInLif::Kinds::indexOf<Kind>() & 1) == 0) return;
    f(Json{{"for", "resource"},
           {"resource", keyName<Kind>()},
           {"key", keyJson(one.wrapper.rsrcKeys().*Kind::keyField)},
           {"resourceTable", fmt::format("{}::{}", Kind::resourceNamespace, Kind::resourceTableName)},
           {"state", stateWord((one.wrapper.resourceHandles().*Kind::handleField)->entryState())},
           {"until", fmt::format("{} is done or has failed", keyName<Kind>())}});
  });
}

// The table in whose queue an operation of ours stands; null for one of another table.
TableHandle const* ours(Asic::DependencyEntryHandle const& dependency) {
  return dynamic_cast<TableHandle const*>(&dependency);
}

Json nameOf(OrderedSwTable const& table, ResolverEntry const& entry) {
  Json name = {{"table", tables()[tableIndex(table.tableId())].name}, {"unit", table.unitId()}};
  name["does"] = entry.isTableDeleted() ? "removeAll" : entry.isEntryDeleted() ? "remove" : "write";
  if (auto const key = queuedKey(table, entry)) name["key"] = *key;
  return name;
}

}  // namespace

std::optional<std::uint32_t> queuedKey(OrderedSwTable const& table, ResolverEntry const& entry) {
  if (entry.isTableDeleted()) return std::nullopt;
  auto const keyOf = [&]<class I>() {
    return static_cast<typename I::ResolverEntry const&>(entry).swTableEntry()->key().value();
  };
  switch (tableIndex(table.tableId())) {
    case 0:
      return keyOf.operator()<LoamInLif::InLif0>();
    case 1:
      return keyOf.operator()<LoamInLif::InLif1>();
    default:
      return keyOf.operator()<LoamInLif::InLif23>();
  }
}

Json WaitReport::operation(OrderedSwTable const& table, ResolverEntry const& entry) {
  GroupResolver const& resolver = *host_.group().groupResolver();
  GroupResolver::Head const first = resolver.head(&table);
  bool const isHead = first.entry.get() == &entry;
  Json out = nameOf(table, entry);
  out["ageMs"] = resolver.ageNanoseconds(entry) / 1'000'000;
  out["asked"] = isHead ? first.asked : 0;
  out["waitsFor"] = Json::array();
  if (!isHead && first.entry) out["waitsFor"].push_back({{"for", "queue"}, {"heldUpBy", head(table)}});
  for (Json& cause : causes(table, entry)) out["waitsFor"].push_back(std::move(cause));
  if (out["waitsFor"].empty())
    out["waitsFor"].push_back({{"for", "turn"}, {"until", "the agent's next turn"}});
  return out;
}

// What the operation waits for by itself.
Json WaitReport::causes(OrderedSwTable const& table, ResolverEntry const& entry) {
  Queued const one = queued(table, entry);
  Json out = Json::array();
  if (!one.causes.room.empty()) out.push_back(roomCause(table, one.causes.room));
  if (one.causes.dependency) out.push_back(dependencyCause(*entry.dependantEntryHandle()));
  forEachResource(one, [&](Json cause) { out.push_back(std::move(cause)); });
  return out;
}

Json const& WaitReport::head(OrderedSwTable const& table) {
  auto const known = heads_.find(&table);
  if (known != heads_.end()) return known->second;
  Json description = operation(table, *host_.group().groupResolver()->head(&table).entry);
  return heads_[&table] = std::move(description);
}

Json WaitReport::roomCause(OrderedSwTable const& table, std::string const& room) {
  TableFront const& front = host_.front(tableIndex(table.tableId()));
  return {{"for", "room"},
          {"table", front.info().name},
          {"unit", table.unitId()},
          {"why", room},
          {"until", fmt::format("clean-up makes room behind the writer of the hardware, which has taken {} "
                                "of {} versions",
                                front.cleaned(), front.written())}};
}

Json WaitReport::dependencyCause(Asic::DependencyEntryHandle const& dependency) {
  Json out = {{"for", "operation"}};
  TableHandle const* const handle = ours(dependency);
  if (handle == nullptr) {
    out["table"] = dependency.tableName();
  } else {
    out["table"] = tables()[tableIndex(handle->tableId())].name;
    out["unit"] = handle->swTable()->unitId();
    out["key"] = handle->key().value();
  }
  out["state"] = stateWord(dependency.entryState());
  out["until"] = "that operation commits or fails";
  if (handle != nullptr && host_.group().groupResolver()->queueLength(handle->swTable()) != 0)
    out["heldUpBy"] = head(*handle->swTable());
  return out;
}

Json WaitReport::root(GroupResolver::Head head) {
  for (;;) {
    Queued const one = queued(*head.queue, *head.entry);
    if (!one.causes.room.empty()) return roomCause(*head.queue, one.causes.room);
    Json resource;
    forEachResource(one, [&](Json cause) {
      if (resource.is_null()) resource = std::move(cause);
    });
    if (!resource.is_null()) return resource;
    if (!one.causes.dependency) return {{"for", "turn"}, {"until", "the agent's next turn"}};
    Asic::DependencyEntryHandle const& dependency = *head.entry->dependantEntryHandle();
    TableHandle const* const handle = ours(dependency);
    if (handle != nullptr) head = host_.group().groupResolver()->head(handle->swTable());
    if (handle == nullptr || !head.entry) return dependencyCause(dependency);
  }
}

void CauseCounts::add(GroupResolver::Head const& head, Json cause) {
  auto const [at, isNew] = places_.try_emplace(cause.dump(), causes_.size());
  if (isNew) causes_.push_back({0, 0, 0, std::move(cause), nameOf(*head.queue, *head.entry)});
  Cause& counted = causes_[at->second];
  counted.operations += head.queueLength;
  ++counted.queues;
  counted.oldestMs = std::max(counted.oldestMs, head.ageNanoseconds / 1'000'000);
}

Json CauseCounts::most(std::size_t limit) const {
  std::vector<Cause const*> order;
  for (Cause const& cause : causes_) order.push_back(&cause);
  std::ranges::stable_sort(order, std::ranges::greater(), &Cause::operations);
  if (order.size() > limit) order.resize(limit);
  Json out = Json::array();
  for (Cause const* cause : order) {
    out.push_back({{"operations", cause->operations},
                   {"queues", cause->queues},
                   {"oldestMs", cause->oldestMs},
                   {"cause", cause->cause},
                   {"first", cause->first}});
  }
  return out;
}

}  // namespace Inlif
