// A mounted collection by its type, for whoever knows what lies at a path: the mount, and the object that the
// store then has there, in one step.
#pragma once

#include <fmt/format.h>

#include "Pivot/Node.h"
#include "Pivot/Status.h"
#include "Pivot/Types.h"
#include "Shoal/EntityManager.h"
#include "Shoal/MountInfo.h"

namespace VexSharedMem {

// The object at `path`, mounted as `typeName` if it was not yet. Null without one of type T, and `status` says
// why. A refused mount with an object all the same: the path was mounted before, as `status` tells, with another size.
template <class T>
Pivot::Ptr<T> mounted(EntityManager& manager, Pivot::String const& path, Pivot::String const& typeName,
                      VexShoal::MountInfo const& info, Pivot::Status& status) {
  Pivot::Ptr<MountGroup> const mounts = manager.getMountGroup();
  status = mounts->mount(path, typeName, info);
  mounts->doClose();
  Pivot::Ptr<T> const object = boost::dynamic_pointer_cast<T>(manager.getEntity(path));
  if (status && object == nullptr)
    status =
        Pivot::Status::refused(fmt::format("{} is mounted as another type; expected {}", path, typeName));
  return object;
}

// The same for a type that nobody has registered: a collection of at most `maximum` records in `attribute`.
template <class T>
Pivot::Ptr<T> mounted(EntityManager& manager, Pivot::String const& path, Pivot::String const& typeName,
                      char const* attribute, std::uint32_t maximum, Pivot::Status& status) {
  typeRegister<T>(typeName);
  VexShoal::MountInfo info;
  info.collectionInfoIs(attribute, maximum);
  return mounted<T>(manager, path, typeName, info, status);
}

}  // namespace VexSharedMem
