#include "Shoal/RootDirectory.h"

#include <dirent.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string_view>
#include <system_error>

#include "Shoal/CrashPoint.h"
#include "Shoal/FileLayout.h"
#include "Shoal/StoreRoot.h"

namespace Shoal {
namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

Descriptor openFolder(int parent, char const* name, bool make, int& error) {
  if (make && ::mkdirat(parent, name, 0700) != 0 && errno != EEXIST) {
    error = errno;
    return Descriptor();
  }
  if (make) LOAM_CRASH_POINT("making: folder there");
  Descriptor folder(::openat(parent, name, kFolderFlags));
  error = folder.isOpen() ? 0 : errno;
  return folder;
}

bool hasSuffix(std::string_view name) {
  return name.ends_with(kFileSuffix);
}

bool listFolder(Descriptor folder, std::string const& path, std::vector<std::string>& paths) {
  DIR* entries = ::fdopendir(folder.get());
  if (entries == nullptr) return false;
  bool whole = true;
  int const fd = folder.take();  // the stream closes it
  for (;;) {
    errno = 0;
    dirent const* const entry = ::readdir(entries);
    if (entry == nullptr) {
      whole = whole && errno == 0;
      break;
    }
    std::string_view const name = entry->d_name;
    if (name.starts_with('.')) continue;
    std::string const inner = path.empty() ? std::string(name) : path + "/" + std::string(name);
    if (hasSuffix(name)) {
      paths.push_back(inner.substr(0, inner.size() - std::strlen(kFileSuffix)));
    } else {
      Descriptor below(::openat(fd, entry->d_name, kFolderFlags));
      if (below.isOpen())
        whole = listFolder(std::move(below), inner, paths) && whole;
      else
        whole = whole && (errno == ENOTDIR || errno == ELOOP || errno == ENOENT || errno == EACCES);
    }
  }
  ::closedir(entries);
  return whole;
}

}  // namespace

Descriptor::~Descriptor() {
  if (fd_ >= 0) ::close(fd_);
}

std::string errorText(int error) {
  return std::generic_category().message(error);
}

Pivot::Status checkPath(std::string const& path) {
  auto const refuse = [&](char const* why) {
    return Pivot::Status::refused(fmt::format("path '{}' of a collection: {}", path, why));
  };
  if (path.size() >= sizeof(FixedHeader::path)) return refuse("longer than 511 bytes");
  std::string_view rest = path;
  while (true) {
    std::size_t const slash = rest.find('/');
    std::string_view const part = rest.substr(0, slash);
    if (part.empty()) return refuse("a component is empty");
    if (part.size() > 200) return refuse("a component is longer than 200 bytes");
    if (part.starts_with('.')) return refuse("a component begins with a dot");
    if (hasSuffix(part)) return refuse("a component ends in .shoal");
    if (part.find('\0') != std::string_view::npos) return refuse("a component holds a zero byte");
    if (slash == std::string_view::npos) return Pivot::Status::ok();
    rest.remove_prefix(slash + 1);
  }
}

Descriptor openRoot(bool make, int& error) {
  return openFolder(AT_FDCWD, VexSharedMem::StoreRoot::root().c_str(), make, error);
}

Descriptor openFolderOf(std::string const& path, bool make, std::string& leaf, int& error) {
  Descriptor folder = openRoot(false, error);
  std::size_t begin = 0;
  while (folder.isOpen()) {
    std::size_t const slash = path.find('/', begin);
    if (slash == std::string::npos) break;
    std::string const part = path.substr(begin, slash - begin);
    if (part.empty() || part.starts_with('.')) {
      error = EINVAL;
      return Descriptor();
    }
    folder = openFolder(folder.get(), part.c_str(), make, error);
    begin = slash + 1;
  }
  leaf = path.substr(begin) + kFileSuffix;
  return folder;
}

Descriptor openOwnFolder(char const* name, int& error) {
  Descriptor root = openRoot(false, error);
  return root.isOpen() ? openFolder(root.get(), name, true, error) : Descriptor();
}

Descriptor openFileOf(std::string const& path, bool writable, int& error) {
  std::string leaf;
  Descriptor folder = openFolderOf(path, false, leaf, error);
  if (!folder.isOpen()) return Descriptor();
  // O_NONBLOCK: a planted pipe must not hold us up; it means nothing for a file.
  int const flags = (writable ? O_RDWR : O_RDONLY) | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
  Descriptor file(::openat(folder.get(), leaf.c_str(), flags));
  error = file.isOpen() ? 0 : errno;
  return file;
}

bool isShortage(int error) {
  return error == EMFILE || error == ENFILE || error == ENOMEM;
}

int reserveIn(int file, std::uint64_t offset, std::uint64_t bytes) {
  int error = 0;
  do {
    error = ::posix_fallocate(file, static_cast<off_t>(offset), static_cast<off_t>(bytes));
  } while (error == EINTR);
  return error;
}

Pivot::Status refusedBy(char const* what, std::string const& path, int error) {
  return Pivot::Status::refused(fmt::format("{} of collection '{}' in {}: {}", what, path,
                                            VexSharedMem::StoreRoot::root(), errorText(error)));
}

bool listFiles(std::string const& path, std::vector<std::string>& paths) {
  std::string leaf;
  int error = 0;
  Descriptor folder = path.empty() ? openRoot(false, error) : openFolderOf(path + "/", false, leaf, error);
  return folder.isOpen() ? listFolder(std::move(folder), path, paths) : !isShortage(error);
}

}  // namespace Shoal
