// Reading and writing without ever waiting, on descriptors that other programs may share: a shell's terminal, a pipe.
// O_NONBLOCK belongs to what a descriptor leads to and not to the descriptor, so setting it would set it for all that
// share it. Any thread.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string_view>

#include "Cobble/Export.h"

namespace Vex {

// Opens what a descriptor leads to once more, with `access` (O_RDONLY, O_WRONLY), flags of its own, and not to wait.
// Only for pipes and terminals; -1 for all else (a file's position would be lost, a socket cannot be opened) and when
// it cannot be opened, since another user has made it or descriptors are out.
LOAM_FRAMEWORK_EXPORT int openedNotToWait(int descriptor, int access);

// As read() and write() on a descriptor that is not to wait, also where it was not opened so: EAGAIN when nothing
// can be done now. A pipe or terminal that could not be opened once more is asked first, and written in pieces that
// what it says leaves room for; it waits only if a third party takes that room in between. A reader that has gone is
// EPIPE, and no signal.
LOAM_FRAMEWORK_EXPORT ssize_t readNotToWait(int descriptor, void* data, std::size_t size);
LOAM_FRAMEWORK_EXPORT ssize_t writeNotToWait(int descriptor, void const* data, std::size_t size);

// Writes a line to the standard error output. What it does not take at once is lost: a file system is full, a reader
// has gone or does not read. The next line that is taken begins with how many were lost.
LOAM_FRAMEWORK_EXPORT void writeError(std::string_view line);

}  // namespace Vex
