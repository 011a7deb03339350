// The root of all tables that the agent offers to its features: those with entries in a log and those of
// resources.
#pragma once

#include <cstdint>

#include "Asic/DependencyEntryHandle.h"
#include "Asic/EntryState.h"
#include "Pivot/Entity.h"

namespace Asic {

class LOAM_FRAMEWORK_EXPORT SwTableBase : public Vex::Entity {
 public:
  using EntryState = Asic::EntryState;
  using enum Asic::EntryState;

  // A handle of a table of this agent. The hooks of the base do nothing: the tables reach the hardware
  // through their log alone.
  class LOAM_FRAMEWORK_EXPORT EntryHandle : public DependencyEntryHandle {
   public:
    void handleEntryState() override;
    std::uint32_t hwIndexForDependentField(Pivot::FieldId field) const override;
    void handleIndexSuggestions() override;

   protected:
    ~EntryHandle() override;
  };

  // Asks the table to make its counterpart in the hardware; the base has none.
  virtual void doCreateHwTable();
  // The answer to that request.
  virtual void doCreateHwTableResponse();

 protected:
  SwTableBase() = default;
  ~SwTableBase() override;
};

}  // namespace Asic
