// Slots and frames: where memory is reserved, and where it is handed out.
//
// Memory grows in steps of an eighth, so that it follows the records; a step that does not fit is tried again
// at what is needed. A slot or frame counts only after posix_fallocate gave its memory (S3); what a kill
// leaves reserved and uncounted is reserved again by the next life, at no cost.
#include <fmt/format.h>

#include <algorithm>

#include "Shoal/CheckedWord.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/ShoalMapBase.h"
#include "Vex/Assert.h"

namespace Shoal {

Pivot::Status ShoalMapBase::reserveMore(std::uint32_t count) {
  mustOwn();
  if (count > capacity() - size_)
    return Pivot::Status::refused(
        fmt::format("collection '{}' is full: {} records, {} more do not fit, capacity {}", path(), size_,
                    count, capacity()));
  if (count >= free_.size())
    if (Pivot::Status grown = growSlots(count); !grown) return grown;
  return growFrames(count);
}

// Until there are `count` free slots and the spare one.
Pivot::Status ShoalMapBase::growSlots(std::uint32_t count) {
  Geometry const& g = file_.view().geometry;
  std::uint32_t const needed = count + 1 - static_cast<std::uint32_t>(free_.size());
  std::uint32_t const roomy = std::max(64 * 1024 / g.slotStride, slotsReserved_ / 8);
  std::uint32_t step = std::min(std::max(needed, roomy), g.slotCount() - slotsReserved_);
  VEX_ASSERT_MSG(step >= needed, "slots suffice for the capacity", "collection '{}': {} of {}", path(), step,
                 needed);
  auto const reserve = [&](std::uint32_t slots) {
    return file_.reserve(g.slotOffset + std::uint64_t{slotsReserved_} * g.slotStride,
                         std::uint64_t{slots} * g.slotStride);
  };
  Pivot::Status status = reserve(step);
  if (!status && step > needed) {
    step = needed;
    status = reserve(step);
  }
  if (!status) return status;
  LOAM_CRASH_POINT("growth: memory of slots reserved");
  // Before any link leads there, which is stored by release: a reader that follows such a link finds the slot
  // within its reach when it looks again.
  file_.view().control()->slotsReserved.store(
      CheckedWord::of(slotsReserved_ + step, WordPlace::slotsReserved, salt_), std::memory_order_relaxed);
  LOAM_CRASH_POINT("growth: slots in reach");
  for (std::uint32_t slot = slotsReserved_ + step; slot-- > slotsReserved_;) free_.push_back(slot);
  slotsReserved_ += step;
  return status;
}

// Until as many frames are ready as `count` keys can need: one for each directory page that has none yet.
Pivot::Status ShoalMapBase::growFrames(std::uint32_t count) {
  std::uint32_t const needed = framesNeeded(count);
  if (framesReady_ >= needed) return Pivot::Status::ok();
  std::uint64_t const frameBytes = kWordsPerFrame * 8;
  Geometry const& g = file_.view().geometry;
  Pivot::Status status = file_.reserve(g.frameOffset + (framesUsed_ + framesReady_) * frameBytes,
                                       (needed - framesReady_) * frameBytes);
  LOAM_CRASH_POINT("growth: memory of frames reserved");
  if (status) framesReady_ = needed;
  return status;
}

// The free slot that the next change fills. It counts as free until takeSlot().
std::uint32_t ShoalMapBase::freeSlot() {
  if (free_.empty()) {
    Pivot::Status const status = growSlots(0);
    VEX_ASSERT_MSG(status.isOk(), "there is room for the record", "{} (reserve() tells before)",
                   status.message());
  }
  return free_.back();
}

// The slot is free no more. A new record leaves one free slot behind, for replacements (S5).
void ShoalMapBase::takeSlot(std::uint32_t slot, bool isNew) {
  if (isNew && free_.size() == 1) {
    Pivot::Status const status = reserveMore(1);
    VEX_ASSERT_MSG(status.isOk(), "there is room for the record", "{} (reserve() tells before)",
                   status.message());
  }
  // Growing, or mending a chain on the way to the place, has put others behind it.
  if (free_.back() == slot) [[likely]]
    free_.pop_back();
  else
    std::erase(free_, slot);
}

// Gives the directory page of a bucket its frame. Its words are the ends of empty chains before the page
// table names it, by release: a reader finds no page or a whole one.
std::atomic<std::uint64_t>* ShoalMapBase::frameFor(std::uint32_t bucket) {
  if (framesReady_ == 0) {
    Pivot::Status const status = growFrames(1);
    VEX_ASSERT_MSG(status.isOk(), "there is room for the record", "{} (reserve() tells before)",
                   status.message());
  }
  std::uint32_t const frame = framesUsed_++;
  --framesReady_;
  --framesUnmapped_;
  std::uint32_t const page = bucket / kWordsPerFrame;
  std::atomic<std::uint64_t>* words = file_.view().frameWords(frame);
  for (std::uint32_t i = 0; i < kWordsPerFrame; ++i)
    words[i].store(terminatorOf(page * kWordsPerFrame + i, salt_), std::memory_order_relaxed);
  LOAM_CRASH_POINT("growth: frame filled");
  file_.view().pageTableCell(page)->store(
      CheckedWord::of(frame + 1, 0, static_cast<std::uint32_t>(WordPlace::pageTable) + page, salt_),
      std::memory_order_release);
  LOAM_CRASH_POINT("growth: frame in place");
  frameOf_[page] = frame;
  return words + bucket % kWordsPerFrame;
}

}  // namespace Shoal
