// A mounted collection as its owner sees it: a map of fixed-size records, kept in a file of shared memory
// that other processes read and that the owner's next life opens again. The type makes records of bytes and
// back; all work is done in ShoalMapBase.
//
// Reads throw Pivot::CorruptionDetectedException when they meet damage; those of ReportedReads.h hand the message
// to doCorruptionDetected and go on. Changes never throw: they cut a chain that is broken, report the loss and mark
// it, so that the next mount publishes the contents again. Whoever keeps a copy of the contents hears of a loss by
// lossEpoch(). One thread.
#pragma once

#include <initializer_list>

#include "Shoal/IterHint.h"
#include "Shoal/RecordTraits.h"
#include "Shoal/ShoalMapBase.h"

namespace Shoal {

template <class Record, class Key = typename RecordTraits<Record>::Key>
class ShoalMap : public ShoalMapBase {
 public:
  // Not mounted: mount() comes next.
  ShoalMap() : ShoalMapBase(RecordType::of<Record, Key>()) {}

  // The record of a key, null if absent. It lies in the mapping and is valid until the next change of this
  // collection.
  Record const* find(Key const& key) const { return static_cast<Record const*>(findBytes(&key)); }
  // Cheaper than find: the record's contents are not verified, its key is.
  bool has(Key const& key) const { return hasBytes(&key); }
  // The memory brings what a look at a key needs, in three steps with other work between them: the word that its
  // bucket begins with, the beginning of the record to which that leads, and the record of the key, which nearly
  // always is that one or the next.
  void prefetch(Key const& key) const { prefetchBytes(&key); }
  void prefetchFirst(Key const& key) const { prefetchFirstBytes(&key); }
  void prefetchRecord(Key const& key) const { prefetchRecordBytes(&key); }

  // Inserts or replaces the record of its key. REQUIRES room: reserve(1) said ok before, or the key is
  // present; without room fatal. `record` may not lie in this collection's own mapping.
  void set(Record const& record) { setBytes(&record); }
  // The same as set() for a record that lies in several places: put together in its slot, so that no copy of
  // the whole is made before. REQUIRES what set() does, and: the pieces follow each other without a gap, each
  // is a multiple of 8 bytes, and together they are one Record with this key.
  void setPieces(Key const& key, std::initializer_list<RecordPiece> pieces) {
    write(&key, {pieces.begin(), pieces.size()});
  }
  // Removes the record of a key; false if there was none.
  bool del(Key const& key) { return delBytes(&key); }

  // A walk over all records: every record that stays is delivered once, whatever else is added, replaced or
  // removed between two steps, the current one included. Null at the end.
  Record const* first(IterHint& hint) const { return static_cast<Record const*>(firstBytes(hint)); }
  Record const* next(Key const& after, IterHint& hint) const {
    return static_cast<Record const*>(nextBytes(&after, hint));
  }
  // The same walk over the keys alone, for a fraction of its cost: of each record the memory brings what its key needs,
  // and its contents are not verified. False at the end.
  bool firstKey(Key& first, IterHint& hint) const { return firstKeyBytes(&first, hint); }
  bool nextKey(Key const& after, Key& next, IterHint& hint) const {
    return nextKeyBytes(&after, &next, hint);
  }
};

}  // namespace Shoal
