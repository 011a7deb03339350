// What happens when a mapped file loses pages that were there: somebody cut it, or the file system has no
// memory for a hole. The kernel then sends SIGBUS to whoever touches such a page.
//
// A reader survives: the page is replaced by zeros, which no check of the store lets pass, so the read that
// touched it ends as damage does. An owner can't go on without the page; it tells the file in one line and
// ends. Faults elsewhere go to whoever handled the signal before. The handler is installed with the first
// mapping and stays.
#pragma once

#include <cstddef>
#include <string>

namespace Shoal {

// Watches over a mapping until it is let go, which is before it is unmapped. Any thread.
void mappingGuard(std::byte* base, std::size_t bytes, bool owner, std::string const& path);
void mappingLetGo(std::byte* base);

}  // namespace Shoal
