// How tests, the command and the demo play the owner of the resources: one interface, the same for every
// resource table, with keys as bytes. A table is found by its canonical name and asked for this with a
// dynamic_cast.
//
// Naming a key that the table does not know hands it out, as a request would. A change updates the handle,
// raises its updateVersion and publishes field 517; one that ends a pending state has waiting heads asked
// again; one that changes nothing does nothing. A state leaves the value as it is. All refusals name
// the value and what was expected, and change nothing. On the agent's one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <type_traits>

#include "Asic/EntryState.h"
#include "Asic/TableVersion.h"
#include "Cobble/Export.h"
#include "Pivot/Status.h"
#include "Pivot/Types.h"

namespace BursarResourceTable {

class LOAM_FRAMEWORK_EXPORT Steering {
 public:
  // The key type of the table, byte for byte.
  using KeyBytes = std::span<std::byte const>;

  // What is to change, all in one step; what is absent stays.
  struct Change {
    std::optional<Asic::EntryState> state;
    std::optional<std::uint64_t> value;
    // Added to what the resource needs already; a higher version of the same table replaces a lower one.
    std::optional<Asic::TableVersion> needed;
  };

  // One key as it stands.
  struct Report {
    Asic::EntryState state;
    std::uint64_t value;
    std::uint32_t updateVersion;
    std::uint32_t ackedVersion;
    Asic::TableVersion ackedBy;
    // Clients that acknowledged the key and have not released it.
    std::uint32_t users;
    bool postRelease;
    bool unclaimed;
  };

  virtual ~Steering();

  virtual std::size_t keyWidth() const = 0;
  // The key as traces print it. Empty for bytes of another width.
  virtual Pivot::String keyText(KeyBytes key) const = 0;

  // States 0, 1, 3, 4, 5 and 6; a value of the table's width.
  virtual Pivot::Status steer(KeyBytes key, Change const& change) = 0;
  Pivot::Status stateIs(KeyBytes key, Asic::EntryState state);
  Pivot::Status valueIs(KeyBytes key, std::uint64_t value);
  Pivot::Status neededVersionIs(KeyBytes key, Asic::TableVersion const& version);

  // The state in which keys are handed out from now on; entryStateDone at first.
  virtual Pivot::Status defaultStateIs(Asic::EntryState state) = 0;
  // How many keys may be handed out at a time. Below what is handed out already it only refuses new ones.
  virtual Pivot::Status capacityIs(std::uint64_t keys) = 0;
  virtual std::uint64_t capacity() const = 0;

  // Absent for a key that is not handed out.
  virtual std::optional<Report> report(KeyBytes key) const = 0;
  // Number of clients that use the key; 0 for one that is not handed out.
  std::uint32_t usersOf(KeyBytes key) const;
  // Calls visit(KeyBytes, Report const&) for every key handed out, in no order. It changes nothing.
  template <class Visit>
  void walk(Visit&& visit) const {
    walkEach([](void* context, KeyBytes key,
                Report const& each) { (*static_cast<std::remove_reference_t<Visit>*>(context))(key, each); },
             static_cast<void*>(&visit));
  }

 protected:
  virtual void walkEach(void (*visit)(void* context, KeyBytes key, Report const& report),
                        void* context) const = 0;
};

}  // namespace BursarResourceTable
