// Lookup beside a running owner. docs/store-format.md tells why the answers are right; in short:
//   - A walk begins at the head of the bucket, so everything it sees stood there at some moment after it
//     began.
//   - A hop copies the record, then the link behind it, then looks at the slot's checksum again. The acquire
//     fence before that look meets the owner's release fence after it zeroed the checksum: had the copy or
//     the link been of the slot's next use, the checksum would differ.
//   - The copy counts only if its own checksum is the slot's and the link's: it is the record that the link
//     meant.
// What does not fit was overtaken, or is damaged. The walk begins again, between two looks at the change
// counter: an owner that overtook it has counted a change meanwhile.
#include "Shoal/ShoalReaderBase.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>

#include "Pivot/Exceptions.h"
#include "Shoal/BootId.h"
#include "Shoal/CheckedWord.h"
#include "Shoal/Futex.h"
#include "Shoal/RecordCopy.h"
#include "Shoal/RootDirectory.h"

namespace Shoal {
namespace {

constexpr int kAttempts = 64;  // walks of one bucket before the answer is busy
constexpr std::uint32_t kMaxHops = 1u << 16;
constexpr std::chrono::milliseconds kLookAgain{1000};

}  // namespace

// One hop of a walk: the word that is followed, what it led to, and the word behind that.
struct ShoalReaderBase::Hop {
  std::uint64_t word = 0;
  std::uint64_t next = 0;
  char const* misfit = nullptr;
  alignas(16) std::byte key[kMaxKeyBytes];
};

OpenState ShoalReaderBase::openFile(std::string const& path, std::string& message) {
  path_ = path;
  switch (file_.openForReading(path, type_, message)) {
    case CollectionFile::Result::missing:
      return OpenState::notThereYet;
    case CollectionFile::Result::misfit:
    case CollectionFile::Result::failed:
      return OpenState::broken;
    case CollectionFile::Result::unavailable:
      return OpenState::unavailable;
    case CollectionFile::Result::ok:
      break;
  }
  incarnation_ = file_.view().header()->fixed.incarnation;
  salt_ = saltOf(incarnation_);
  copy_.resize((type_.recordBytes + 7) / 8);
  return OpenState::ok;
}

void ShoalReaderBase::damage(char const* what, std::uint32_t bucket) const {
  damagedBucket_ = bucket;
  throw Pivot::CorruptionDetectedException(
      fmt::format("collection '{}', bucket {}, read: {}", path_, bucket, what));
}

// Null if the directory page of the bucket has no frame, so that the bucket is empty. Acquire: meets the
// release of frameFor, behind which the frame's words are the ends of empty chains.
std::atomic<std::uint64_t> const* ShoalReaderBase::headOf(std::uint32_t bucket) const {
  std::uint32_t const page = bucket / kWordsPerFrame;
  std::uint64_t const cell = file_.view().pageTableCell(page)->load(std::memory_order_acquire);
  std::uint32_t const frame = CheckedWord::payload(cell);
  if (!CheckedWord::valid(cell, static_cast<std::uint32_t>(WordPlace::pageTable) + page, salt_) ||
      frame > file_.view().geometry.frameCount())
    damage("the page table is damaged", bucket);
  if (frame == 0) return nullptr;
  return file_.view().frameWords(frame - 1) + bucket % kWordsPerFrame;
}

// A slot beyond the reach may be a hole in the file and is not touched (S3). The reach was stored before the
// link that led there, whose acquire covers it.
bool ShoalReaderBase::inReach(std::uint32_t slot) {
  if (slot < slotsReserved_) return true;
  std::uint64_t const word = file_.view().control()->slotsReserved.load(std::memory_order_relaxed);
  if (CheckedWord::valid(word, WordPlace::slotsReserved, salt_) &&
      CheckedWord::payload(word) <= file_.view().geometry.slotCount())
    slotsReserved_ = CheckedWord::payload(word);
  return slot < slotsReserved_;
}

// Follows hop.word: copies the record there, and the word behind it. For overtaken, misfit tells what did not
// fit.
ShoalReaderBase::Step ShoalReaderBase::follow(Hop& hop, std::uint32_t bucket) {
  if (!Link::isLive(hop.word)) {
    if (hop.word == terminatorOf(bucket, salt_)) return Step::end;
    hop.misfit = "neither a link nor the end of its chain";
    return Step::overtaken;
  }
  std::uint32_t const slot = Link::slot(hop.word);
  hop.misfit = "a link leads beyond the slots";
  if (!inReach(slot)) return Step::overtaken;
  SlotHeader const* header = file_.view().slotHeader(slot);
  std::uint64_t const checksum = header->checksum.load(std::memory_order_acquire);
  hop.misfit = "a link and the record it leads to do not fit";
  if (checksum == 0 || !Link::fits(hop.word, checksum)) return Step::overtaken;
  copyOutOfSlot(copy_.data(), file_.view().record(slot), type_.recordBytes);
  // Followed only behind the fence, which makes an acquire of this load too.
  hop.next = header->next.load(std::memory_order_relaxed);
  acquireFence();
  if (header->checksum.load(std::memory_order_relaxed) != checksum) return Step::overtaken;
  hop.misfit = "a record and its checksum do not fit";
  if (!checksumFits(checksum, recordChecksum(copy_.data(), type_.recordBytes, salt_))) return Step::overtaken;
  type_.keyOf(copy_.data(), hop.key);
  KeyPlace const place = keyPlace(hop.key, type_.keyBytes, file_.view().geometry.bucketCount - 1);
  hop.misfit = "a key does not belong where it is";
  if (place.bucket != bucket || place.tag != Link::tag(hop.word)) return Step::overtaken;
  return Step::taken;
}

// One walk down a bucket: to the first record whose key is at or after `key`, or behind it (`key` null: the
// first). The copy holds it. The word behind a record is the one that was seen while the record stood in its
// slot, never read again: in the slot's next use it would lead past records that were there all the time.
ShoalReaderBase::Step ShoalReaderBase::walk(Hop& hop, std::uint32_t bucket, void const* key, bool behind) {
  std::atomic<std::uint64_t> const* head = headOf(bucket);
  if (head == nullptr) return Step::end;
  // Acquire, as each word behind is by the fence of follow(): meets the release of the owner's link store, so the
  // slot's contents are whole.
  hop.word = head->load(std::memory_order_acquire);
  hop.misfit = "a chain runs in a circle";
  for (std::uint32_t hops = 0; hops < kMaxHops; ++hops) {
    Step const step = follow(hop, bucket);
    if (step != Step::taken) return step;
    int const order = key == nullptr ? 1 : keyCompare(hop.key, key, type_.keyBytes);
    if (order > 0 || (order == 0 && !behind)) return Step::taken;
    hop.word = hop.next;
  }
  return Step::overtaken;
}

ReadResult ShoalReaderBase::readBucket(std::uint32_t bucket, void const* key, bool behind, void* out) {
  Hop hop;
  std::uint32_t counter = 0;  // read before the walk, but for the first one, which is rarely overtaken
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    switch (walk(hop, bucket, key, behind)) {
      case Step::end:
        return ReadResult::absent;
      case Step::taken:
        if (!behind && keyCompare(hop.key, key, type_.keyBytes) != 0) return ReadResult::absent;
        std::memcpy(out, copy_.data(), type_.recordBytes);
        return ReadResult::found;
      case Step::overtaken:
        break;
    }
    // What the walk saw of the slot's next use, it saw behind the count of the change that freed the slot.
    acquireFence();
    std::uint32_t const now = changeCounter();
    if (attempt > 0 && now == counter) damage(hop.misfit, bucket);
    counter = now;
  }
  return ReadResult::busy;
}

