#include "Bursar/ResourceHandle.h"

namespace BursarResourceTable {

ResourceHandle::~ResourceHandle() = default;

}  // namespace BursarResourceTable
