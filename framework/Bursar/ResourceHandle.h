// One resource as its users see it: its state, its value, what it depends on, and the publisher by which they
// hear of a change. Made by the table at the first request of a key, the same for every client of that table,
// and kept by the table as long as the key is handed out. Only the table changes it. On the agent's one
// thread.
//
// H1. updateVersion rises with every change; field 517 is published after the change is complete.
// H2. The handle of a key whose last user has released it says isPostReleaseProtoState() before that is
//     published. A client that asks for the key again, or acknowledges it, brings it back with the value
//     that it had.
// H3. A key keeps its value in every state, so that a resource that fails and recovers is the same one. A
//     key that found the table full never had one; its value is the one that stands for none.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Asic/DependencyEntryHandle.h"
#include "Asic/EntryState.h"
#include "Asic/NeededEntry.h"
#include "Asic/TableVersion.h"
#include "Cobble/Export.h"
#include "Pivot/Node.h"
#include "Pivot/Publisher.h"
#include "Vex/HashMap2018.h"
#include "Vex/Prefetch.h"

namespace BursarResourceTable {

class ResourceTable;

class LOAM_FRAMEWORK_EXPORT ResourceHandle : public Pivot::Node {
 public:
  // Published on every change; without a key and without an old value.
  static constexpr Pivot::FieldId kFieldChange = 517;

  Asic::EntryState entryState() const noexcept { return state_; }
  // What must be in the hardware before a record that uses this resource. Never null, often empty.
  Pivot::Ptr<Asic::NeededEntry const> const& neededEntry() const noexcept {
    return seldom_ ? seldom_->needs : noNeeds_;
  }
  std::uint32_t updateVersion() const noexcept { return updateVersion_; }
  bool isPostReleaseProtoState() const noexcept { return (marks_ & kPostRelease) != 0; }
  // The value in its widest form (H3).
  std::uint64_t rawValue() const noexcept { return value_; }
  // The update version that was acknowledged last, and the record by which the acknowledging client took it
  // over; without a version while that record waits for room.
  std::uint32_t ackedVersion() const noexcept { return ackedVersion_; }
  Asic::TableVersion ackedBy() const {
    return seldom_ && seldom_->ackedThrough ? seldom_->ackedThrough->entryTableVersion()
                                            : Asic::TableVersion(ackedTable_, ackedLogVersion_);
  }

  Pivot::Publisher* publisher() const override { return &publisher_; }

  // Starts fetching the handle from memory. Handles of a table lie in no order that any user goes by, so each
  // is a miss: who knows a little ahead which one comes asks for it here.
  void prefetch() const noexcept {
    auto const* const bytes = reinterpret_cast<char const*>(this);
    for (std::size_t offset = 0; offset < sizeof(ResourceHandle); offset += 64)
      Vex::prefetch<true>(bytes + offset);
  }

 protected:
  ResourceHandle() = default;
  ~ResourceHandle() override;

 private:
  friend class ResourceTable;
  template <class Traits>
  friend class ResourceTableOf;

  using ClientId = std::uint32_t;

  // Marks of a key. A request of a key with one of them has more to do than to look it up.
  static constexpr std::uint8_t kPostRelease = 0x01;  // its last user has gone; it waits to be freed
  static constexpr std::uint8_t kExhausted = 0x02;    // failed, because the table was full
  static constexpr std::uint8_t kUnclaimed =
      0x04;  // handed out in an earlier life, and not asked for in this one
  static constexpr std::uint8_t kForgotten = 0x20;  // the table has it no more
  // Marks that a request does not look at.
  static constexpr std::uint8_t kEarlierLife =
      0x08;  // handed out in an earlier life, which other clients may still come to claim
  static constexpr std::uint8_t kSteered = 0x10;  // somebody has set it and expects to find it so
  static constexpr std::uint8_t kAttention = kPostRelease | kExhausted | kUnclaimed | kForgotten;

  // What hardly any key has.
  struct Seldom {
    Pivot::Ptr<Asic::NeededEntry const> needs = noNeeds_;
    // The value that the table gave out, once value_ has been steered; before, 0.
    std::uint64_t allocated = 0;
    // In the place of ackedLogVersion_, the operation that has acknowledged and had no version then.
    Pivot::Ptr<Asic::DependencyEntryHandle const> ackedThrough;
  };
  Seldom& seldom();
  // What handles without needs share.
  static Pivot::Ptr<Asic::NeededEntry const> const noNeeds_;

  // There are hundred thousands of handles, and each lies on as few lines of memory as it can. What each request and
  // each resolution check reads comes first.
  Asic::EntryState state_ = Asic::EntryState::entryStateUnresolved;
  std::uint8_t marks_ = 0;
  std::uint32_t updateVersion_ = 0;
  std::uint64_t value_ = 0;
  std::unique_ptr<Seldom> seldom_;
  mutable Pivot::Publisher publisher_;
  // Nearly always one, which lies in the set itself.
  Vex::HashSet2018<ClientId, 0x05E25EED> users_;
  std::uint32_t ackedVersion_ = 0;
  Asic::SwTableId ackedTable_;
  Asic::LogVersion ackedLogVersion_;
  // While kPostRelease is set: its place among the keys that wait to be freed.
  std::uint32_t freeingPlace_ = 0;
};

}  // namespace BursarResourceTable
