// The lock of a role: the file .lock-agent or .lock-writer of the root. Used by StoreRoot, which claims roles, and by
// programs that look at a store or repair it.
//
//   part        meaning                                                       who changes it
//   byte 0      locked: a process holds the role                              the holder, first
//   byte 1      locked: the text is the holder's, not its predecessor's       the holder, after the text
//   text        pid of the holder and when it came, for instance
//               "4711 2026-11-25T20:53:28.123Z"; stays after its end          the holder, once
//   mtime       the holder's last sign of life                                the holder, about once a second
//
// The locks belong to the open file (OFD locks): the kernel drops them with the last descriptor, however the process
// ends, and whoever only wants to know asks for them without taking them, so that no question ever keeps a starting
// process out. A holder that is killed between byte 0 and byte 1 leaves both free and its predecessor's text.
#pragma once

#include <sys/types.h>

#include "Cobble/Export.h"
#include "Pivot/Status.h"
#include "Shoal/RootDirectory.h"
#include "Shoal/StoreRoot.h"

namespace Shoal {

class LOAM_FRAMEWORK_EXPORT RoleLock {
 public:
  // Takes the lock of a role, with or without leaving a text. Refused, with the holder's pid, when another
  // process holds it; the message names the file alone.
  static Pivot::Status take(VexSharedMem::StoreRoot::Role role, bool leaveText, RoleLock& lock);
  bool isHeld() const { return file_.isOpen(); }
  void giveSignOfLife() const;
  // Refused: the name of the role's file no more leads to the file that is locked, because somebody deleted it.
  Pivot::Status stillNamed(VexSharedMem::StoreRoot::Role role) const;
  // In a forked child: drops its copy of the descriptor, which would hold the lock after the death of its parent.
  // Async-signal-safe.
  void leaveToParent() noexcept { file_ = Descriptor(); }

  // What the file of a role tells; takes no lock.
  static VexSharedMem::StoreRoot::Holder holder(VexSharedMem::StoreRoot::Role role);

 private:
  Descriptor file_;
};

}  // namespace Shoal
