// The registry of allocation trackers, made at the first allocation that is tracked and never destroyed.
#include "Cobble/AllocTrack.h"

#include <atomic>
#include <mutex>

namespace Vex {
namespace {

struct Registry {
  std::mutex mutex;
  std::vector<AllocTrackTypeInfo const*> trackers;
};

Registry& registry() {
  static auto* const theRegistry = new Registry;
  return *theRegistry;
}

}  // namespace

void AllocTrackTypeInfo::enterRegistry() {
  std::atomic_ref<bool> registered(registered_);
  if (registered.load(std::memory_order_relaxed)) return;
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  // Two threads may have found the flag clear; the second one finds it set here.
  if (registered.exchange(true, std::memory_order_relaxed)) return;
  known.trackers.push_back(this);
}

void AllocTrackTypeInfo::addAtomically(std::int64_t count, std::int64_t bytes) {
  std::atomic_ref<std::int64_t>(count_).fetch_add(count, std::memory_order_relaxed);
  std::atomic_ref<std::int64_t>(bytes_).fetch_add(bytes, std::memory_order_relaxed);
}

std::vector<AllocTrackTypeInfo const*> AllocTrackTypeInfo::all() {
  Registry& known = registry();
  std::lock_guard const lock(known.mutex);
  return known.trackers;
}

}  // namespace Vex
