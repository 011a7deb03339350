// Mounting one shared collection, for the change log and the configurations alike.
#pragma once

#include <cstdlib>

#include "Asic/Constants.h"
#include "Asic/GenId.h"
#include "Pivot/Node.h"
#include "Pivot/Types.h"
#include "Shoal/CollectionControl.h"
#include "Shoal/EntityManager.h"
#include "Shoal/MountInfo.h"
#include "Shoal/Mounted.h"
#include "Statehub/EntityManager.h"

namespace LoamInLif {

// The store in which the entry logs mount their collections.
inline Pivot::Ptr<VexSharedMem::EntityManager> sharedStore(Statehub::EntityManager const& entityManager) {
  auto shared =
      VexSharedMem::EntityManager::getEntityManager(entityManager.systemName(), entityManager.local());
  if (std::getenv("NOT_LOCAL_EM") != nullptr) {
    shared = VexSharedMem::EntityManager::getEntityManager(entityManager.systemName(), false);
  }
  return shared;
}

// Moves the relaunch generation of the agent, where the central store has one.
inline void askForRelaunch(Statehub::EntityManager& entityManager, Pivot::String const& agentName) {
  auto const relaunch = boost::dynamic_pointer_cast<Asic::GenId>(
      entityManager.getEntity(Asic::Constants::relaunchPath(agentName)));
  if (relaunch) relaunch->majorIdInc(1);
}

// Mounts the collection of type T at `path`; its contents are those that an earlier process left.
// `declare(VexShoal::MountInfo&)` names the collection and its maximum, `control(Ptr<T> const&)` gives its
// VexShoal::CollectionControl, and `raise()` reports that earlier contents were lost. After such a report
// the relaunch generation of the agent moves, where the central store has one, and the mark is cleared: it
// is seen once per loss. Null when the store has not produced the object, or one of another type.
template <class T, class Declare, class Control, class Raise>
Pivot::Ptr<T> checkAndwriteMountShoal(Pivot::Ptr<Statehub::EntityManager> const& entityManager,
                                      Pivot::String const& typeName, Pivot::String const& path,
                                      Pivot::String const& agentName, Declare const& declare,
                                      Control const& control, Raise const& raise) {
  VexShoal::MountInfo mountInfo(0);
  declare(mountInfo);
  Pivot::Status status = Pivot::Status::ok();
  auto const mounted =
      VexSharedMem::mounted<T>(*sharedStore(*entityManager), path, typeName, mountInfo, status);
  if (!mounted) return mounted;

  auto& collection = control(mounted);
  if (!collection.wiped()) return mounted;
  raise();
  askForRelaunch(*entityManager, agentName);
  collection.clearWiped();
  return mounted;
}

}  // namespace LoamInLif
