// XXH3, for the sources that hash bytes: from the system's library, which takes the widest vectors that the
// processor has, where that library can choose; else from its header, for the processor that the build is for.
// The result is the same. A record of 784 bytes costs a fifth with the widest, and each publication and each
// restart of an entry checks several.
#pragma once

#ifdef LOAM_XXH3_DISPATCH
#include <xxh_x86dispatch.h>
#else
#define XXH_INLINE_ALL
#include <xxhash.h>
#endif
