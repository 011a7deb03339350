#include "Shoal/BootId.h"

#include <fcntl.h>
#include <unistd.h>

#include "Shoal/Checksum.h"
#include "Shoal/RootDirectory.h"
#include "Vex/Trace.h"

namespace Shoal {
namespace {

Vex::TraceHandle const traceHandle("Shoal");

std::uint64_t given = 0;

std::uint64_t kernelsBootId() {
  char text[64];
  Descriptor const file(::open("/proc/sys/kernel/random/boot_id", O_RDONLY | O_CLOEXEC));
  ssize_t const length = file.isOpen() ? ::read(file.get(), text, sizeof(text)) : -1;
  if (length > 0) return bytesChecksum(text, static_cast<std::size_t>(length), 0) | 1;
  // What then outlives a kernel is taken for what a death has left.
  VEX_TRACE(traceHandle, 1, "the kernel does not tell its boot id: one boot is not told from another");
  return 1;
}

}  // namespace

std::uint64_t bootId() {
  static std::uint64_t const kernels = kernelsBootId();
  return given != 0 ? given : kernels;
}

void bootIdIs(std::uint64_t id) {
  given = id;
}

}  // namespace Shoal