ReadResult ShoalReaderBase::lookupBytes(void const* key, void* out) {
  KeyPlace const at = keyPlace(key, type_.keyBytes, file_.view().geometry.bucketCount - 1);
  return readBucket(at.bucket, key, false, out);
}

ReadResult ShoalReaderBase::nextBytes(void const* after, void* out) {
  std::uint32_t const buckets = file_.view().geometry.bucketCount;
  std::uint32_t bucket = 0;
  if (after != nullptr) {
    bucket = keyPlace(after, type_.keyBytes, buckets - 1).bucket;
    ReadResult const result = readBucket(bucket, after, true, out);
    if (result != ReadResult::absent) return result;
    ++bucket;
  }
  return firstFrom(bucket, out);
}

ReadResult ShoalReaderBase::firstFrom(std::uint32_t bucket, void* out) {
  std::uint32_t const buckets = file_.view().geometry.bucketCount;
  for (; bucket < buckets; ++bucket) {
    std::atomic<std::uint64_t> const* head = headOf(bucket);
    if (head == nullptr) {
      bucket |= kWordsPerFrame - 1;
      continue;
    }
    if (head->load(std::memory_order_relaxed) == terminatorOf(bucket, salt_)) continue;
    ReadResult const result = readBucket(bucket, nullptr, true, out);
    if (result != ReadResult::absent) return result;
  }
  return ReadResult::absent;
}

