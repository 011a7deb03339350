// The owner's side of one collection file, as bytes: mount, lookup, change, walk, space. There is one owner
// of a file at a time (the root lock sees to it) and it uses the map from one thread. Readers of other
// processes see each change as one store of a link word.
//
// What is in the file and what is recomputed: the file holds records, links and marks; which slots are free,
// which frames are used, which buckets are occupied and how many records there are is found at mount and
// lives in this object alone, so that a kill at any moment leaves nothing to take back.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Cobble/Export.h"
#include "Pivot/Status.h"
#include "Shoal/CollectionControl.h"
#include "Shoal/CollectionFile.h"
#include "Shoal/CollectionSpec.h"
#include "Shoal/FileLayout.h"
#include "Shoal/IterHint.h"
#include "Shoal/RecordTraits.h"

namespace Shoal {

// A run of bytes of a record that is put together.
struct RecordPiece {
  void const* bytes;
  std::uint32_t length;
};

class LOAM_FRAMEWORK_EXPORT ShoalMapBase {
 public:
  ~ShoalMapBase();
  ShoalMapBase(ShoalMapBase const&) = delete;
  ShoalMapBase& operator=(ShoalMapBase const&) = delete;

  // Opens the collection of an earlier life, contents kept, or makes it. A file that does not fit, a broken
  // chain and a file that the manifest knows and the directory has not are losses: the collection starts
  // anew, wiped. A single damaged record is dropped, with the same mark. Refused: the role isn't claimed or
  // its lock was deleted, another map of this process or another process owns the collection, a bad path, no
  // space, no permission, sizes beyond the format. Once.
  [[nodiscard]] Pivot::Status mount(CollectionSpec const& spec);
  bool mounted() const { return file_.view().base != nullptr; }

  std::string const& path() const { return spec_.path; }
  std::uint32_t size() const { return size_; }
  std::uint32_t capacity() const { return file_.view().geometry.capacity; }
  std::uint32_t maximum() const { return spec_.maximum; }
  // A number of this process alone that becomes another one whenever the collection loses members that nobody
  // removed (a damaged record, what stood behind a broken link), and differs between two mounts. Whoever keeps
  // a copy of what the collection contains notes it with the copy, and makes the copy anew when it differs.
  std::uint64_t lossEpoch() const { return lossEpoch_; }
  // A number that rises with each damage that is met on this collection from now on, for whoever mends collections
  // while their owner runs. It outlives the map.
  void damageCounterIs(std::uint64_t* counter) { damageCounter_ = counter; }
  VexShoal::CollectionControl& collectionControl() { return control_; }
  VexShoal::CollectionControl const& collectionControl() const { return control_; }

  // Makes sure that `count` further records find room, whatever their keys. Refused, with nothing changed for
  // the records: the capacity would be exceeded, or the file system has no space. Cheap while the room is
  // there.
  Pivot::Status reserve(std::uint32_t count) {
    if (count < free_.size() && framesReady_ >= framesNeeded(count)) [[likely]]
      return Pivot::Status::ok();
    return reserveMore(count);
  }

  // Reports damage that a read met: one trace at level 1, and the mark in the header.
  void doCorruptionDetected(std::string const& message);
  // Looks the whole collection through, as a mount does: what this owner knows of the file is written over what
  // others read there, and what can't be read is dropped, with the marks of a loss. Returns whether members were
  // lost. No walk, reference or hint outlives it. REQUIRES: no intent stands.
  bool mend();
  // Gives up the contents, which are whole and not to be believed: the collection starts anew as after a loss,
  // for the reason told. Refused, with nothing changed: no space.
  [[nodiscard]] Pivot::Status giveUp(std::string const& why);

 protected:
  explicit ShoalMapBase(RecordType const& type);

  void const* findBytes(void const* key) const;
  bool hasBytes(void const* key) const;
  void prefetchBytes(void const* key) const;
  void prefetchFirstBytes(void const* key) const;
  void prefetchRecordBytes(void const* key) const;
  void setBytes(void const* record);
  void write(void const* key, std::span<RecordPiece const> pieces);
  bool delBytes(void const* key);
  void const* firstBytes(IterHint& hint) const;
  void const* nextBytes(void const* after, IterHint& hint) const;
  bool firstKeyBytes(void* first, IterHint& hint) const;
  bool nextKeyBytes(void const* after, void* next, IterHint& hint) const;

 private:
  friend class VexShoal::CollectionControl;
  friend class MountScan;
  friend struct Ownership;

