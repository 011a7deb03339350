// The receipt of an operation as any other table sees it: its state, and the version at which it reached its
// table's log.
//
// A client passes the handle of an operation on one table as the dependency of an operation on another; a
// resource table gets it with each request. Handles are made by the tables, one for each operation, and owned
// by whoever still cares: the operation itself, the client, the dependants, the queue of operations in the
// log.
#pragma once

#include <cstdint>

#include "Asic/EntryState.h"
#include "Asic/SwTableId.h"
#include "Asic/TableVersion.h"
#include "Pivot/Node.h"
#include "Pivot/Publisher.h"

namespace Asic {

class LOAM_FRAMEWORK_EXPORT DependencyEntryHandle : public Pivot::Node {
 public:
  static constexpr Pivot::FieldId kFieldEntryState = 130;

  EntryState entryState() const { return entryState_; }

  // Publishes kFieldEntryState, with the old state, when the state changes. Made on the first call: most
  // handles live and die without anybody having waited for them.
  Pivot::Publisher* publisher() const override;

  // Called on the handle itself whenever its state has changed, before the change is published.
  virtual void handleEntryState() = 0;
  // The index in the hardware by which a field of a dependant names this entry; all ones when the hardware
  // has none.
  virtual std::uint32_t hwIndexForDependentField(Pivot::FieldId field) const = 0;
  // Called when a table proposes indices for its entries.
  virtual void handleIndexSuggestions() = 0;
  // The table and the log version of the operation; log version 0 as long as it has none.
  virtual TableVersion entryTableVersion() const = 0;
  // The canonical name of the table.
  virtual Pivot::String tableName() const = 0;
  virtual SwTableId tableId() const = 0;

 protected:
  DependencyEntryHandle() = default;
  ~DependencyEntryHandle() override;

  // Stores the state; one that is there already changes and publishes nothing.
  void storeEntryState(EntryState state) {
    if (state != entryState_) changeEntryState(state);
  }

 private:
  void changeEntryState(EntryState state);

  EntryState entryState_ = EntryState::entryStateUnresolved;
  // Owned. Not a smart pointer: <memory> alone would make a client's build half as long again.
  mutable Pivot::Publisher* publisher_ = nullptr;
};

}  // namespace Asic
