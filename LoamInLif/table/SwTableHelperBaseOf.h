// The hooks by which a client takes part in the end of an operation. The base does nothing; a client derives
// from InLif0SwTableHelperBase, InLif1SwTableHelperBase or InLif23SwTableHelperBase
// (InLifNSwTableHelperBase.h) and hands its helper to makeSwTable. The table holds the helper and calls it on
// the agent's one thread, within a commit or an update. A hook may change the entry of the wrapper, but not
// its key.
#pragma once

#include "LoamInLif/Export.h"
#include "LoamInLif/Instance.h"
#include "Pivot/Node.h"

namespace LoamInLif {

template <class I>
class LOAM_INLIF_EXPORT SwTableHelperBaseOf : public Pivot::Node {
 public:
  using EntryWrapperPtr = Pivot::Ptr<typename I::EntryWrapper>;
  using SwTablePtr = Pivot::Ptr<typename I::SwTable>;

  // The order of these three is that of their field ids, 130 to 132.
  // The operation goes to the log: a write with its resolved fields in place, a remove with its bare key.
  virtual void finalizeOnSuccess(EntryWrapperPtr const& /*entry*/, bool /*isDelete*/,
                                 SwTablePtr const& /*swTable*/) {}
  // A resource of the entry has failed. True sends the entry to the log all the same, with the resolved
  // fields as the client wrote them; false fails the operation.
  virtual bool finalizeOnFailure(EntryWrapperPtr const& /*entry*/, bool /*isDelete*/,
                                 SwTablePtr const& /*swTable*/) {
    return false;
  }
  // A resource of a committed entry has changed; the entry has its fresh resolved fields. False keeps the
  // record that stands.
  virtual bool finalizeOnResourceUpdate(EntryWrapperPtr const& /*entry*/, SwTablePtr const& /*swTable*/,
                                        bool /*someResourceHasFailed*/) {
    return true;
  }
};

}  // namespace LoamInLif
