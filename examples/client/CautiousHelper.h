// A client's own part in the end of an operation, through the three hooks of the helper base:
//   - every entry that succeeds gets a stamp in the client's bytes;
//   - an entry whose resource has failed goes to the log all the same, without a stamp;
//   - an update after a change of a resource is refused while updates are frozen.
#pragma once

#include <LoamInLif/InLifNInfraTypes.h>
#include <LoamInLif/InLifNSwTable.h>
#include <LoamInLif/InLifNSwTableHelperBase.h>

class CautiousHelper final : public LoamInLif::InLif1SwTableHelperBase {
 public:
  static constexpr std::byte stamp{0x5A};

  void finalizeOnSuccess(EntryWrapperPtr const& entry, bool isDelete, SwTablePtr const& swTable) override;
  bool finalizeOnFailure(EntryWrapperPtr const& entry, bool isDelete, SwTablePtr const& swTable) override;
  bool finalizeOnResourceUpdate(EntryWrapperPtr const& entry, SwTablePtr const& swTable,
                                bool someResourceHasFailed) override;

  void updatesFrozenIs(bool frozen) { updatesFrozen_ = frozen; }
  unsigned acceptedFailures() const { return acceptedFailures_; }
  unsigned refusedUpdates() const { return refusedUpdates_; }

 private:
  bool updatesFrozen_ = false;
  unsigned acceptedFailures_ = 0;
  unsigned refusedUpdates_ = 0;
};
