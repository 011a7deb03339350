// Which collections this process owns, each by one map; and what becomes of them in a forked child.
//
// A path is owned once in a process: two maps of one file would know nothing of each other's free slots, and
// each would overwrite what the other had just linked. That no other process owns it is the root lock's
// affair, and the lock on the file itself, which holds also when somebody deleted the root lock's file.
//
// A forked child owns nothing. Locks belong to an open file, which it shares, and would hold after the death
// of its parent: its copies of their descriptors are closed before fork() returns. Mappings that may be
// written are not passed on to it, and a map that it uses all the same ends it with a text. So it is with
// fork(); a child that clone() makes without it keeps the locks until it executes another program or ends.
#pragma once

#include "Pivot/Status.h"
#include "Shoal/ShoalMapBase.h"

namespace Shoal {

struct Ownership {
  // The map owns the collection of its path from now on. Refused: another map of this process does.
  static Pivot::Status begin(ShoalMapBase& map);
  // It owns it no more; nothing if it did not.
  static void end(ShoalMapBase& map);
  // The same for every map of the process: what they hold still can be read, by nobody but them.
  static void endAll();
};

}  // namespace Shoal
