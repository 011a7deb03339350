#include "Shoal/LostFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <map>
#include <vector>

#include "Shoal/CrashPoint.h"
#include "Shoal/FileLayout.h"
#include "Shoal/RootDirectory.h"
#include "Shoal/StoreRoot.h"

namespace Shoal {
namespace {

struct LostFile {
  std::string name;
  std::string path;  // as the name has it: what stands before "-<role>-<number>"
  std::pair<std::int64_t, long> since;
  std::uint64_t bytes;
};

std::string pathInHeader(int folder, std::string const& name) {
  Descriptor const file(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  FixedHeader header;
  if (!file.isOpen() || ::pread(file.get(), &header, sizeof(header), 0) != sizeof(header)) return {};
  std::string const path(header.path.data(), strnlen(header.path.data(), header.path.size()));
  return checkPath(path) ? path : std::string();
}

std::vector<LostFile> listLost(int lost) {
  std::vector<LostFile> files;
  Descriptor copy(::fcntl(lost, F_DUPFD_CLOEXEC, 0));
  DIR* entries = ::fdopendir(copy.get());
  if (entries == nullptr) return files;
  copy.take();
  ::rewinddir(entries);
  while (dirent const* entry = ::readdir(entries)) {
    struct stat status;
    std::string const name = entry->d_name;
    if (::fstatat(lost, entry->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(status.st_mode))
      continue;
    std::size_t const number = name.rfind('-');
    std::size_t const role = number == 0 ? std::string::npos : name.rfind('-', number - 1);
    // The kernel notes the time of a rename.
    files.push_back({name,
                     role == std::string::npos ? std::string() : name.substr(0, role),
                     {status.st_ctim.tv_sec, status.st_ctim.tv_nsec},
                     static_cast<std::uint64_t>(status.st_blocks) * 512});
  }
  ::closedir(entries);
  return files;
}

void prune(int lost) {
  std::vector<LostFile> files = listLost(lost);
  struct statvfs system;
  if (::fstatvfs(lost, &system) != 0) return;
  std::uint64_t const bound = std::uint64_t{system.f_blocks} * system.f_frsize / 8;
  std::sort(files.begin(), files.end(), [](auto const& a, auto const& b) { return a.since > b.since; });
  std::uint64_t bytes = 0;
  std::map<std::string, std::size_t> ofPath;
  for (LostFile const& file : files) {
    std::size_t const newer = ofPath[file.path]++;
    bytes += file.bytes;
    if (newer == 0 || (newer < kLostOfPath && bytes <= bound)) continue;
    bytes -= file.bytes;
    ::unlinkat(lost, file.name.c_str(), 0);
  }
}

}  // namespace

Pivot::Status keepAside(int stagingFolder, std::string const& name, std::string path) {
  int error = 0;
  Descriptor const lost = openOwnFolder(kLostFolder, error);
  if (path.empty()) path = pathInHeader(stagingFolder, name);
  std::string aside = path;
  std::replace(aside.begin(), aside.end(), '/', '%');
  aside = aside.substr(0, 200) + "-" + name;
  if (lost.isOpen() &&
      ::renameat2(stagingFolder, name.c_str(), lost.get(), aside.c_str(), RENAME_NOREPLACE) != 0)
    error = errno;
  LOAM_CRASH_POINT("exchange: damaged file aside");
  if (error != 0)
    return Pivot::Status::refused(fmt::format("damaged file of collection '{}' in {}: {}", path,
                                              VexSharedMem::StoreRoot::root(), errorText(error)));
  prune(lost.get());
  return Pivot::Status::ok();
}

}  // namespace Shoal
