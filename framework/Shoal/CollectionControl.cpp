#include "Shoal/CollectionControl.h"

#include <algorithm>
#include <cstring>

#include "Shoal/BootId.h"
#include "Shoal/CheckedWord.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/Futex.h"
#include "Shoal/ShoalMapBase.h"
#include "Vex/Assert.h"

namespace VexShoal {

using Shoal::CheckedWord;
using Shoal::ControlArea;
using Shoal::WordPlace;

std::uint64_t CollectionControl::scratchpad() const {
  return map_->scratchpad_;
}

void CollectionControl::scratchpadIs(std::uint64_t value) {
  Shoal::writeRegister(map_->ownControl()->scratchpad, WordPlace::scratchpad, map_->salt_, value);
  map_->scratchpad_ = value;
  map_->countChange();
}

std::uint64_t CollectionControl::watermark() const {
  return map_->watermark_;
}

void CollectionControl::watermarkIs(std::uint64_t value) {
  Shoal::writeRegister(map_->ownControl()->watermark, WordPlace::watermark, map_->salt_, value);
  map_->watermark_ = value;
  map_->countChange();
}

bool CollectionControl::isOfAnotherBoot() const {
  return map_->boot_ != Shoal::bootId();
}

void CollectionControl::notePresentBoot() {
  if (!isOfAnotherBoot()) return;
  Shoal::writeRegister(map_->ownControl()->boot, WordPlace::boot, map_->salt_, Shoal::bootId());
  map_->boot_ = Shoal::bootId();
  map_->countChange();
}

bool CollectionControl::wiped() const {
  return CheckedWord::payload(map_->ownControl()->wiped.load(std::memory_order_relaxed)) != 0;
}

void CollectionControl::clearWiped() {
  map_->ownControl()->wiped.store(CheckedWord::of(0, WordPlace::wiped, map_->salt_),
                                  std::memory_order_release);
  LOAM_CRASH_POINT("loss: mark cleared");
  map_->countChange();
}

void CollectionControl::notePartLost() {
  map_->mustOwn();
  map_->notePartLost();
  map_->countChange();
}

std::uint64_t CollectionControl::incarnation() const {
  return map_->incarnation_;
}

std::uint64_t CollectionControl::agreesWith() const {
  return map_->agreesWith_;
}

void CollectionControl::agreesWithIs(std::uint64_t incarnation) {
  Shoal::writeRegister(map_->ownControl()->agreesWith, WordPlace::agreesWith, map_->salt_, incarnation);
  map_->agreesWith_ = incarnation;
  map_->countChange();
}

bool CollectionControl::isNew() const {
  return map_->isNew_;
}

bool CollectionControl::isMadeNow() const {
  return map_->isMadeNow_;
}

// The word that makes the intent stand comes last, by release: a kill before it leaves the cleared word, and
// bytes that mean nothing.
void CollectionControl::intentIs(std::span<std::uint8_t const> bytes) {
  VEX_ASSERT_MSG(!bytes.empty() && bytes.size() <= Shoal::kIntentBytes, "intent has 1 to 192 bytes",
                 "{} bytes for {}", bytes.size(), map_->path());
  ControlArea* control = map_->ownControl();
  VEX_ASSERT_MSG(CheckedWord::payload(control->intentWord.load(std::memory_order_relaxed)) == 0,
                 "no intent stands", "a second publication on {}", map_->path());
  // For a kill in between only the compiler's order counts: no byte may come before the word that cleared the
  // intent before.
  std::atomic_signal_fence(std::memory_order_seq_cst);
  std::memcpy(control->intentBytes.data(), bytes.data(), bytes.size());
  LOAM_CRASH_POINT("intent: bytes copied");
  control->intentCheck = Shoal::bytesChecksum(bytes.data(), bytes.size(), map_->salt_);
  LOAM_CRASH_POINT("intent: check written");
  control->intentWord.store(
      CheckedWord::of(static_cast<std::uint32_t>(bytes.size()), WordPlace::intent, map_->salt_),
      std::memory_order_release);
  LOAM_CRASH_POINT("intent: stands");
}

void CollectionControl::clearIntent() {
  map_->ownControl()->intentWord.store(CheckedWord::of(0, WordPlace::intent, map_->salt_),
                                       std::memory_order_release);
  LOAM_CRASH_POINT("intent: cleared");
}

std::span<std::uint8_t const> CollectionControl::intent() const {
  ControlArea const* control = map_->ownControl();
  std::uint32_t const length = CheckedWord::payload(control->intentWord.load(std::memory_order_relaxed));
  return {control->intentBytes.data(), std::min(length, Shoal::kIntentBytes)};
}

bool CollectionControl::corrupted() const {
  return CheckedWord::payload(map_->ownControl()->corrupted.load(std::memory_order_relaxed)) != 0;
}

// Nobody is woken by one that owns the collection no more, as at the end of a forked child.
void CollectionControl::wakeReaders() {
  if (map_->owns_) Shoal::futexWakeAll(map_->ownControl()->changeCounter);
}

}  // namespace VexShoal
