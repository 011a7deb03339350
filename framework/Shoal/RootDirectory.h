// The folder tree below the root: names of files, walks to them that follow no symbolic link, and what a
// planted file looks like. Used by the store alone. A collection "a/b" is the file "b.shoal" in the folder
// "a"; names that begin with a dot are the store's own.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Pivot/Status.h"

namespace Shoal {

// An open descriptor, closed with its owner.
class Descriptor {
 public:
  explicit Descriptor(int fd = -1) : fd_(fd) {}
  Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  ~Descriptor();

  int get() const { return fd_; }
  bool isOpen() const { return fd_ >= 0; }
  int take() { return std::exchange(fd_, -1); }

 private:
  int fd_;
};

inline constexpr char const* kFileSuffix = ".shoal";
inline constexpr char const* kStagingFolder = ".staging";
inline constexpr char const* kLostFolder = ".lost";

// Refuses a path that is empty, too long, or has a component that is empty, begins with a dot or ends like a
// file of the store.
Pivot::Status checkPath(std::string const& path);

// The root, or the errno of why not. `make`: makes it (0700) if it is missing.
Descriptor openRoot(bool make, int& error);

// The folder that holds the file of `path`, and the file's name in it. `make`: makes missing folders. A
// folder whose name is empty or begins with a dot is refused, with EINVAL.
Descriptor openFolderOf(std::string const& path, bool make, std::string& leaf, int& error);

// A folder of the store's own in the root, made if missing.
Descriptor openOwnFolder(char const* name, int& error);

// Opens the file of a collection, never through a symbolic link.
Descriptor openFileOf(std::string const& path, bool writable, int& error);

// "No such file or directory" and so on, for messages.
std::string errorText(int error);

// Whether a call failed because descriptors or memory were out: it says nothing about the file, and the same call
// may succeed later.
bool isShortage(int error);

// Takes memory of the file system for a part of a file; 0, or the error.
int reserveIn(int file, std::uint64_t offset, std::uint64_t bytes);

// The refusal of what a collection needed: "WHAT of collection 'PATH' in STORE: the text of the error".
Pivot::Status refusedBy(char const* what, std::string const& path, int error);

// The paths of all files below the folder `path` ("" = the root), in no order. False: a shortage kept some from
// being seen.
bool listFiles(std::string const& path, std::vector<std::string>& paths);

}  // namespace Shoal
