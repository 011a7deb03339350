// What of steering is the same for every table, and the checks of a change.
#include "Bursar/Steering.h"

#include "Bursar/ResourceTable.h"
#include "Vex/Assert.h"

namespace BursarResourceTable {
namespace {

constexpr char kStates[] = "0 unresolved, 1 in log, 3 rejected, 4 done, 5 failed or 6 resolve failed";

std::uint64_t highestOfWidth(unsigned width) {
  return width >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << width) - 1;
}

// Whether an operation waits as long as its resource is in that state.
bool isPending(Asic::EntryState state) {
  return state == Asic::EntryState::entryStateUnresolved || state == Asic::EntryState::entryStateInLog;
}

}  // namespace

Steering::~Steering() = default;

Pivot::Status Steering::stateIs(KeyBytes key, Asic::EntryState state) {
  return steer(key, Change{.state = state, .value = {}, .needed = {}});
}
Pivot::Status Steering::valueIs(KeyBytes key, std::uint64_t value) {
  return steer(key, Change{.state = {}, .value = value, .needed = {}});
}
Pivot::Status Steering::neededVersionIs(KeyBytes key, Asic::TableVersion const& version) {
  return steer(key, Change{.state = {}, .value = {}, .needed = version});
}

std::uint32_t Steering::usersOf(KeyBytes key) const {
  std::optional<Report> const known = report(key);
  return known ? known->users : 0;
}

bool ResourceTable::isState(Asic::EntryState state) {
  switch (state) {
    case Asic::EntryState::entryStateUnresolved:
    case Asic::EntryState::entryStateInLog:
    case Asic::EntryState::entryStateRejected:
    case Asic::EntryState::entryStateDone:
    case Asic::EntryState::entryStateFailed:
    case Asic::EntryState::entryStateResolveFailed:
      return true;
  }
  return false;
}

Pivot::Status ResourceTable::checkState(Asic::EntryState state) {
  if (isState(state)) return Pivot::Status::ok();
  return Pivot::Status::refused(
      fmt::format("state {} is none of a resource; expected {}", static_cast<unsigned>(state), kStates));
}

Pivot::Status ResourceTable::checkChange(Change const& change) const {
  if (change.state) {
    if (Pivot::Status checked = checkState(*change.state); !checked) return checked;
  }
  std::uint64_t const highest = highestOfWidth(space_.width);
  if (change.value && *change.value > highest) {
    return Pivot::Status::refused(
        fmt::format("value {} does not fit in the {} bits of {}; expected at most {}", *change.value,
                    space_.width, name(), highest));
  }
  return Pivot::Status::ok();
}

Pivot::Status ResourceTable::steer(KeyBytes key, Change const& change) {
  if (key.size() != keyWidth()) {
    return Pivot::Status::refused(
        fmt::format("a key of {} bytes is none of {}; expected {}", key.size(), name(), keyWidth()));
  }
  if (Pivot::Status checked = checkChange(change); !checked) return checked;
  Pivot::Ptr<ResourceHandle> const handle = findOrMake(key);
  if ((handle->marks_ & ResourceHandle::kExhausted) != 0) {
    return Pivot::Status::refused(fmt::format("key {} of {} has no value to steer; all {} are handed out",
                                              keyText(key), name(), capacity_));
  }
  handle->marks_ |= ResourceHandle::kSteered;
  Asic::EntryState const state = change.state.value_or(handle->state_);
  std::uint64_t const value = change.value.value_or(handle->value_);
  bool const needsMore =
      change.needed && handle->neededEntry()->version(change.needed->tableId()) < change.needed->logVersion();
  bool const isOver = isPending(handle->state_) && !isPending(state);
  if (state == handle->state_ && value == handle->value_ && !needsMore) return Pivot::Status::ok();

  handle->state_ = state;
  if (value != handle->value_) {
    handle->seldom().allocated = allocatedOf(*handle);
    handle->value_ = value;
  }
  if (needsMore) {
    auto needs = Pivot::make<Asic::NeededEntry>();
    needs->merge(handle->neededEntry());
    needs->add(*change.needed);
    handle->seldom().needs = needs;
  }
  // The record is there already and is replaced in place; a store without room has room for that.
  Pivot::Status const saved = save(*handle);
  VEX_ASSERT_MSG(saved.isOk(), "saved.isOk()", "{}", saved.message());
  if (isOver) surroundings_.resourceSettled();
  publishChange(*handle);
  return Pivot::Status::ok();
}

Pivot::Status ResourceTable::defaultStateIs(Asic::EntryState state) {
  if (Pivot::Status checked = checkState(state); !checked) return checked;
  defaultState_ = state;
  return Pivot::Status::ok();
}

Pivot::Status ResourceTable::capacityIs(std::uint64_t keys) {
  if (keys > space_.maxKeys) {
    return Pivot::Status::refused(fmt::format("{} has at most {} values; a capacity of {} is beyond them",
                                              name(), space_.maxKeys, keys));
  }
  capacity_ = keys;
  retryExhausted();
  return Pivot::Status::ok();
}

std::optional<Steering::Report> ResourceTable::report(KeyBytes key) const {
  ResourceHandle const* handle = find(key);
  if (handle == nullptr) return std::nullopt;
  return reportOf(*handle);
}

Steering::Report ResourceTable::reportOf(ResourceHandle const& handle) const {
  return Report{.state = handle.state_,
                .value = handle.value_,
                .updateVersion = handle.updateVersion_,
                .ackedVersion = handle.ackedVersion_,
                .ackedBy = handle.ackedBy(),
                .users = liveUsers(handle),
                .postRelease = handle.isPostReleaseProtoState(),
                .unclaimed = (handle.marks_ & ResourceHandle::kUnclaimed) != 0};
}

}  // namespace BursarResourceTable
