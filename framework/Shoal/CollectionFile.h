// A file of the store with its mapping: made in the staging folder, put in place by a rename that never
// overwrites, opened with every size checked before it is used. It knows the header's fixed part and nothing
// of records or links. An owner holds a lock on the file as long as it is open. The whole file is mapped once,
// at the size that its capacity needs; it is sparse, and memory is reserved piece by piece.
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <string>

#include "Pivot/Status.h"
#include "Shoal/CollectionSpec.h"
#include "Shoal/FileLayout.h"
#include "Shoal/RecordTraits.h"

namespace Shoal {

class CollectionFile {
 public:
  CollectionFile() = default;
  ~CollectionFile();
  CollectionFile(CollectionFile const&) = delete;
  CollectionFile& operator=(CollectionFile const&) = delete;

  enum class Result { ok, missing, misfit, failed, unavailable };

  // Maps the file of `spec.path` for its owner, if its header is that of this type, path and size. misfit:
  // there is a file, ours, and it holds something else; `message` names what differs, found and expected.
  // failed: it can't be looked at, or it is none that the store made (a symbolic link, a file of another
  // owner). unavailable: descriptors or memory are out, so nothing is known of it now.
  Result open(CollectionSpec const& spec, RecordType const& type, std::string& message);
  // The same read-only; the capacity is the file's.
  Result openForReading(std::string const& path, RecordType const& type, std::string& message);

  // Makes a new empty collection, with a new incarnation and its first memory reserved, in the staging
  // folder: it has no name below the root yet. Refused: no space, no permission, a file-size limit.
  Pivot::Status create(CollectionSpec const& spec, RecordType const& type, bool wiped);
  // Gives the new file its name. A file that stands there is marked retired, its waiters are woken, and it is
  // kept aside.
  Pivot::Status place(CollectionSpec const& spec);

  // Writes the fixed part of the header, also over a damaged one.
  void writeFixedPart(CollectionSpec const& spec, RecordType const& type, std::uint64_t incarnation);

  // Reserves memory for a range of the file. Refused with the reason; nothing has changed then.
  Pivot::Status reserve(std::uint64_t offset, std::uint64_t bytes);

  // Drops mapping and descriptor, and with it the lock; a file that was not placed is deleted.
  void close();
  // Lets another own the file; the mapping stays.
  void unlock();
  // In a forked child, before fork() returns there: the file stays with the parent. Async-signal-safe.
  void leaveToParent() noexcept;
  void swap(CollectionFile& other);

  FileView const& view() const { return view_; }
  // Whether the status is that of the file that is mapped.
  bool isSame(struct stat const& status) const { return status.st_ino == inode_ && status.st_dev == device_; }

 private:
  Result check(int fd, std::string const& path, std::string& message);
  Result lock(std::string const& path, std::string& message);
  Result map(bool writable, std::uint64_t bytes, std::string const& path, std::string& message);
  std::string misfit(RecordType const& type, std::string const& path, CollectionSpec const* spec) const;
  void initialise(CollectionSpec const& spec, RecordType const& type, bool wiped);

  int fd_ = -1;
  bool isParents_ = false;  // left to the parent of a forked child
  FileView view_;
  ino_t inode_ = 0;
  dev_t device_ = 0;
  std::uint64_t fileBytes_ = 0;
  std::string path_;         // for messages
  std::string stagingName_;  // while it has no name of its own
};

}  // namespace Shoal
