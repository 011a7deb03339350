// What happens when a mapped file loses pages that were there: somebody cut it, or the file system has no
// memory for a hole. The kernel then sends SIGBUS to whoever touches such a page.
//
// A reader survives: the page is replaced by zeros, which no check of the store lets pass, so the read that
// touched it ends as damage does. An owner can't go on without the page; it tells the file in one line and
// ends.
//
// The handler is installed with the first mapping and stays; the library that holds it is never unloaded. It
// takes nothing but a fault within a mapping of the store. Any other SIGBUS, one that somebody sent too, goes
// to the handler that it found, with the mask and flags that this one asked for, or to what the kernel would
// have done. A host that installs a handler later passes on what it does not know to the action that it
// replaced, as is the rule, or asks takeBusError() first; if it does neither, a cut file ends the process,
// and the next mapping tells so in one trace at level 1.
#pragma once

#include <signal.h>

#include <cstddef>
#include <string>

#include "Cobble/Export.h"

namespace Shoal {

// For the SIGBUS handler of a host: true if the fault lay in a mapping of the store and has been dealt with,
// so that the handler returns. Does not return for a mapping of an owner. Async-signal-safe; any thread.
LOAM_FRAMEWORK_EXPORT bool takeBusError(siginfo_t const* info) noexcept;

// Watches over a mapping until it is let go, which is before it is unmapped. Any thread.
void mappingGuard(std::byte* base, std::size_t bytes, bool owner, std::string const& path);
// Also in a forked child, before fork() returns there.
void letMappingGo(std::byte* base) noexcept;

}  // namespace Shoal
