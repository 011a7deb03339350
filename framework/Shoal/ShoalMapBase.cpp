// Lookup, change and walk. The argument of order for a reader beside it stands in docs/store-format.md; the
// short of it, for each store here:
//   - a slot is written while no link leads to it (S4). Its checksum is zeroed first, by release, which meets
//     the acquire of the reader's first look: a reader that came by the former link and finds zero finds the
//     link gone, and the change counted, when it looks again. A release fence follows, which meets the acquire
//     fence of the reader between its copy and its second look at the checksum: a reader that saw one word of
//     the new contents sees that the checksum it began with has gone.
//   - the link is stored by release and loaded by acquire: whoever follows it sees the slot's contents whole.
// A kill between two stores of a change leaves the slot unlinked, which is free, or linked, which is done.
#include "Shoal/ShoalMapBase.h"

#include <fmt/format.h>

#include <algorithm>
#include <bit>
#include <cstring>

#include "Pivot/Exceptions.h"
#include "Shoal/CheckedWord.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/Cursor.h"
#include "Shoal/MountScan.h"
#include "Shoal/RecordCopy.h"
#include "Vex/Assert.h"
#include "Vex/Prefetch.h"
#include "Vex/Trace.h"

namespace Shoal {
namespace {

Vex::TraceHandle traceHandle("Shoal");

// Fetches the lines of a slot side by side, where reading on would fetch them one after the other.
template <bool kForWriting>
void prefetchSlot(std::byte const* slot, std::uint32_t bytes) {
  for (std::uint32_t offset = 0; offset < bytes; offset += kSlotAlignment)
    Vex::prefetch<kForWriting>(slot + offset);
}

}  // namespace

std::atomic<std::uint64_t>* ShoalMapBase::headOf(std::uint32_t bucket) const {
  mustOwn();
  std::uint32_t const frame = frameOf_[bucket / kWordsPerFrame];
  if (frame == kNoFrame) return nullptr;
  return file_.view().frameWords(frame) + bucket % kWordsPerFrame;
}

char const* ShoalMapBase::step(Cursor& cursor, std::uint32_t bucket) const {
  cursor.slot = kNoSlot;
  cursor.word = cursor.link->load(std::memory_order_relaxed);
  if (!Link::isLive(cursor.word))
    return cursor.word == terminatorOf(bucket, salt_) ? nullptr : "neither a link nor the end of its chain";
  std::uint32_t const slot = Link::slot(cursor.word);
  if (slot >= slotsReserved_) return "a link leads beyond the slots";
  if (!Link::fits(cursor.word, file_.view().slotHeader(slot)->checksum.load(std::memory_order_relaxed)))
    return "a link and the record it leads to do not fit";
  type_.keyOf(file_.view().record(slot), cursor.key);
  KeyPlace const place = keyPlace(cursor.key, type_.keyBytes, file_.view().geometry.bucketCount - 1);
  if (place.bucket != bucket || place.tag != Link::tag(cursor.word))
    return "a key does not belong where it is";
  cursor.slot = slot;
  return nullptr;
}

// Leads found_ to the key's record, else to the first record behind the key's place, else to the end of the
// chain. Each key on the way is below the one looked for, so only a chain that runs in a circle could hold
// the walk; the count of slots bounds it.
char const* ShoalMapBase::seek(void const* key, KeyPlace at) const {
  Cursor& cursor = *found_;
  foundAt_ = 0;
  cursor.link = headOf(at.bucket);
  cursor.slot = kNoSlot;
  if (cursor.link == nullptr) return nullptr;
  for (std::uint32_t hops = 0; hops <= slotsReserved_; ++hops) {
    if (char const* damage = step(cursor, at.bucket)) return damage;
    if (cursor.slot == kNoSlot) return nullptr;
    int const order = keyCompare(cursor.key, key, type_.keyBytes);
    if (order >= 0) {
      if (order == 0) foundAt_ = changes_;
      return nullptr;
    }
    cursor.link = &file_.view().slotHeader(cursor.slot)->next;
  }
  return "a chain runs in a circle";
}

// Whether the last search found this key, and its record is still there: no link has changed since, and its own, which
// damage may change, leads to the same record.
bool ShoalMapBase::foundAgain(void const* key) const {
  if (foundAt_ != changes_ || keyCompare(found_->key, key, type_.keyBytes) != 0) return false;
  mustOwn();
  return found_->link->load(std::memory_order_relaxed) == found_->word &&
         Link::fits(found_->word,
                    file_.view().slotHeader(found_->slot)->checksum.load(std::memory_order_relaxed));
}

// Whether the key is there; found_ then leads to its record. Damage on the way is thrown.
bool ShoalMapBase::found(void const* key) const {
  if (foundAgain(key)) return true;
  KeyPlace const at = placeOf(key);
  if (char const* damage = seek(key, at)) throwDamage(damage, at.bucket, found_->slot);
  return foundAt_ == changes_;
}

void ShoalMapBase::throwDamage(char const* what, std::uint32_t bucket, std::uint32_t slot) const {
  std::string message = fmt::format("collection '{}', bucket {}", path(), bucket);
  if (slot != kNoSlot) message += fmt::format(", slot {}", slot);
  throw Pivot::CorruptionDetectedException(fmt::format("{}: {}", message, what));
}

// The record at found_.
void const* ShoalMapBase::verified() const {
  std::uint32_t const slot = found_->slot;
  std::byte const* record = file_.view().record(slot);
  if (!checksumFits(file_.view().slotHeader(slot)->checksum.load(std::memory_order_relaxed),
                    recordChecksum(record, type_.recordBytes, salt_)))
    throwDamage("a record and its checksum do not fit", placeOf(found_->key).bucket, slot);
  return record;
}

void const* ShoalMapBase::findBytes(void const* key) const {
  return found(key) ? verified() : nullptr;
}

bool ShoalMapBase::hasBytes(void const* key) const {
  return found(key);
}

void ShoalMapBase::prefetchBytes(void const* key) const {
  prefetchHead(placeOf(key));
}

void ShoalMapBase::prefetchFirstBytes(void const* key) const {
  prefetchChain(placeOf(key).bucket, kSlotAlignment);
}

// Damaged words and keys are left to the walk that follows.
void ShoalMapBase::prefetchRecordBytes(void const* key) const {
  std::atomic<std::uint64_t> const* const head = headOf(placeOf(key).bucket);
  if (head == nullptr) return;
  std::uint32_t slot = Link::slot(head->load(std::memory_order_relaxed));
  if (slot >= slotsReserved_) return;
  alignas(16) std::byte first[kMaxKeyBytes];
  type_.keyOf(file_.view().record(slot), first);
  if (keyCompare(first, key, type_.keyBytes) != 0)
    slot = Link::slot(file_.view().slotHeader(slot)->next.load(std::memory_order_relaxed));
  if (slot < slotsReserved_) prefetchSlot<false>(file_.view().slot(slot), file_.view().geometry.slotStride);
}

void ShoalMapBase::prefetchHead(KeyPlace at) const {
  if (void const* const head = headOf(at.bucket)) Vex::prefetch(head);
}

// So much of the slot of the chain's first record; the head has been fetched before. A damaged word is left to the
// walk.
void ShoalMapBase::prefetchChain(std::uint32_t bucket, std::uint32_t bytes) const {
  std::atomic<std::uint64_t> const* const head = headOf(bucket);
  if (head == nullptr) return;
  std::uint32_t const slot = Link::slot(head->load(std::memory_order_relaxed));
  if (slot < slotsReserved_) prefetchSlot<false>(file_.view().slot(slot), bytes);
}

// A walk that has come from one bucket to another: the records in front of it, but those that were fetched when it
// came to the first.
void ShoalMapBase::prefetchAhead(std::uint32_t from, std::uint32_t to, Wanted wanted) const {
  std::uint32_t const bytes = wanted == Wanted::key ? kSlotAlignment : file_.view().geometry.slotStride;
  std::uint32_t const ahead = bucketsAhead();
  std::uint32_t const end = std::min(to + ahead, file_.view().geometry.bucketCount);
  for (std::uint32_t bucket = nextOccupied(from + ahead); bucket < end; bucket = nextOccupied(bucket + 1))
    prefetchChain(bucket, bytes);
}

struct ShoalMapBase::Place {
  std::atomic<std::uint64_t>* link;  // leads to the key's record, or to what follows its place
  std::uint64_t successor;           // the word behind the key's record, or the word in link
  std::uint32_t slot;                // of the key's record, or kNoSlot
};

// A change can't fail, so a chain that is found broken is cut in front of the damage.
ShoalMapBase::Place ShoalMapBase::placeFor(void const* key, KeyPlace at) {
  if (!foundAgain(key))
    while (char const* damage = seek(key, at)) cutChain(*found_, at.bucket, damage);
  Place place{found_->link, found_->word, kNoSlot};
  if (found_->link == nullptr) {
    place.successor = terminatorOf(at.bucket, salt_);
  } else if (foundAt_ == changes_) {
    place.slot = found_->slot;
    place.successor = file_.view().slotHeader(found_->slot)->next.load(std::memory_order_relaxed);
  }
  return place;
}

// The records behind the damage are lost: the marks that make the next mount publish everything again are set
// before they go, and whoever holds a copy of the contents sees it by the epoch. Then the whole collection is
// looked through, because nothing else knows what still is live.
void ShoalMapBase::cutChain(Cursor const& cursor, std::uint32_t bucket, char const* what) {
  doCorruptionDetected(fmt::format("collection '{}', bucket {}: {}; the chain is cut", path(), bucket, what));
  notePartLost();
  cursor.link->store(terminatorOf(bucket, salt_), std::memory_order_release);
  countChange();
  MountScan(*this, MountScan::Mode::mend).mend();
}

void ShoalMapBase::setBytes(void const* record) {
  RecordPiece const whole{record, type_.recordBytes};
  alignas(16) std::byte key[kMaxKeyBytes];
  type_.keyOf(record, key);
  write(key, {&whole, 1});
}

// The memory brings the chain while the record is put together; whoever knows the key earlier has fetched its head.
void ShoalMapBase::write(void const* key, std::span<RecordPiece const> pieces) {
  KeyPlace const at = placeOf(key);
  prefetchChain(at.bucket, kSlotAlignment);
  std::uint32_t const slot = freeSlot();
  SlotHeader* header = file_.view().slotHeader(slot);
  // Release: the link that led here went before, and its count.
  header->checksum.store(0, std::memory_order_release);
  releaseFence();
  LOAM_CRASH_POINT("change: slot taken");
  std::byte* const record = file_.view().record(slot);
  std::uint32_t filled = 0;
  for (RecordPiece const& piece : pieces) {
    VEX_ASSERT(filled + piece.length <= type_.recordBytes, "filled + piece.length <= type_.recordBytes");
    copyIntoSlot(record + filled, piece.bytes, piece.length);
    filled += piece.length;
    LOAM_CRASH_POINT("change: piece of the record copied");
  }
  VEX_ASSERT(filled == type_.recordBytes, "filled == type_.recordBytes");
  // Taken of what stands in the slot: only this thread writes there.
  std::uint64_t const checksum = slotChecksum(recordChecksum(record, type_.recordBytes, salt_), changes_);

  Place place = placeFor(key, at);
  bool const isNew = place.slot == kNoSlot;
  takeSlot(slot, isNew);
  if (place.link == nullptr) place.link = frameFor(at.bucket);
  header->next.store(place.successor, std::memory_order_relaxed);
  // Release: whoever came by a former link to the same bytes does not take the word behind from between.
  header->checksum.store(checksum, std::memory_order_release);
  LOAM_CRASH_POINT("change: record whole");
  place.link->store(Link::of(slot, at.tag, checksum), std::memory_order_release);
  LOAM_CRASH_POINT("change: linked");

  if (isNew) {
    occupiedIs(at.bucket, true);
    sizeIs(size_ + 1);
  } else {
    free_.push_back(place.slot);
  }
  // One of the next changes overwrites it whole.
  if (!free_.empty()) prefetchSlot<true>(file_.view().slot(free_.back()), file_.view().geometry.slotStride);
  ++changes_;
  countChange();
}

bool ShoalMapBase::delBytes(void const* key) {
  KeyPlace const at = placeOf(key);
  Place const place = placeFor(key, at);
  if (place.slot == kNoSlot) return false;
  place.link->store(place.successor, std::memory_order_release);
  LOAM_CRASH_POINT("removal: unlinked");
  free_.push_back(place.slot);
  // A word that is neither a link nor the end stays where walks come by it and tell the damage.
  if (place.link == headOf(at.bucket) && place.successor == terminatorOf(at.bucket, salt_))
    occupiedIs(at.bucket, false);
  sizeIs(size_ - 1);
  ++changes_;
  countChange();
  return true;
}

void const* ShoalMapBase::firstBytes(IterHint& hint) const {
  return leadToFirst(0, Wanted::record, hint) ? verified() : nullptr;
}

void const* ShoalMapBase::nextBytes(void const* after, IterHint& hint) const {
  return leadToNext(after, Wanted::record, hint) ? verified() : nullptr;
}

bool ShoalMapBase::firstKeyBytes(void* first, IterHint& hint) const {
  if (!leadToFirst(0, Wanted::key, hint)) return false;
  std::memcpy(first, found_->key, type_.keyBytes);
  return true;
}

bool ShoalMapBase::nextKeyBytes(void const* after, void* next, IterHint& hint) const {
  if (!leadToNext(after, Wanted::key, hint)) return false;
  std::memcpy(next, found_->key, type_.keyBytes);
  return true;
}

// Leads found_ to the first member behind a key, which need not be one. False at the end.
bool ShoalMapBase::leadToNext(void const* after, Wanted wanted, IterHint& hint) const {
  Cursor& cursor = *found_;
  std::uint32_t bucket = hint.bucket_;
  bool here = hint.changes_ == changes_;
  if (here) {
    foundAt_ = 0;
    type_.keyOf(file_.view().record(hint.slot_), cursor.key);
    here = keyCompare(cursor.key, after, type_.keyBytes) == 0;
    cursor.slot = hint.slot_;
  }
  if (!here) {
    bucket = placeOf(after).bucket;
    here = found(after);
  }
  foundAt_ = 0;
  if (here) {
    cursor.link = &file_.view().slotHeader(cursor.slot)->next;
    if (char const* damage = step(cursor, bucket)) throwDamage(damage, bucket, cursor.slot);
    // A chain that runs in a circle would hold the walk.
    if (cursor.slot != kNoSlot && keyCompare(cursor.key, after, type_.keyBytes) <= 0)
      throwDamage("a chain is out of order", bucket, cursor.slot);
  }
  if (cursor.slot == kNoSlot) return leadToFirst(bucket + 1, wanted, hint);
  noteStep(bucket, hint);
  return true;
}

// The same to the first member of a bucket or of those behind it.
bool ShoalMapBase::leadToFirst(std::uint32_t start, Wanted wanted, IterHint& hint) const {
  foundAt_ = 0;
  std::uint32_t const bucket = nextOccupied(start);
  if (bucket >= file_.view().geometry.bucketCount) {
    hint = IterHint();
    return false;
  }
  prefetchAhead(start, bucket + 1, wanted);
  Cursor& cursor = *found_;
  cursor.link = headOf(bucket);
  if (char const* damage = step(cursor, bucket)) throwDamage(damage, bucket, cursor.slot);
  // Only damage empties a bucket that is known to be occupied.
  if (cursor.slot == kNoSlot) throwDamage("an occupied bucket is empty", bucket, kNoSlot);
  noteStep(bucket, hint);
  return true;
}

void ShoalMapBase::noteStep(std::uint32_t bucket, IterHint& hint) const {
  foundAt_ = changes_;
  hint.changes_ = changes_;
  hint.slot_ = found_->slot;
  hint.bucket_ = bucket;
}

void ShoalMapBase::doCorruptionDetected(std::string const& message) {
  VEX_TRACE(traceHandle, 1, "corruption detected: {}", message);
  if (!mounted() || !owns_) return;
  if (damageCounter_ != nullptr) ++*damageCounter_;
  file_.view().control()->corrupted.store(CheckedWord::of(1, WordPlace::corrupted, salt_),
                                          std::memory_order_relaxed);
  countChange();
}

// Plus one, after the change itself and before the slot that it freed is used again: a reader that read the
// counter before it looked, and missed the change, does not fall asleep; one whose walk was overtaken finds
// the counter changed.
void ShoalMapBase::countChange() {
  std::atomic<std::uint32_t>& counter = file_.view().control()->changeCounter;
  counter.store(counter.load(std::memory_order_relaxed) + 1, std::memory_order_release);
}

void ShoalMapBase::sizeIs(std::uint32_t size) {
  size_ = size;
  file_.view().control()->liveCount.store(CheckedWord::of(size, WordPlace::liveCount, salt_),
                                          std::memory_order_relaxed);
  LOAM_CRASH_POINT("change: counted");
}

void ShoalMapBase::notePartLost() {
  ControlArea* control = file_.view().control();
  writeRegister(control->agreesWith, WordPlace::agreesWith, salt_, 0);
  agreesWith_ = 0;
  LOAM_CRASH_POINT("loss: agrees with no log");
  control->wiped.store(CheckedWord::of(1, WordPlace::wiped, salt_), std::memory_order_release);
  LOAM_CRASH_POINT("loss: marked");
  ++lossEpoch_;
}

void ShoalMapBase::occupiedIs(std::uint32_t bucket, bool occupied) {
  std::uint64_t& word = occupied_[bucket / 64];
  std::uint64_t& up = occupiedUp_[bucket / 4096];
  std::uint64_t const bit = std::uint64_t{1} << (bucket % 64);
  std::uint64_t const upBit = std::uint64_t{1} << (bucket / 64 % 64);
  word = occupied ? word | bit : word & ~bit;
  up = word != 0 ? up | upBit : up & ~upBit;
}

// The first occupied bucket at or after `bucket`; the number of buckets if there is none.
std::uint32_t ShoalMapBase::nextOccupied(std::uint32_t bucket) const {
  std::uint32_t const none = file_.view().geometry.bucketCount;
  if (bucket >= none) return none;
  std::uint32_t index = bucket / 64;
  if (std::uint64_t const rest = occupied_[index] >> (bucket % 64); rest != 0)
    return bucket + static_cast<std::uint32_t>(std::countr_zero(rest));
  ++index;
  for (std::uint32_t up = index / 64; up < occupiedUp_.size(); ++up) {
    std::uint64_t word = occupiedUp_[up];
    if (up == index / 64) word &= ~std::uint64_t{0} << (index % 64);
    if (word == 0) continue;
    index = up * 64 + static_cast<std::uint32_t>(std::countr_zero(word));
    return index * 64 + static_cast<std::uint32_t>(std::countr_zero(occupied_[index]));
  }
  return none;
}

}  // namespace Shoal
