#include "Shoal/Ownership.h"

#include <fmt/format.h>
#include <pthread.h>

#include <map>
#include <mutex>

#include "Shoal/StoreRoot.h"
#include "Vex/Assert.h"

namespace Shoal {
namespace {

// Never destroyed: maps that statics hold leave it at the end of the process.
std::map<std::string, ShoalMapBase*>& owners() {
  static auto& table = *new std::map<std::string, ShoalMapBase*>();
  return table;
}
std::mutex ownersChange;

}  // namespace

Pivot::Status Ownership::begin(ShoalMapBase& map) {
  static int const handled = ::pthread_atfork([] { ownersChange.lock(); }, [] { ownersChange.unlock(); },
                                              [] {
                                                for (auto const& [path, owner] : owners())
                                                  owner->leaveToParent();
                                                VexSharedMem::rolesLeaveToParent();
                                                ownersChange.unlock();
                                              });
  VEX_ASSERT(handled == 0, "a fork can be watched");
  std::lock_guard const lock(ownersChange);
  ShoalMapBase*& owner = owners()[map.path()];
  // In a forked child the entries of its parent stand, of maps that own nothing here.
  if (owner != nullptr && owner->owns_)
    return Pivot::Status::refused(fmt::format("collection '{}' of {} is mounted in this process already",
                                              map.path(), VexSharedMem::StoreRoot::root()));
  owner = &map;
  map.owns_ = true;
  return Pivot::Status::ok();
}

void Ownership::end(ShoalMapBase& map) {
  std::lock_guard const lock(ownersChange);
  map.owns_ = false;
  if (auto const found = owners().find(map.path()); found != owners().end() && found->second == &map)
    owners().erase(found);
}

void Ownership::endAll() {
  std::lock_guard const lock(ownersChange);
  for (auto const& [path, owner] : owners()) {
    owner->owns_ = false;
    owner->file_.unlock();
  }
  owners().clear();
}

}  // namespace Shoal