  // A walk's position in one chain. `link` is the word that leads on; `slot` is where it leads, or kNoSlot at
  // the terminator.
  struct Cursor;
  // Where a change of a key happens.
  struct Place;
  enum class MountResult { mounted, missing, lost, refused };
  static constexpr std::uint32_t kNoSlot = 0xFFFFFFFF;
  static constexpr std::uint32_t kNoFrame = 0xFFFFFFFF;
  // How many buckets in front of a walk the memory brings records, which lie anywhere in the file: those of about
  // sixteen.
  std::uint32_t bucketsAhead() const {
    std::uint32_t const buckets = file_.view().geometry.bucketCount;
    return 16 * (buckets <= slotsReserved_ ? 1 : buckets / slotsReserved_);
  }

  // Fatal when the collection is another's: after StoreRoot::release(), and in a forked child.
  void mustOwn() const {
    if (!owns_) [[unlikely]]
      notOwner();
  }
  [[noreturn]] void notOwner() const;
  ControlArea* ownControl() const {
    mustOwn();
    return file_.view().control();
  }
  void leaveToParent() noexcept {
    owns_ = false;
    file_.leaveToParent();
  }
  std::atomic<std::uint64_t>* headOf(std::uint32_t bucket) const;
  // Null, or what is damaged at the cursor.
  char const* step(Cursor& cursor, std::uint32_t bucket) const;
  KeyPlace placeOf(void const* key) const {
    return keyPlace(key, type_.keyBytes, file_.view().geometry.bucketCount - 1);
  }
  char const* seek(void const* key, KeyPlace at) const;
  bool foundAgain(void const* key) const;
  bool found(void const* key) const;
  [[noreturn]] void throwDamage(char const* what, std::uint32_t bucket, std::uint32_t slot) const;
  void const* verified() const;
  // What a walk wants of each record.
  enum class Wanted { record, key };
  bool leadToFirst(std::uint32_t start, Wanted wanted, IterHint& hint) const;
  bool leadToNext(void const* after, Wanted wanted, IterHint& hint) const;
  void noteStep(std::uint32_t bucket, IterHint& hint) const;

  void prefetchHead(KeyPlace at) const;
  void prefetchChain(std::uint32_t bucket, std::uint32_t bytes) const;
  void prefetchAhead(std::uint32_t from, std::uint32_t to, Wanted wanted) const;
  Place placeFor(void const* key, KeyPlace at);
  void cutChain(Cursor const& cursor, std::uint32_t bucket, char const* what);
  std::atomic<std::uint64_t>* frameFor(std::uint32_t bucket);
  std::uint32_t freeSlot();
  void takeSlot(std::uint32_t slot, bool isNew);
  void countChange();
  void sizeIs(std::uint32_t size);
  std::uint32_t framesNeeded(std::uint32_t count) const {
    return count < framesUnmapped_ ? count : framesUnmapped_;
  }
  Pivot::Status reserveMore(std::uint32_t count);
  Pivot::Status growSlots(std::uint32_t count);
  Pivot::Status growFrames(std::uint32_t count);

  Pivot::Status mountOwned();
  MountResult openExisting(std::string& why);
  MountResult adopt(std::string& why);
  Pivot::Status startAnew(std::string const& lostBecause);
  // Marks the loss of a part of the contents, before the part goes.
  void notePartLost();
  void occupiedIs(std::uint32_t bucket, bool occupied);
  std::uint32_t nextOccupied(std::uint32_t bucket) const;

  RecordType const& type_;
  CollectionSpec spec_;
  CollectionFile file_;
  VexShoal::CollectionControl control_{*this};
  std::uint64_t incarnation_ = 0;
  std::uint64_t salt_ = 0;
  std::uint64_t changes_ = 1;  // of links; what an IterHint compares with
  // Where the last search or step of a walk came to, and the change at which a member was there, else 0: one operation
  // of a table asks for its key up to five times.
  std::unique_ptr<Cursor> const found_;
  mutable std::uint64_t foundAt_ = 0;
  std::uint64_t lossEpoch_ = 0;
  std::uint64_t* damageCounter_ = nullptr;
  std::uint32_t size_ = 0;
  std::uint32_t slotsReserved_ = 0;
  std::uint32_t framesUsed_ = 0;      // frames below it belong to a directory page
  std::uint32_t framesReady_ = 0;     // reserved frames beyond those
  std::uint32_t framesUnmapped_ = 0;  // directory pages without a frame
  bool owns_ = false;
  bool isMadeNow_ = false;
  bool isNew_ = false;
  std::uint64_t scratchpad_ = 0;
  std::uint64_t watermark_ = 0;
  std::uint64_t agreesWith_ = 0;
  std::uint64_t boot_ = 0;
  std::vector<std::uint32_t> frameOf_;  // by directory page
  std::vector<std::uint32_t> free_;  // last in, first out: the slot freed last is the one still in the cache
  std::vector<std::uint64_t> occupied_;    // one bit for each bucket
  std::vector<std::uint64_t> occupiedUp_;  // one bit for each word of occupied_
};

}  // namespace Shoal
