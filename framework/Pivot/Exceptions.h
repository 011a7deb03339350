// What a read of a shared collection throws when it meets damage.
#pragma once

#include <stdexcept>

#include "Cobble/Export.h"

namespace Pivot {

// The message tells the collection, the place in it and what did not fit. Who reads reports it to the
// collection and goes on with the default record, or as at the end of a walk.
class LOAM_FRAMEWORK_EXPORT CorruptionDetectedException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace Pivot
