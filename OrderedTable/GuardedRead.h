// How the engines read a shared collection: damage is reported to the collection and never reaches the
// caller, who goes on as if the record, or the rest of the walk, were not there.
#pragma once

#include "Pivot/Exceptions.h"

namespace Asic {

// What read() returns, a pointer to a record, or null after damage.
template <class Map, class Read>
auto guardedRead(Map& map, Read read) -> decltype(read()) {
  try {
    return read();
  } catch (Pivot::CorruptionDetectedException const& damage) {
    map.doCorruptionDetected(damage.what());
    return nullptr;
  }
}

}  // namespace Asic
