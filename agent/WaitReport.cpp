#include "agent/WaitReport.h"

#include <algorithm>
#include <functional>
#include <span>

#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/InLifNInfraTypes.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/Kinds.h"

namespace LoamAgent {
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

Queued queued(OrderedSwTable const& table, ResolverEntry const& entry) {
  return LoamInLif::withInstance(LoamInLif::groupInfo().indexOf(table.tableId()), [&]<class I>() -> Queued {
    auto const& own = static_cast<typename I::ResolverEntry const&>(entry);
    return {*own.swTableEntry(), own.swTable()->waitCauses(own)};
  });
}

// Calls f(cause) for each resource that is waited for.
template <class F>
void forEachResource(Queued const& one, F f) {
  LoamInLif::forEachKind([&]<class Kind>() {
    constexpr std::size_t kind = LoamInLif::Kinds::indexOf<Kind>();
    if ((one.causes.resources >> kind & 1) == 0) return;
    auto const bytes = std::as_bytes(std::span(&(one.wrapper.rsrcKeys().*Kind::keyField), 1));
    f(WaitsForResource{kind,
                       {bytes.begin(), bytes.end()},
                       (one.wrapper.resourceHandles().*Kind::handleField)->entryState()});
  });
}

// The handle of an operation in whose queue one can look; null for one of another table, and of a table that has ended.
TableHandle const* ours(Asic::DependencyEntryHandle const& dependency) {
  auto const* const handle = dynamic_cast<TableHandle const*>(&dependency);
  return handle != nullptr && handle->swTable() != nullptr ? handle : nullptr;
}

UnitPlace placeOf(OrderedSwTable const& table) {
  return {LoamInLif::groupInfo().indexOf(table.tableId()), table.unitId()};
}

}  // namespace

QueuedOperation queuedOperation(OrderedSwTable const& table, ResolverEntry const& entry) {
  using Does = QueuedOperation::Does;
  UnitPlace const place = placeOf(table);
  if (entry.isTableDeleted()) return {place, Does::removeAll, std::nullopt};
  std::uint32_t const key = LoamInLif::withInstance(place.table, [&]<class I>() {
    return static_cast<typename I::ResolverEntry const&>(entry).swTableEntry()->key().value();
  });
  return {place, entry.isEntryDeleted() ? Does::remove : Does::write, key};
}

WaitingOperation WaitReport::operation(OrderedSwTable const& table, ResolverEntry const& entry) {
  GroupResolver const& resolver = *host_.group().groupResolver();
  GroupResolver::Head const first = resolver.head(&table);
  bool const isHead = first.entry.get() == &entry;
  WaitingOperation out{
      queuedOperation(table, entry), resolver.ageNanoseconds(entry), isHead ? first.asked : 0, {}};
  if (!isHead && first.entry) out.waitsFor.push_back({WaitsForQueue(), head(table)});
  addCauses(table, entry, out.waitsFor);
  if (out.waitsFor.empty()) out.waitsFor.emplace_back();
  return out;
}

// What the operation waits for by itself.
void WaitReport::addCauses(OrderedSwTable const& table, ResolverEntry const& entry,
                           std::vector<WaitCause>& causes) {
  Queued const one = queued(table, entry);
  if (!one.causes.room.empty()) causes.push_back(roomCause(table, one.causes.room));
  if (one.causes.dependency) causes.push_back(dependencyCause(*entry.dependantEntryHandle()));
  forEachResource(one, [&](WaitsForResource resource) { causes.push_back({std::move(resource), nullptr}); });
}

std::shared_ptr<WaitingOperation const> const& WaitReport::head(OrderedSwTable const& table) {
  auto const known = heads_.find(&table);
  if (known != heads_.end()) return known->second;
  auto description = std::make_shared<WaitingOperation const>(
      operation(table, *host_.group().groupResolver()->head(&table).entry));
  return heads_[&table] = std::move(description);
}

WaitCause WaitReport::roomCause(OrderedSwTable const& table, std::string const& why) {
  UnitPlace const place = placeOf(table);
  TableFront const& front = host_.front(place.table);
  return {WaitsForRoom{place, why, front.cleaned(), front.written()}, nullptr};
}

WaitCause WaitReport::dependencyCause(Asic::DependencyEntryHandle const& dependency) {
  WaitCause cause;
  WaitsForOperation operation;
  operation.state = dependency.entryState();
  TableHandle const* const handle = ours(dependency);
  if (handle == nullptr) {
    operation.tableName = dependency.tableName();
  } else {
    operation.place = placeOf(*handle->swTable());
    operation.tableName = operation.place->tableName();
    operation.key = handle->key().value();
    if (host_.group().groupResolver()->queueLength(handle->swTable()) != 0)
      cause.heldUpBy = head(*handle->swTable());
  }
  cause.what = std::move(operation);
  return cause;
}

WaitCause WaitReport::root(GroupResolver::Head head) {
  for (;;) {
    Queued const one = queued(*head.queue, *head.entry);
    if (!one.causes.room.empty()) return roomCause(*head.queue, one.causes.room);
    std::optional<WaitsForResource> first;
    forEachResource(one, [&](WaitsForResource resource) {
      if (!first) first = std::move(resource);
    });
    if (first) return {*std::move(first), nullptr};
    if (!one.causes.dependency) return {};
    Asic::DependencyEntryHandle const& dependency = *head.entry->dependantEntryHandle();
    TableHandle const* const handle = ours(dependency);
    if (handle != nullptr) head = host_.group().groupResolver()->head(handle->swTable());
    if (handle == nullptr || !head.entry) return dependencyCause(dependency);
  }
}

void CauseCounts::add(GroupResolver::Head const& head, WaitCause cause) {
  auto const [at, isNew] = places_.try_emplace(std::move(cause), causes_.size());
  if (isNew) causes_.push_back({0, 0, 0, at->first, queuedOperation(*head.queue, *head.entry)});
  Cause& counted = causes_[at->second];
  counted.operations += head.queueLength;
  ++counted.queues;
  counted.oldestNanoseconds = std::max(counted.oldestNanoseconds, head.ageNanoseconds);
}

std::vector<CauseCounts::Cause> CauseCounts::most(std::size_t limit) const {
  std::vector<Cause> order = causes_;
  std::ranges::stable_sort(order, std::ranges::greater(), &Cause::operations);
  if (order.size() > limit) order.resize(limit);
  return order;
}

}  // namespace LoamAgent