std::uint32_t ShoalReaderBase::size() const {
  std::uint64_t const word = file_.view().control()->liveCount.load(std::memory_order_relaxed);
  if (!CheckedWord::valid(word, WordPlace::liveCount, salt_))
    throw Pivot::CorruptionDetectedException(fmt::format("collection '{}': the count is damaged", path_));
  return CheckedWord::payload(word);
}

std::uint64_t ShoalReaderBase::number(RegisterWords const& words, WordPlace place, char const* name) const {
  std::uint64_t value = 0;
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    switch (readRegister(words, place, salt_, value)) {
      case RegisterState::whole:
        return value;
      case RegisterState::busy:
        break;
      case RegisterState::damaged:
        throw Pivot::CorruptionDetectedException(
            fmt::format("collection '{}': the {} is damaged", path_, name));
    }
  }
  throw Pivot::CorruptionDetectedException(
      fmt::format("collection '{}': the {} never stands still", path_, name));
}

std::uint64_t ShoalReaderBase::scratchpad() const {
  return number(file_.view().control()->scratchpad, WordPlace::scratchpad, "scratchpad");
}

std::uint64_t ShoalReaderBase::watermark() const {
  return number(file_.view().control()->watermark, WordPlace::watermark, "watermark");
}

bool ShoalReaderBase::isOfAnotherBoot() const {
  return number(file_.view().control()->boot, WordPlace::boot, "boot it was written under") != bootId();
}

bool ShoalReaderBase::retired() const {
  return file_.view().control()->retired.load(std::memory_order_acquire) !=
         CheckedWord::of(0, WordPlace::retired, salt_);
}

// Acquire: meets the release of countChange(); what was changed before the counter rose is seen by whoever saw it
// risen.
std::uint32_t ShoalReaderBase::changeCounter() const {
  return file_.view().control()->changeCounter.load(std::memory_order_acquire);
}

bool ShoalReaderBase::replaced() const {
  int error = 0;
  Descriptor const file = openFileOf(path_, false, error);
  struct stat status;
  if (!file.isOpen()) return !isShortage(error);
  return ::fstat(file.get(), &status) != 0 || !file_.isSame(status);
}

WaitResult ShoalReaderBase::waitForChange(std::uint32_t counterSeen,
                                          std::chrono::milliseconds timeout) const {
  using Clock = std::chrono::steady_clock;
  Clock::time_point const end = Clock::now() + timeout;
  while (true) {
    if (retired() && replaced()) return WaitResult::replaced;
    if (changeCounter() != counterSeen) return WaitResult::changed;
    auto const left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    if (left.count() <= 0) return WaitResult::timeout;
    futexWait(file_.view().control()->changeCounter, counterSeen, std::min(left, kLookAgain));
    if (replaced()) return WaitResult::replaced;
  }
}

}  // namespace Shoal
