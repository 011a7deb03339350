#include "Bursar/ResourceHandle.h"

namespace BursarResourceTable {

ResourceHandle::~ResourceHandle() = default;

// Made with the library, so that no agent's count of live objects finds it new.
Pivot::Ptr<Asic::NeededEntry const> const ResourceHandle::noNeeds_ = Pivot::make<Asic::NeededEntry>();

ResourceHandle::Seldom& ResourceHandle::seldom() {
  if (!seldom_) seldom_ = std::make_unique<Seldom>();
  return *seldom_;
}

}  // namespace BursarResourceTable
