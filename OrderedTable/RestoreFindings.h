// What the walk of a restore has found of the committed entries, for the updates that the linkages run after
// it. The engine of the table makes it in restoreEntries, and the table refers to it until the updates are
// through or something has changed. On the agent's one thread.
#pragma once

#include "Asic/LogVersion.h"
#include "Vex/HashMap2018.h"

namespace Asic {

template <class Key>
struct RestoreFindings {
  // The entries that came back as their resources are, with their versions: no update of these has anything to
  // do.
  Vex::HashMap<Key, LogVersion> standing;
  // Whether these are all entries.
  bool complete = true;
};

}  // namespace Asic
