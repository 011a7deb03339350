// The control area of one mounted collection, from its owner's side: marks and one number that survive a
// restart, and for the change log the intent of the publication under way. Obtained from
// ShoalMapBase::collectionControl(); lives as long as the map. Owner's thread.
//
// A change is kept whole or not at all when the owner is killed within it. Values are checked at mount, so
// the reads here never fail: a control area that does not read is a lost collection, and starts anew.
#pragma once

#include <cstdint>
#include <span>

#include "Cobble/Export.h"

namespace Shoal {
class ShoalMapBase;
}

namespace VexShoal {

class LOAM_FRAMEWORK_EXPORT CollectionControl {
 public:
  explicit CollectionControl(Shoal::ShoalMapBase& map) : map_(&map) {}

  // One number of the owner's; 0 in a new collection. No system call.
  std::uint64_t scratchpad() const;
  void scratchpadIs(std::uint64_t value);

  // Another such number, for a bound that moves with the contents. No system call.
  std::uint64_t watermark() const;
  void watermarkIs(std::uint64_t value);

  // Set when earlier contents were lost, whole or one record; stays until cleared, over restarts too.
  bool wiped() const;
  void clearWiped();
  // The owner knows that a part of the contents is lost, although what stands is whole: sets the mark, and agrees
  // with nothing.
  void notePartLost();

  // Random, never 0, new whenever the contents start anew.
  std::uint64_t incarnation() const;
  // The incarnation of another collection (the change log) with which this one agrees. 0 in a new collection
  // and after a loss.
  std::uint64_t agreesWith() const;
  void agreesWithIs(std::uint64_t incarnation);
  // This mount made the collection, and the store never had it: nothing was lost. Not kept over a restart.
  bool isNew() const;
  // The same whether anything was lost or not: nothing of earlier contents stands.
  bool isMadeNow() const;

  // The contents come from another boot of the kernel: a store that outlives kernels. What that means the owner
  // decides, and vouches for the contents when it has done so.
  bool isOfAnotherBoot() const;
  void notePresentBoot();

  // The intent of the publication under way: at most 192 bytes, checked. Write it before the first record of
  // a publication and clear it after the last; it costs the cache lines that its bytes touch, and no system
  // call. intentIs REQUIRES 1 to 192 bytes. A standing intent is replaced only after it was cleared.
  void intentIs(std::span<std::uint8_t const> bytes);
  void clearIntent();
  // The standing intent, also one that an earlier life left; empty if none. Valid until the next change of
  // the intent.
  std::span<std::uint8_t const> intent() const;

  // Damage was reported on this collection (in this life or an earlier one); for inspection.
  bool corrupted() const;

  // Wakes the readers that wait for a change. One system call: changes do not wake by themselves, so whoever
  // has announced something calls this once for all of it. A reader that nobody wakes looks again within a
  // second.
  void wakeReaders();

 private:
  Shoal::ShoalMapBase* map_;
};

}  // namespace VexShoal
