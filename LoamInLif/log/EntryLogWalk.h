#pragma once
// How the entry log reads the shared collections. Damage that a read finds is reported to the collection and
// never reaches the caller: a lookup goes on with the type's default record, a walk ends where it stands.
#include "Pivot/Exceptions.h"
#include "Shoal/ShoalMap.h"

namespace LoamInLif {

/// The record of `key`, or the default record. `found`, if given, tells which. The reference holds until the
/// next change of the collection.
template <class Record, class Key>
Record const& recordRead(Shoal::ShoalMap<Record, Key>& map, Key const& key, bool* found = nullptr) {
  try {
    bool present = false;
    Record const& record = map.lookup(key, present);
    if (found != nullptr) *found = present;
    return record;
  } catch (Pivot::CorruptionDetectedException const& damage) {
    map.doCorruptionDetected(damage.what());
    if (found != nullptr) *found = false;
    return Shoal::AllocBase<Record>::type_default();
  }
}

/// Whether the key is there; damage counts as absence.
template <class Record, class Key>
bool recordHas(Shoal::ShoalMap<Record, Key>& map, Key const& key) {
  try {
    return map.has(key);
  } catch (Pivot::CorruptionDetectedException const& damage) {
    map.doCorruptionDetected(damage.what());
    return false;
  }
}

/// Calls visit(record) for every record once, in the store's order. The visit may replace or remove the
/// record that it is given, which holds until then; the next step goes on from its key. Returns false when damage
/// has ended the walk.
template <class Record, class Key, class Visit>
bool recordsWalk(Shoal::ShoalMap<Record, Key>& map, Visit&& visit) {
  try {
    Shoal::IterHint hint;
    for (Record const* record = map.first(hint); record != nullptr;) {
      Key const key = Shoal::RecordTraits<Record>::key(*record);
      visit(*record);
      record = map.next(key, hint);
    }
    return true;
  } catch (Pivot::CorruptionDetectedException const& damage) {
    map.doCorruptionDetected(damage.what());
    return false;
  }
}

}  // namespace LoamInLif
