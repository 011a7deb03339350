#include "Bursar/ResourceTable.h"

#include <algorithm>

#include "Vex/Assert.h"

namespace BursarResourceTable {
namespace {

Vex::TraceHandle const trace("BursarResourceTable");

// A release looks for keys to free once in so many, so that a table whose loop is not polled does not grow
// for ever; a refused request looks at so many.
constexpr std::size_t kReleasesPerLook = 64;

}  // namespace

ResourceTable::ResourceTable(Pivot::Ptr<Asic::CanonicalTableName const> name, ValueSpace const& space,
                             Surroundings& surroundings)
    : NamedSwTable(std::move(name)), space_(space), surroundings_(surroundings), capacity_(space.maxKeys) {}

ResourceTable::~ResourceTable() = default;

// ---- clients

ResourceTable::ClientId ResourceTable::makeClient() {
  clientLives_.push_back(true);
  return static_cast<ClientId>(clientLives_.size() - 1);
}

void ResourceTable::clientGone(ClientId client) {
  clientLives_[client] = false;
}

std::uint32_t ResourceTable::liveUsers(ResourceHandle const& handle) const {
  std::uint32_t live = 0;
  for (ClientId const client : handle.users_) live += clientLives_[client] ? 1 : 0;
  return live;
}

// ---- handing out

bool ResourceTable::allocate(ResourceHandle& handle) {
  if (handedOut_ >= capacity_ && !makeRoom()) return false;
  std::uint64_t const gone = freed_.empty() ? 0 : freed_.front();
  if (!space_.allocated) {
    handle.value_ = computed(handle);
  } else {
    handle.value_ = gone != 0 ? gone : highest_ + 1;
  }
  handle.state_ = defaultState_;
  if (Pivot::Status saved = save(handle); !saved) {
    VEX_TRACE(trace, 1, "{}: nothing is handed out: {}", name(), saved.message());
    withoutValue(handle);
    return false;
  }
  // Nothing has been taken before the store had it, so a refusal has nothing to give back.
  ++handedOut_;
  if (gone != 0) {
    freed_.pop_front();
  } else if (space_.allocated) {
    ++highest_;
  }
  return true;
}

void ResourceTable::handOut(ResourceHandle& handle) {
  if (!allocate(handle)) fail(handle);
}

void ResourceTable::withoutValue(ResourceHandle& handle) const {
  handle.state_ = Asic::EntryState::entryStateFailed;
  handle.value_ = space_.noValue;
}

void ResourceTable::fail(ResourceHandle& handle) {
  withoutValue(handle);
  handle.marks_ |= ResourceHandle::kExhausted;
  ++exhausted_;
  if (fullTold_) return;
  fullTold_ = true;
  VEX_TRACE(trace, 1, "{}: a key finds no value, {} of {} are handed out", name(), handedOut_, capacity_);
}

void ResourceTable::tellUnsaved(Pivot::Status const& why) const {
  VEX_TRACE(trace, 1, "{}: a key is not saved again after damage: {}", name(), why.message());
}

void ResourceTable::reconsider(ResourceHandle& handle) {
  bool changes = false;
  handle.marks_ &= static_cast<std::uint8_t>(~ResourceHandle::kUnclaimed);
  if ((handle.marks_ & ResourceHandle::kPostRelease) != 0) {
    leaveFreeing(handle);
    changes = true;
  }
  if ((handle.marks_ & ResourceHandle::kExhausted) != 0 && allocate(handle)) {
    handle.marks_ &= static_cast<std::uint8_t>(~ResourceHandle::kExhausted);
    --exhausted_;
    changes = true;
  }
  if (changes) publishChange(handle);
}

void ResourceTable::retryExhausted() {
  roomCame_ = false;
  if (exhausted_ == 0 || handedOut_ >= capacity_) return;
  std::vector<Pivot::Ptr<ResourceHandle>> waiting;
  waiting.reserve(exhausted_);
  each([&](ResourceHandle& handle) {
    if ((handle.marks_ & ResourceHandle::kExhausted) != 0) waiting.emplace_back(&handle);
  });
  for (Pivot::Ptr<ResourceHandle> const& handle : waiting) {
    // Whoever was told of one before it may have changed it.
    if ((handle->marks_ & ResourceHandle::kExhausted) == 0) continue;
    // Two counts are the table's and this list's: nobody wants the key any more.
    if (handle->useCount() == 2) {
      if (idle(*handle)) free(*handle);
      continue;
    }
    if (handedOut_ >= capacity_) return;
    reconsider(*handle);
    // The store has no room, and has none for the next one either.
    if ((handle->marks_ & ResourceHandle::kExhausted) != 0) return;
  }
}

// ---- use

void ResourceTable::acked(ResourceHandle& handle, ClientId client, std::uint32_t updateVersion,
                          Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependency) {
  // A key comes back to life without a word when it is acknowledged: it has no user to tell but the one who
  // says so.
  if ((handle.marks_ & ResourceHandle::kPostRelease) != 0) leaveFreeing(handle);
  handle.marks_ &= static_cast<std::uint8_t>(~ResourceHandle::kUnclaimed);
  handle.users_.set(client);
  handle.ackedVersion_ = updateVersion;
  if (!dependency) return;
  Asic::TableVersion const version = dependency->entryTableVersion();
  handle.ackedTable_ = version.tableId();
  handle.ackedLogVersion_ = version.logVersion();
  if (version.logVersion() == Asic::LogVersion{}) {
    handle.seldom().ackedThrough = dependency;
  } else if (handle.seldom_) {
    handle.seldom_->ackedThrough = nullptr;
  }
}

void ResourceTable::released(ResourceHandle& handle, ClientId client,
                             Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependency) {
  handle.users_.erase(client);
  if (liveUsers(handle) != 0) return;
  handle.users_.clear();
  enterFreeing(handle, gateOf(dependency));
  if (waiting_ % kReleasesPerLook == 0) freeSome(2 * kReleasesPerLook, true);
  publishChange(handle);
}

// H1: whoever is told finds the change complete. A subscriber may drop the last count from without.
void ResourceTable::publishChange(ResourceHandle& handle) {
  Pivot::Ptr<ResourceHandle> const kept(&handle);
  ++handle.updateVersion_;
  handle.publisher_.publish(ResourceHandle::kFieldChange);
}

// ---- freeing

ResourceTable::Gate ResourceTable::gateOf(
    Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependency) const {
  Gate gate;
  if (!dependency) {
    gate.published = surroundings_.published();
  } else if (gate.version = dependency->entryTableVersion();
             gate.version.logVersion() == Asic::LogVersion{}) {
    // A remove-all releases before its record is written: the version is still to come.
    gate.dependency = dependency;
  }
  return gate;
}

// R1.
bool ResourceTable::isGateOpen(Gate& gate) const {
  if (gate.dependency) {
    gate.version = gate.dependency->entryTableVersion();
    if (gate.version.logVersion() == Asic::LogVersion{}) {
      if (gate.dependency->entryState() == Asic::EntryState::entryStateUnresolved) return false;
      // It ended without a record. What the key was used for before may still be on its way.
      gate.published = surroundings_.published();
    }
    gate.dependency = nullptr;
  }
  if (!gate.published) return surroundings_.isTaken(gate.version);
  return std::ranges::all_of(gate.published->versions(), [this](Asic::TableVersion const& version) {
    return surroundings_.isTaken(version);
  });
}

void ResourceTable::enterFreeing(ResourceHandle& handle, Gate gate) {
  if (handle.isPostReleaseProtoState()) leaveFreeing(handle);
  handle.marks_ |= ResourceHandle::kPostRelease;
  pushFreeing(handle, std::move(gate));
  ++waiting_;
}

void ResourceTable::pushFreeing(ResourceHandle& handle, Gate gate) {
  handle.freeingPlace_ = firstPlace_ + static_cast<std::uint32_t>(freeing_.size());
  freeing_.push_back(Freeing{&handle, std::move(gate)});
}

void ResourceTable::leaveFreeing(ResourceHandle& handle) {
  std::uint32_t const at = handle.freeingPlace_ - firstPlace_;
  freeing_[at] = Freeing{};
  --waiting_;
  handle.marks_ &= static_cast<std::uint8_t>(~ResourceHandle::kPostRelease);
  while (!freeing_.empty() && freeing_.front().handle == nullptr) {
    freeing_.pop_front();
    ++firstPlace_;
  }
  if (freeing_.size() > 2 * waiting_ + kReleasesPerLook) compactFreeing();
}

// Keys that come and go behind a closed gate would leave nulls without end.
void ResourceTable::compactFreeing() {
  std::erase_if(freeing_, [](Freeing const& each) { return each.handle == nullptr; });
  std::uint32_t place = firstPlace_;
  for (Freeing const& each : freeing_) each.handle->freeingPlace_ = place++;
}

// Looks at no more than `budget` of the keys that wait, and at each once. Gates open roughly in the order in
// which they were set, so a look from the loop ends at the first closed one.
std::size_t ResourceTable::freeSome(std::size_t budget, bool endAtClosedGate) {
  std::size_t freed = 0;
  for (std::size_t looks = std::min(budget, freeing_.size()); looks > 0; --looks) {
    Freeing front = std::move(freeing_.front());
    ResourceHandle* const handle = front.handle;
    if (handle != nullptr) {
      // R2, R3: such a key says nothing about the gates behind it.
      bool const claimed =
          handle->useCount() > 1 || (!swept_ && (handle->marks_ & ResourceHandle::kEarlierLife) != 0);
      if (claimed || !isGateOpen(front.gate)) {
        if (endAtClosedGate && !claimed) {
          freeing_.front() = std::move(front);
          break;
        }
        freeing_.pop_front();
        ++firstPlace_;
        pushFreeing(*handle, std::move(front.gate));
        continue;
      }
    }
    freeing_.pop_front();
    ++firstPlace_;
    if (handle == nullptr) continue;
    --waiting_;
    free(*handle);
    ++freed;
  }
  return freed;
}

void ResourceTable::free(ResourceHandle& handle) {
  if ((handle.marks_ & ResourceHandle::kExhausted) != 0) {
    --exhausted_;
    forget(handle);
    return;
  }
  std::uint64_t const allocated = allocatedOf(handle);
  // R4: out of the store before the value can be handed out again.
  forget(handle);
  if (allocated != 0) freed_.push_back(allocated);
  --handedOut_;
  roomCame_ = true;
  // A table that stays nearly full says so once, not at each key.
  if (handedOut_ < capacity_ / 2) fullTold_ = false;
}

// A full table looks for room: among the keys that were released first at once, and among all keys, also
// those that were asked for and never used, as often as their number allows without making every refusal a
// walk over all of them.
bool ResourceTable::makeRoom() {
  freeSome(kReleasesPerLook, true);
  if (handedOut_ < capacity_) return true;
  if (refusedSinceLook_++ % (1 + entrys() / 16) != 0) return false;
  collectIdle();
  freeSome(freeing_.size(), false);
  return handedOut_ < capacity_;
}

// A key that nobody uses, that does not wait to be freed, and for which nobody is to come.
bool ResourceTable::idle(ResourceHandle const& handle) const {
  return !handle.isPostReleaseProtoState() && liveUsers(handle) == 0 &&
         (handle.marks_ & (ResourceHandle::kUnclaimed | ResourceHandle::kSteered)) == 0;
}

// An idle key that nobody holds was asked for by writes that came to nothing.
void ResourceTable::freeIdle(ResourceHandle& handle, Gate const& gate) {
  if (handle.useCount() != 1 || !idle(handle)) return;
  enterFreeing(handle, (handle.marks_ & ResourceHandle::kExhausted) != 0 ? Gate() : gate);
}

void ResourceTable::collectIdle() {
  Gate const gate = gateOf(nullptr);
  each([&](ResourceHandle& handle) { freeIdle(handle, gate); });
}

bool ResourceTable::turn(std::size_t budget) {
  if (waiting_ == 0 && !roomCame_) return false;
  std::size_t const freed = freeSome(budget, true);
  if (roomCame_) retryExhausted();
  return freed == budget;
}

void ResourceTable::endSweep() {
  swept_ = true;
  std::size_t unclaimed = 0;
  Gate const gate = gateOf(nullptr);
  each([&](ResourceHandle& handle) {
    handle.marks_ &= static_cast<std::uint8_t>(~ResourceHandle::kEarlierLife);
    if ((handle.marks_ & ResourceHandle::kUnclaimed) == 0) return freeIdle(handle, gate);
    handle.marks_ &= static_cast<std::uint8_t>(~ResourceHandle::kUnclaimed);
    enterFreeing(handle, gate);
    ++unclaimed;
  });
  VEX_TRACE(trace, 6, "{}: {} keys unclaimed, {} to be freed", name(), unclaimed, waiting_);
  freeSome(freeing_.size(), false);
}

// ---- the next life

bool ResourceTable::restore(ResourceHandle& handle, std::uint64_t value, std::uint64_t allocated,
                            Asic::EntryState state) {
  if (!isState(state)) return false;
  if (space_.allocated) {
    if (allocated == 0 || allocated > space_.maxKeys) return false;
    if (restoredValues_.size() <= allocated) restoredValues_.resize(allocated + 1);
    if (restoredValues_[allocated]) return false;
    restoredValues_[allocated] = true;
    highest_ = std::max(highest_, allocated);
  }
  handle.state_ = state;
  handle.value_ = value;
  if (space_.allocated && value != allocated) handle.seldom().allocated = allocated;
  handle.marks_ = ResourceHandle::kUnclaimed | ResourceHandle::kEarlierLife;
  ++handedOut_;
  return true;
}

void ResourceTable::restored() {
  for (std::uint64_t value = 1; value < restoredValues_.size(); ++value) {
    if (!restoredValues_[value]) freed_.push_back(value);
  }
  std::vector<bool>().swap(restoredValues_);
  VEX_TRACE(trace, 2, "{}: {} keys of an earlier life", name(), handedOut_);
}

void ResourceTable::reportLoss(bool wiped, std::size_t refused) const {
  if (wiped) VEX_TRACE(trace, 1, "{}: values that were handed out are lost; their keys get new ones", name());
  if (refused != 0) VEX_TRACE(trace, 1, "{}: {} records of an earlier life are not its own", name(), refused);
}

}  // namespace BursarResourceTable
