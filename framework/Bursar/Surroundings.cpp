#include "Bursar/Surroundings.h"

#include "Bursar/ResourceHandle.h"

namespace BursarResourceTable {

Surroundings::~Surroundings() = default;
ResourceHandle::~ResourceHandle() = default;

}  // namespace BursarResourceTable
