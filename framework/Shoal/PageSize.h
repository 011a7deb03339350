// The size of the kernel's pages, asked, since it is 4096 bytes on some machines and 16 or 64 KiB on others. Only what
// the kernel does page by page depends on it; the file format counts in units of its own (kPageBytes).
#pragma once

#include <cstddef>

#include "Cobble/Export.h"

namespace Shoal {

std::size_t systemPageBytes() noexcept;
// For tests: what is asked answers this from now on; 0 = the kernel's own size.
LOAM_FRAMEWORK_EXPORT void assumeSystemPageBytes(std::size_t bytes) noexcept;

}  // namespace Shoal
