#include "Bursar/Surroundings.h"

namespace BursarResourceTable {

Surroundings::~Surroundings() = default;

}  // namespace BursarResourceTable
