// Reads for callers who know nothing of damage. An owner's read that meets some reports it to the collection and
// goes on as told: with a value given for it, as if the key were absent, or as at the end of the walk. A reader
// beside an owner has nowhere to report: its walk lets the damage through, and tells "busy" apart from the end.
#pragma once

#include <concepts>
#include <type_traits>
#include <utility>

#include "Pivot/Exceptions.h"
#include "Shoal/ShoalMap.h"
#include "Shoal/ShoalReader.h"

namespace Shoal {

// What read() returns, or `otherwise` when it has met damage.
template <std::invocable Read>
std::invoke_result_t<Read> readOr(ShoalMapBase& map,
                                  std::type_identity_t<std::invoke_result_t<Read>> otherwise, Read&& read) {
  try {
    return std::forward<Read>(read)();
  } catch (Pivot::CorruptionDetectedException const& damage) {
    map.doCorruptionDetected(damage.what());
    return otherwise;
  }
}

// The record of a key, or the type's default record; `found`, if given, tells which. The reference holds until the
// next change of the collection.
template <class Record, class Key>
Record const& recordOrDefault(ShoalMap<Record, Key>& map, std::type_identity_t<Key> const& key,
                              bool* found = nullptr) {
  Record const* const record = readOr(map, nullptr, [&] { return map.find(key); });
  if (found != nullptr) *found = record != nullptr;
  return record != nullptr ? *record : AllocBase<Record>::type_default();
}

template <class Record, class Key>
bool holds(ShoalMap<Record, Key>& map, std::type_identity_t<Key> const& key) {
  return readOr(map, false, [&] { return map.has(key); });
}

// Calls visit(record) for every record once, in the order of the walk. The visit may replace or remove the record that
// it is given, which holds until then; the next step goes on from its key. False when damage has ended the walk.
template <class Record, class Key, std::invocable<Record const&> Visit>
bool forEach(ShoalMap<Record, Key>& map, Visit&& visit) {
  return readOr(map, false, [&] {
    IterHint hint;
    for (Record const* record = map.first(hint); record != nullptr;) {
      Key const key = RecordTraits<Record>::key(*record);
      visit(*record);
      record = map.next(key, hint);
    }
    return true;
  });
}

// The same for the keys alone, unverified as holds() takes them; the visit may do anything to the collection.
template <class Record, class Key, std::invocable<Key const&> Visit>
bool forEachKey(ShoalMap<Record, Key>& map, Visit&& visit) {
  return readOr(map, false, [&] {
    IterHint hint;
    Key key;
    for (bool more = map.firstKey(key, hint); more;) {
      visit(std::as_const(key));
      Key const last = key;
      more = map.nextKey(last, key, hint);
    }
    return true;
  });
}

// For a walk that must reach what damage hides: walk() goes from the start to the end and tells whether it came there, and
// does no harm where it passes again. The damage is made good between two of them; after the last, what still cannot be
// reached is left. REQUIRES: no intent stands in this collection.
template <std::invocable Walk>
void walkBeyondDamage(ShoalMapBase& map, Walk&& walk) {
  constexpr int kMendings = 2;
  for (int i = 0; !walk() && i < kMendings; ++i) map.mend();
}

// Takes one step of a reader, again while it is overtaken, up to `attempts` times.
template <std::invocable Step>
ReadResult steady(int attempts, Step&& step) {
  ReadResult result = ReadResult::busy;
  for (int i = 0; i < attempts && result == ReadResult::busy; ++i) result = step();
  return result;
}

// The same walk beside the owner, over copies: absent at its end, busy when one of its steps was overtaken
// `attempts` times. Throws Pivot::CorruptionDetectedException.
template <class Record, class Key, std::invocable<Record const&> Visit>
ReadResult forEach(ShoalReader<Record, Key>& reader, int attempts, Visit&& visit) {
  Record record{};
  ReadResult step = steady(attempts, [&] { return reader.first(record); });
  while (step == ReadResult::found) {
    Key const key = RecordTraits<Record>::key(record);
    visit(std::as_const(record));
    step = steady(attempts, [&] { return reader.next(key, record); });
  }
  return step;
}

}  // namespace Shoal
