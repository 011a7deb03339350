// A collection as any other process sees it (or its own, beside the owner): a read-only mapping that can
// neither disturb, block nor crash the owner. Reads copy a record and then check that it was not overtaken, a
// bounded number of times; "busy" says that the owner was faster each time and is neither absence nor damage.
// Damage throws Pivot::CorruptionDetectedException. One thread for each reader.
#pragma once

#include <memory>
#include <string>

#include "Shoal/RecordTraits.h"
#include "Shoal/ShoalReaderBase.h"

namespace Shoal {

template <class Record, class Key = typename RecordTraits<Record>::Key>
class ShoalReader : public ShoalReaderBase {
 public:
  struct Opened {
    OpenState state;
    std::string message;                  // why it is broken or unavailable
    std::unique_ptr<ShoalReader> reader;  // for ok
  };

  // Opens the collection at a path of the root. notThereYet: no file has that name; ask again later. broken:
  // there is one and it can't be read as a collection of these records, for the reason told. unavailable: it
  // cannot be opened now, for the reason told; nothing is known of it.
  static Opened open(std::string const& path) {
    Opened opened{OpenState::ok, {}, std::unique_ptr<ShoalReader>(new ShoalReader())};
    opened.state = opened.reader->openFile(path, opened.message);
    if (opened.state != OpenState::ok) opened.reader.reset();
    return opened;
  }

  // found: `out` is the record as it stood at some moment of this call. absent: so stood the collection at
  // some moment of it. `out` is written for found only.
  ReadResult lookup(Key const& key, Record& out) { return lookupBytes(&key, &out); }
  // The first record of the walk's order, and the first after a key, which may have gone. absent: the end.
  ReadResult first(Record& out) { return nextBytes(nullptr, &out); }
  ReadResult next(Key const& after, Record& out) { return nextBytes(&after, &out); }
  // For a walk that goes on behind damage which a read has just thrown: the first record of the buckets behind that of
  // the damage.
  ReadResult nextBehindDamage(Record& out) { return nextBehindDamageBytes(&out); }

 private:
  ShoalReader() : ShoalReaderBase(RecordType::of<Record, Key>()) {}
};

}  // namespace Shoal
