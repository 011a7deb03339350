#include "Asic/OrderedSwTableWithMarkSweep.h"

namespace Asic {

OrderedSwTableWithMarkSweep::~OrderedSwTableWithMarkSweep() = default;

}  // namespace Asic
