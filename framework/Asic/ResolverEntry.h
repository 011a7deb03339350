// The ticket of one operation in the queue of the group resolver: what it waits for, and what to call when it
// may commit.
//
// Each table derives its own. The resolver owns the ticket while it is queued.
#pragma once

#include <cstdint>

#include "Asic/DependencyEntryHandle.h"
#include "Asic/EntryFlags.h"
#include "Asic/SwTableLatency.h"
#include "Pivot/Node.h"

namespace Asic {

class LOAM_FRAMEWORK_EXPORT ResolverEntry : public Pivot::Node {
 public:
  // Null for an operation without a dependency.
  Pivot::Ptr<DependencyEntryHandle const> const& dependantEntryHandle() const {
    return dependantEntryHandle_;
  }
  EntryFlags flags() const { return flags_; }
  bool isEntryDeleted() const { return flags_.isEntryDelete(); }
  bool isTableDeleted() const { return flags_.isTableDelete(); }
  bool suppressIdenticalWrites() const { return flags_.suppressIdenticalWrites(); }
  // The next one of the same queue, or null: for who fetches ahead what it will need.
  ResolverEntry const* behind() const { return next_.get(); }

  // When the present stage of the operation began; once it has left the queue, when it was committed.
  LatencyStamp latencyStamp() const { return latencyStamp_; }

  // Whether nothing is waited for any more; asked as often as the resolver likes. May ask resource tables.
  virtual bool isResolved() = 0;
  // Called once, with this entry itself, after isResolved() has said true.
  virtual void commitEntry(Pivot::Ptr<ResolverEntry> const& resolvedEntry) = 0;

 protected:
  ResolverEntry(Pivot::Ptr<DependencyEntryHandle const> dependantEntryHandle, EntryFlags flags);
  ~ResolverEntry() override;

 private:
  friend class ResolverQueue;

  Pivot::Ptr<DependencyEntryHandle const> dependantEntryHandle_;
  // The place in the queue: the queue links its entries through themselves and needs no storage of its own.
  Pivot::Ptr<ResolverEntry> next_;
  std::uint64_t sequence_ = 0;
  std::uint64_t enqueuedAt_ = 0;
  LatencyStamp latencyStamp_;
  EntryFlags flags_;
};

}  // namespace Asic
