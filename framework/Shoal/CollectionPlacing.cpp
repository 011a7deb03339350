// A new collection gets its name: at once where the path is free, else in exchange for the damaged file that has it. What a
// process killed in between leaves is told at each step.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <utility>

#include "Shoal/CheckedWord.h"
#include "Shoal/CollectionFile.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/Futex.h"
#include "Shoal/LostFolder.h"
#include "Shoal/RootDirectory.h"
#include "Vex/Trace.h"

namespace Shoal {
namespace {

Vex::TraceHandle placingTrace("Shoal");

// Tells the readers of a file that its path goes to another, or that it did not come to that: the mark, the change,
// the wake, in this order, so that whoever wakes sees the mark. The header may be damaged; a mark that does not
// check counts as set.
void retiredIs(int folder, std::string const& leaf, bool isRetired) {
  Descriptor file(::openat(folder, leaf.c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  struct stat status;
  if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) ||
      status.st_size < kHeaderBytes)
    return;
  // A hole must not be touched: with the file system full that would be a SIGBUS.
  if (reserveIn(file.get(), 0, kHeaderBytes) != 0) return;
  void* page = ::mmap(nullptr, kHeaderBytes, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
  if (page == MAP_FAILED) return;
  auto* header = static_cast<FileHeader*>(page);
  // The release of the count, by which waiters learn of it, keeps the mark before it.
  header->control.retired.store(
      CheckedWord::of(isRetired ? 1 : 0, WordPlace::retired, saltOf(header->fixed.incarnation)),
      std::memory_order_relaxed);
  LOAM_CRASH_POINT("exchange: damaged file retired");
  header->control.changeCounter.fetch_add(1, std::memory_order_release);
  futexWakeAll(header->control.changeCounter);
  ::munmap(page, kHeaderBytes);
}

}  // namespace

Pivot::Status CollectionFile::place(CollectionSpec const& spec) {
  int error = 0;
  std::string leaf;
  Descriptor const staging = openOwnFolder(kStagingFolder, error);
  if (!staging.isOpen()) return refusedBy("staging folder", spec.path, error);
  Descriptor const folder = openFolderOf(spec.path, true, leaf, error);
  if (!folder.isOpen()) return refusedBy("folder", spec.path, error);
  if (::renameat2(staging.get(), stagingName_.c_str(), folder.get(), leaf.c_str(), RENAME_NOREPLACE) == 0) {
    LOAM_CRASH_POINT("making: named");
    stagingName_.clear();
    return Pivot::Status::ok();
  }
  if (errno != EEXIST) return refusedBy("name", spec.path, errno);
  retiredIs(folder.get(), leaf, true);
  // A kill before this leaves a retired file in place, which does not fit and is replaced by the next mount;
  // a kill after it leaves the damaged file in the staging folder, from where the next claim of the role
  // takes it aside.
  if (::renameat2(staging.get(), stagingName_.c_str(), folder.get(), leaf.c_str(), RENAME_EXCHANGE) != 0) {
    error = errno;
    retiredIs(folder.get(), leaf, false);
    return refusedBy("exchange", spec.path, error);
  }
  LOAM_CRASH_POINT("exchange: new file in place");
  // It is done: where the damaged file cannot go aside now, the next claim of the role takes it there.
  if (Pivot::Status const aside = keepAside(staging.get(), std::exchange(stagingName_, {}), spec.path);
      !aside)
    VEX_TRACE(placingTrace, 1, "{}", aside.message());
  return Pivot::Status::ok();
}

}  // namespace Shoal
