// The reading side of one collection file, as bytes. See ShoalReader.h for the promises and
// docs/store-format.md for the argument of order.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "Cobble/Export.h"
#include "Shoal/CheckedWord.h"
#include "Shoal/CollectionFile.h"
#include "Shoal/FileLayout.h"
#include "Shoal/RecordTraits.h"

namespace Shoal {

// unavailable: descriptors or memory are out, which is neither absence nor damage; ask again later.
enum class OpenState { notThereYet, broken, unavailable, ok };
enum class ReadResult { found, absent, busy };
// changed: the counter differs from the one given. timeout: nothing changed. replaced: another file has the
// path, or none: open again.
enum class WaitResult { changed, timeout, replaced };

class LOAM_FRAMEWORK_EXPORT ShoalReaderBase {
 public:
  ShoalReaderBase(ShoalReaderBase const&) = delete;
  ShoalReaderBase& operator=(ShoalReaderBase const&) = delete;

  std::string const& path() const { return path_; }
  std::uint32_t capacity() const { return file_.view().geometry.capacity; }
  std::uint64_t incarnation() const { return incarnation_; }
  // Number of records as the owner told last; it may lag behind its own changes, never the other way round.
  std::uint32_t size() const;
  // The owner's number (CollectionControl). Throws CorruptionDetectedException.
  std::uint64_t scratchpad() const;
  std::uint64_t watermark() const;
  bool isOfAnotherBoot() const;
  // This file lost its path to another. What it holds is still readable and changes no more.
  bool retired() const;
  // Rises with every change of records, scratchpad or marks, and wraps at 2^32.
  std::uint32_t changeCounter() const;
  // Waits until the change counter differs from the one that the caller read BEFORE its last look at the
  // records. Sleeps in the kernel; compares the inode of the path at each wake and at least once a second, so
  // that a file replaced by a process that died is noticed.
  WaitResult waitForChange(std::uint32_t counterSeen, std::chrono::milliseconds timeout) const;
  // The path leads to another file now, or to none; false when it cannot be looked at now.
  bool replaced() const;

 protected:
  explicit ShoalReaderBase(RecordType const& type) : type_(type) {}
  ~ShoalReaderBase() = default;

  OpenState openFile(std::string const& path, std::string& message);
  ReadResult lookupBytes(void const* key, void* out);
  ReadResult nextBytes(void const* after, void* out);
  ReadResult nextBehindDamageBytes(void* out) { return firstFrom(damagedBucket_ + 1, out); }

 private:
  enum class Step { taken, end, overtaken };
  struct Hop;

  std::atomic<std::uint64_t> const* headOf(std::uint32_t bucket) const;
  bool inReach(std::uint32_t slot);
  Step follow(Hop& hop, std::uint32_t bucket);
  Step walk(Hop& hop, std::uint32_t bucket, void const* key, bool behind);
  ReadResult readBucket(std::uint32_t bucket, void const* key, bool behind, void* out);
  ReadResult firstFrom(std::uint32_t bucket, void* out);
  [[noreturn]] void damage(char const* what, std::uint32_t bucket) const;
  std::uint64_t number(RegisterWords const& words, WordPlace place, char const* name) const;

  RecordType const& type_;
  CollectionFile file_;
  std::string path_;
  std::uint64_t incarnation_ = 0;
  std::uint64_t salt_ = 0;
  std::uint32_t slotsReserved_ = 0;          // as read last
  mutable std::uint32_t damagedBucket_ = 0;  // that was met last
  std::vector<std::uint64_t> copy_;          // of the record of the current hop
};

}  // namespace Shoal
