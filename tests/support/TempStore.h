// A store of a test's own: a directory below /dev/shm that is the root while the object lives and is removed
// with it.
#pragma once

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include "Shoal/Checksum.h"
#include "Shoal/FileLayout.h"
#include "Shoal/PageSize.h"
#include "Shoal/StoreRoot.h"

namespace TestSupport {

inline void mustBeOk(Pivot::Status const& status) {
  if (!status.isOk()) throw std::runtime_error(status.message());
}

// Flips a bit of the byte that stands `behind` bytes after the first place in a file where `bytes` stand.
// Files are sparse and large, so only what holds data is looked through.
inline void flipBit(std::string const& file, std::string_view bytes, off_t behind = 0, int bit = 0x10) {
  int const fd = ::open(file.c_str(), O_RDWR);
  std::size_t found = std::string::npos;
  for (off_t at = ::lseek(fd, 0, SEEK_DATA); at >= 0 && found == std::string::npos;) {
    off_t const hole = ::lseek(fd, at, SEEK_HOLE);
    std::string data(static_cast<std::size_t>(hole - at), '\0');
    if (::pread(fd, data.data(), data.size(), at) != hole - at) break;
    if (found = data.find(bytes); found != std::string::npos) {
      char const flipped = static_cast<char>(data.at(found + static_cast<std::size_t>(behind)) ^ bit);
      if (::pwrite(fd, &flipped, 1, at + static_cast<off_t>(found) + behind) != 1) break;
    }
    at = ::lseek(fd, hole, SEEK_DATA);
  }
  ::close(fd);
  if (found == std::string::npos) throw std::runtime_error("nothing to damage in " + file);
}

// Copies what holds data; the files of a store are sparse and large. A folder is copied with all below it.
inline void copySparse(std::filesystem::path const& from, std::filesystem::path const& to) {
  namespace fs = std::filesystem;
  if (fs::is_directory(from)) {
    fs::create_directories(to);
    fs::permissions(to, fs::perms(0700));
    for (auto const& entry : fs::directory_iterator(from))
      if (entry.is_directory() || entry.is_regular_file())
        copySparse(entry.path(), to / entry.path().filename());
    return;
  }
  int const in = ::open(from.c_str(), O_RDONLY), out = ::open(to.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
  bool whole = ::ftruncate(out, static_cast<off_t>(fs::file_size(from))) == 0;
  for (off_t at = ::lseek(in, 0, SEEK_DATA); at >= 0;) {
    off_t const hole = ::lseek(in, at, SEEK_HOLE);
    std::string bytes(static_cast<std::size_t>(hole - at), '\0');
    whole = whole && ::pread(in, bytes.data(), bytes.size(), at) == hole - at &&
            ::pwrite(out, bytes.data(), bytes.size(), at) == hole - at;
    at = ::lseek(in, hole, SEEK_DATA);
  }
  ::close(in);
  ::close(out);
  if (!whole) throw std::runtime_error("not copied: " + from.string());
}

// The first number from `from` on whose key stands in the chain of `key`, behind it.
template <class Key>
std::uint32_t chainMate(Key const& key, std::uint32_t capacity, std::uint32_t from, auto const& keyOf) {
  std::uint32_t const mask = Shoal::Geometry::of(sizeof(Key), sizeof(Key), capacity).bucketCount - 1;
  std::uint32_t const bucket = Shoal::keyPlace(&key, sizeof(Key), mask).bucket;
  while (true) {
    Key const other = keyOf(from);
    if (Shoal::keyPlace(&other, sizeof(Key), mask).bucket == bucket &&
        Shoal::keyCompare(&other, &key, sizeof(Key)) > 0)
      return from;
    ++from;
  }
}

// The size of a page that the store is to assume, for runs of the tests on another kernel's behalf.
inline bool const pageBytesAssumed = [] {
  if (char const* bytes = std::getenv("LOAM_TEST_PAGE_BYTES"))
    Shoal::assumeSystemPageBytes(std::strtoul(bytes, nullptr, 10));
  return true;
}();

class TempStore {
 public:
  using Role = VexSharedMem::StoreRoot::Role;

  // A test that is run again in a process of its own, to die there, finds the folder of the first one in its environment and
  // leaves its store in it.
  TempStore() {
    char const* const around = std::getenv(kFolder);
    folder_ = around != nullptr ? around : std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp";
    folder_ += "/loam-test-XXXXXX";
    if (mkdtemp(folder_.data()) == nullptr) throw std::runtime_error("no directory " + folder_);
    directory_ = folder_ + "/store";
    std::filesystem::create_directory(directory_);
    std::filesystem::permissions(directory_, std::filesystem::perms::owner_all);
    setsAround_ = around == nullptr;
    if (setsAround_) ::setenv(kFolder, folder_.c_str(), 1);
    VexSharedMem::StoreRoot::rootIs(directory_);
  }
  // A store that somebody else made, and removes.
  explicit TempStore(std::string directory) : directory_(std::move(directory)) {
    VexSharedMem::StoreRoot::rootIs(directory_);
  }
  ~TempStore() {
    VexSharedMem::StoreRoot::release();
    if (setsAround_) ::unsetenv(kFolder);
    if (!folder_.empty()) std::filesystem::remove_all(folder_);
  }
  TempStore(TempStore const&) = delete;
  TempStore& operator=(TempStore const&) = delete;

  std::string const& directory() const { return directory_; }
  // The file of a collection.
  std::string fileOf(std::string const& path) const { return directory_ + "/" + path + ".shoal"; }

  void claim(Role role = Role::agent) { mustBeOk(VexSharedMem::StoreRoot::claim(role)); }
  // Drops locks, manifests and everything that was mounted by path, as if the process had ended, and claims
  // the role again. Maps that the test mounted itself it destroys before.
  void reopen(Role role = Role::agent) {
    VexSharedMem::StoreRoot::release();
    claim(role);
  }

 private:
  static constexpr char const* kFolder = "LOAM_TEST_FOLDER";

  std::string folder_;  // of this object's making; empty for a store of somebody else
  std::string directory_;
  bool setsAround_ = false;
};

}  // namespace TestSupport
