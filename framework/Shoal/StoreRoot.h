// The root directory of the shared store, and the two processes that may write below it.
//
// A process sets the root before its first use of the store, claims its role, and mounts collections. The
// agent owns the collections of the tables; the writer of the hardware owns the image and its reports. A role
// is a lock on a file of the root: the kernel drops it with the process, however that ends. A process may
// claim both roles; a forked child holds none. Readers claim nothing.
//
// Below the root, next to the collections, lie folders and files whose names begin with a dot and which no
// listing shows:
//   .lock-agent, .lock-writer   the locks, and who holds them or held them last (RoleLock.h)
//   .staging                    files that have no name yet, or have just lost it
//   .lost                       damaged files that a new one replaced, the newest few (LostFolder.h)
//   .manifest-*.shoal           which collections exist, one collection for each role
//
// One thread at a time. Every refusal is one line that names the directory.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "Cobble/Export.h"
#include "Pivot/Status.h"

namespace VexSharedMem {

class LOAM_FRAMEWORK_EXPORT StoreRoot {
 public:
  enum class Role : std::uint32_t { none, agent, writer };

  // Sets the directory; a relative one is taken from the current directory. REQUIRES: no role is claimed and
  // nothing is mounted.
  static void rootIs(std::string directory);
  // The directory: what was set, else the environment's "LOAM_STORE", else "/dev/shm/loam-store-" followed by
  // the user id.
  static std::string const& root();

  // Makes the root if it is missing (0700), checks that it belongs to this user, is closed to others and
  // writable, and takes the lock of the role. Again for a role already held: ok. Refused: another process
  // holds it (its pid is named), a check failed, or the role has nothing below the root yet and less than
  // 1 MiB is free; one that has may start again on a full file system.
  static Pivot::Status claim(Role role);
  static bool holds(Role role);
  // Ok as long as the name of the role's lock leads to the lock that this process holds. Refused: its file, or
  // the root, was deleted; another process may make a new one and claim the role of a new root, though it can't
  // own a collection that this one has open. Asked at each mount, and with each sign of life.
  static Pivot::Status stillHeld(Role role);

  // Who holds a role, or held it last, as any process can see it. Asking takes no lock.
  struct Holder {
    bool alive = false;
    pid_t pid = 0;      // 0: none ever, or one that has just come and not yet said
    std::string since;  // when it came, as Vex::utcText tells it; empty where pid is 0
    std::chrono::system_clock::time_point lastSign;
  };
  static Holder holder(Role role);
  // Says that this process goes on, for the roles that it holds; passes it on once a second, so that a loop may
  // call it in each turn. A process that was killed or stands still is told by its last sign of life. Refused: a
  // role is not held any more (stillHeld); the process should end.
  [[nodiscard]] static Pivot::Status giveSignOfLife();

  // Forgets everything that was mounted and releases all roles, as the end of the process would. Objects that
  // a client still holds keep their mapping, but whoever uses one ends the process.
  static void release();

  // The collections that exist below `path` ("" = all), without `path` itself, in ascending order: those that
  // have a file and those that the manifests list. Needs no role.
  static std::vector<std::string> list(std::string const& path);
  // The same for who would take a missing one for removed: refused when descriptors or memory are out, so that
  // the list would not be whole.
  static Pivot::Status list(std::string const& path, std::vector<std::string>& paths);

  // Whether the list of a claimed role's collections has never been lost: then one without a file that it does not
  // list was never made. REQUIRES: the role is claimed.
  static bool listIsWhole(Role role);

  // "agent", "writer" or "none".
  static char const* roleName(Role role);
};

// In a forked child, before fork() returns there: it holds no role. Async-signal-safe.
void rolesLeaveToParent() noexcept;

}  // namespace VexSharedMem
