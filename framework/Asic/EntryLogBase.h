// What the log of every table instance keeps in memory: whose log it is, and the two versions between which
// it stands.
//
//   L1. cleanedVersion <= version reported by the writer of the hardware <= tableVersion, once the log
//       has been cleaned.
//   L2. tableVersion rises by one with each publication and falls never; each value stands for at most
//       one record.
#pragma once

#include <cstdint>

#include "Asic/LogVersion.h"
#include "Asic/SwTableId.h"
#include "Pivot/Node.h"
#include "Pivot/Types.h"

namespace Statehub {
class EntityManager;
}

namespace Asic {

class GroupInterface;

class LOAM_FRAMEWORK_EXPORT EntryLogBase : public Pivot::Node {
 public:
  SwTableId tableId() const { return tableId_; }
  Pivot::Ptr<Statehub::EntityManager> const& entityManager() const { return entityManager_; }
  Pivot::Ptr<GroupInterface> const& groupInterface() const { return groupInterface_; }
  // The agent whose relaunch is asked for when contents of this log are found lost.
  Pivot::String const& agentName() const { return agentName_; }

  // The version of the newest record; 0 in a log that never had one.
  LogVersion tableVersion() const { return tableVersion_; }
  void tableVersionIs(LogVersion version) { tableVersion_ = version; }
  // Takes the next by versions and returns the last of them.
  LogVersion tableVersionInc(std::uint64_t by) {
    return tableVersion_ = LogVersion(tableVersion_.value() + by);
  }

  // Removes the log records up to a version, which the hardware has taken.
  virtual void cleanupEntryLog(LogVersion) {}

  // Damage was met in a collection of the group, by this process or by the writer of the hardware: looks everything
  // through that the log has in the store, drops what cannot be read, and publishes anew what lost something. Called
  // by the group between two operations.
  virtual void mend() {}

  // The version up to which the log was last cleaned in this process; 0 before the first time.
  LogVersion cleanedVersion() const { return cleanedVersion_; }
  void cleanedVersionIs(LogVersion version) { cleanedVersion_ = version; }

 protected:
  EntryLogBase(SwTableId tableId, Pivot::Ptr<Statehub::EntityManager> entityManager,
               Pivot::Ptr<GroupInterface> groupInterface, Pivot::String agentName);
  ~EntryLogBase() override;

 private:
  SwTableId tableId_;
  Pivot::Ptr<Statehub::EntityManager> entityManager_;
  Pivot::Ptr<GroupInterface> groupInterface_;
  Pivot::String agentName_;
  LogVersion tableVersion_;
  LogVersion cleanedVersion_;
};

}  // namespace Asic
