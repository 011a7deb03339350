// A file of the store with its mapping: made in the staging folder, put in place by a rename that never
// overwrites, opened with every size checked before it is used. It knows the header's fixed part and nothing
// of records.
#pragma once

#include <cstdint>
#include <memory>
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
  CollectionFile(CollectionFile&& other) noexcept;
  CollectionFile& operator=(CollectionFile&& other) noexcept;

  enum class Result { ok, missing, misfit, failed };

  // Maps the file of `spec.path` for its owner, if its header is that of this type, path and size. misfit:
  // there is a file and it is something else; `message` names what differs, expected and found. failed: it
  // can't be looked at (permission, descriptors).
  Result open(CollectionSpec const& spec, RecordType const& type, std::string& message);
  // The same read-only; the capacity is the file's.
  Result openForReading(std::string const& path, RecordType const& type, std::string& message);
  // Makes a new file in the staging folder with a new incarnation and first space reserved; it has no name
  // below the root yet.
  Pivot::Status create(CollectionSpec const& spec, RecordType const& type, bool wiped);
  // Gives the new file its name. A file that stands there is retired, its waiters are woken, and it is kept
  // aside.
  Pivot::Status place(CollectionSpec const& spec);

  // Reserves memory for a range of the file. Refused with the reason; nothing is changed then.
  Pivot::Status reserve(std::uint64_t offset, std::uint64_t bytes);

  FileView const& view() const { return view_; }
  std::uint64_t inode() const { return inode_; }

 private:
  Result map(RecordType const& type, CollectionSpec const* spec, std::string const& path,
             std::string& message);
  void close();

  int fd_ = -1;
  FileView view_;
  std::uint64_t inode_ = 0;
  std::string stagingName_;  // while it has no name of its own
};

// The salt of all checks of a file.
std::uint64_t saltOf(std::uint64_t incarnation);

}  // namespace Shoal
