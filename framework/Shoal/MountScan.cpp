#include "Shoal/MountScan.h"

#include <fmt/format.h>

#include "Shoal/CheckedWord.h"
#include "Shoal/CrashPoint.h"

namespace Shoal {

bool MountScan::valid(std::atomic<std::uint64_t> const& word, WordPlace place, std::uint32_t& payload) const {
  std::uint64_t const value = word.load(std::memory_order_relaxed);
  payload = CheckedWord::payload(value);
  return CheckedWord::valid(value, place, map_.salt_);
}

MountScan::Result MountScan::mount(std::string& why) {
  Geometry const& g = view_.geometry;
  if (!reserved(0, g.frameOffset, why)) return Result::refused;
  char const* damage = control();
  if (damage == nullptr) damage = pageTable();
  if (damage == nullptr) {
    if (!reserved(g.frameOffset, std::uint64_t{map_.framesUsed_} * kWordsPerFrame * 8, why) ||
        !reserved(g.slotOffset, std::uint64_t{map_.slotsReserved_} * g.slotStride, why))
      return Result::refused;
    damage = records();
  }
  if (damage == nullptr) {
    map_.countChange();  // what a dead owner changed last it may not have counted, and its slot is used again now
    return Result::mounted;
  }
  why = fmt::format("collection '{}': {}", map_.path(), damage);
  return Result::lost;
}

// What counts as reserved is reserved once more before it is touched: a file that was cut and made longer
// again has holes.
bool MountScan::reserved(std::uint64_t offset, std::uint64_t bytes, std::string& why) const {
  if (bytes == 0) return true;
  Pivot::Status const status = map_.file_.reserve(offset, bytes);
  why = status.message();
  return status.isOk();
}

void MountScan::mend() {
  if (char const* damage = records()) map_.doCorruptionDetected(damage);
}

void MountScan::restate() {
  ControlArea* control = view_.control();
  auto const set = [&](std::atomic<std::uint64_t>& word, WordPlace place, std::uint32_t payload) {
    word.store(CheckedWord::of(payload, place, map_.salt_), std::memory_order_release);
  };
  auto const number = [&](RegisterWords& words, WordPlace place, std::uint64_t value) {
    std::uint64_t found = 0;
    if (readRegister(words, place, map_.salt_, found) != RegisterState::whole)
      initRegister(words, place, map_.salt_, value);
  };
  set(control->retired, WordPlace::retired, 0);
  set(control->slotsReserved, WordPlace::slotsReserved, map_.slotsReserved_);
  std::uint32_t payload = 0;
  // Whether it was set is not known then.
  if (!valid(control->wiped, WordPlace::wiped, payload)) set(control->wiped, WordPlace::wiped, 1);
  if (!valid(control->intentWord, WordPlace::intent, payload)) set(control->intentWord, WordPlace::intent, 0);
  number(control->scratchpad, WordPlace::scratchpad, map_.scratchpad_);
  number(control->watermark, WordPlace::watermark, map_.watermark_);
  number(control->agreesWith, WordPlace::agreesWith, map_.agreesWith_);
  number(control->boot, WordPlace::boot, map_.boot_);
  for (std::uint32_t page = 0; page < map_.frameOf_.size(); ++page) {
    std::uint32_t const frame = map_.frameOf_[page];
    view_.pageTableCell(page)->store(
        CheckedWord::of(frame == ShoalMapBase::kNoFrame ? 0 : frame + 1, 0,
                        static_cast<std::uint32_t>(WordPlace::pageTable) + page, map_.salt_),
        std::memory_order_release);
  }
}

char const* MountScan::control() {
  ControlArea* control = view_.control();
  std::uint32_t payload = 0;
  if (!valid(control->retired, WordPlace::retired, payload) || payload != 0) return "it was retired";
  if (!valid(control->wiped, WordPlace::wiped, payload) || payload > 1) return "the wiped mark is damaged";
  if (!valid(control->slotsReserved, WordPlace::slotsReserved, payload) || payload < 2 ||
      payload > view_.geometry.slotCount())
    return "the number of reserved slots is damaged";
  map_.slotsReserved_ = payload;
  if (readRegister(control->scratchpad, WordPlace::scratchpad, map_.salt_, map_.scratchpad_) !=
      RegisterState::whole)
    return "the scratchpad is damaged";
  if (readRegister(control->agreesWith, WordPlace::agreesWith, map_.salt_, map_.agreesWith_) !=
      RegisterState::whole)
    return "the incarnation it agrees with is damaged";
  if (readRegister(control->watermark, WordPlace::watermark, map_.salt_, map_.watermark_) !=
      RegisterState::whole)
    return "the watermark is damaged";
  if (readRegister(control->boot, WordPlace::boot, map_.salt_, map_.boot_) != RegisterState::whole)
    return "the boot it was written under is damaged";
  if (!valid(control->intentWord, WordPlace::intent, payload) || payload > kIntentBytes ||
      (payload != 0 &&
       control->intentCheck != bytesChecksum(control->intentBytes.data(), payload, map_.salt_)))
    return "the intent is damaged";
  // The mark of damage is no loss when it is damaged itself.
  if (!valid(control->corrupted, WordPlace::corrupted, payload))
    control->corrupted.store(CheckedWord::of(1, WordPlace::corrupted, map_.salt_), std::memory_order_relaxed);
  return nullptr;
}

// Frames are handed out in order, so the used ones are those below the highest; each belongs to one page.
char const* MountScan::pageTable() {
  std::uint32_t const pages = view_.geometry.frameCount();
  map_.frameOf_.assign(pages, ShoalMapBase::kNoFrame);
  map_.framesUsed_ = 0;
  map_.framesUnmapped_ = pages;
  std::vector<bool> used(pages);
  for (std::uint32_t page = 0; page < pages; ++page) {
    std::uint64_t const cell = view_.pageTableCell(page)->load(std::memory_order_relaxed);
    std::uint32_t const frame = CheckedWord::payload(cell);
    if (!CheckedWord::valid(cell, static_cast<std::uint32_t>(WordPlace::pageTable) + page, map_.salt_) ||
        frame > pages)
      return "the page table is damaged";
    if (frame == 0) continue;
    if (used[frame - 1]) return "two directory pages share a frame";
    used[frame - 1] = true;
    map_.frameOf_[page] = frame - 1;
    --map_.framesUnmapped_;
    if (map_.framesUsed_ < frame) map_.framesUsed_ = frame;
  }
  if (map_.framesUsed_ != pages - map_.framesUnmapped_) return "a frame belongs to no directory page";
  return nullptr;
}

char const* MountScan::records() {
  std::uint32_t const buckets = view_.geometry.bucketCount;
  live_ = 0;
  seen_.assign(map_.slotsReserved_, false);
  free_.assign(map_.slotsReserved_, true);
  key_.resize(map_.type_.keyBytes);
  map_.occupied_.assign(buckets / 64, 0);
  map_.occupiedUp_.assign((buckets + 4095) / 4096, 0);
  std::uint32_t const bucketsAhead = map_.bucketsAhead();
  for (std::uint32_t bucket = 0; bucket < buckets; ++bucket) {
    if (map_.headOf(bucket) == nullptr) {
      bucket |= kWordsPerFrame - 1;
      continue;
    }
    if (std::uint32_t const ahead = bucket + bucketsAhead; ahead < buckets)
      map_.prefetchChain(ahead, view_.geometry.slotStride);
    if (char const* damage = chain(bucket)) return damage;
  }
  if (live_ > view_.geometry.capacity) return "there are more records than its capacity";
  map_.free_.clear();
  for (std::uint32_t slot = map_.slotsReserved_; slot-- > 0;)
    if (free_[slot]) map_.free_.push_back(slot);
  map_.sizeIs(live_);
  ++map_.changes_;
  return nullptr;
}

// True if the record in the slot is whole, is the one that the link means, and stands where it belongs.
bool MountScan::belongs(std::uint32_t slot, std::uint64_t word, std::uint32_t bucket) {
  std::byte const* record = view_.record(slot);
  std::uint64_t const stored = view_.slotHeader(slot)->checksum.load(std::memory_order_relaxed);
  if (!Link::fits(word, stored)) return false;
  if (!checksumFits(stored, recordChecksum(record, map_.type_.recordBytes, map_.salt_))) return false;
  map_.type_.keyOf(record, key_.data());
  KeyPlace const place = keyPlace(key_.data(), map_.type_.keyBytes, view_.geometry.bucketCount - 1);
  return place.bucket == bucket && place.tag == Link::tag(word);
}

// One chain, each record verified. `good` is the last link that stays: a bad record is unlinked by leading it
// past the record, and again past the next one if that is bad too.
char const* MountScan::chain(std::uint32_t bucket) {
  std::atomic<std::uint64_t>* good = map_.headOf(bucket);
  std::uint64_t word = good->load(std::memory_order_relaxed);
  std::uint64_t const end = terminatorOf(bucket, map_.salt_);
  before_.clear();
  char const* damage = nullptr;
  while (word != end) {
    std::uint32_t const slot = Link::slot(word);
    damage = "a link is damaged";
    if (!Link::isLive(word) || slot >= map_.slotsReserved_) break;
    damage = "two links lead to one record";
    if (seen_[slot]) break;
    SlotHeader* header = view_.slotHeader(slot);
    std::uint64_t const next = header->next.load(std::memory_order_relaxed);
    bool const whole = belongs(slot, word, bucket);
    damage = "a link and the record it leads to do not fit";
    // A record that its link does mean, by the stored or by the true checksum, is a bad record; any other is
    // a bad link.
    if (!whole && !Link::fits(word, header->checksum.load(std::memory_order_relaxed)) &&
        !Link::fits(word, recordChecksum(view_.record(slot), map_.type_.recordBytes, map_.salt_)))
      break;
    damage = "a chain is out of order";
    if (whole && !before_.empty() && keyCompare(before_.data(), key_.data(), map_.type_.keyBytes) >= 0) break;
    damage = nullptr;
    seen_[slot] = true;
    if (whole) {
      free_[slot] = false;
      before_ = key_;
      good = &header->next;
      ++live_;
      map_.occupiedIs(bucket, true);
    } else {
      drop(good, next, bucket);
    }
    word = next;
  }
  if (damage == nullptr || mode_ == Mode::mount) return damage;
  drop(good, end, bucket);
  return nullptr;
}

void MountScan::drop(std::atomic<std::uint64_t>* link, std::uint64_t next, std::uint32_t bucket) {
  map_.doCorruptionDetected(
      fmt::format("collection '{}', bucket {}: {}", map_.path(), bucket,
                  mode_ == Mode::mount ? "a damaged record is dropped" : "the chain is cut"));
  map_.notePartLost();
  link->store(next, std::memory_order_release);
  map_.countChange();
  LOAM_CRASH_POINT("mount: damaged record dropped");
}

}  // namespace Shoal
