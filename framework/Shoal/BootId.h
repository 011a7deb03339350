// Which boot of the kernel this is. A store on a disk outlives the kernel. What an earlier boot left there was written
// out page by page, in no order, and tells of a hardware that has been cold since.
#pragma once

#include <cstdint>

#include "Cobble/Export.h"

namespace Shoal {

// A number of the present boot, never 0; the same for all processes until the next one.
LOAM_FRAMEWORK_EXPORT std::uint64_t bootId();

// For tests: from here on this process takes another boot for the present one; 0: the kernel's again.
LOAM_FRAMEWORK_EXPORT void bootIdIs(std::uint64_t id);

}  // namespace Shoal
