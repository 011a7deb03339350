// What all resource tables have in common: which values are handed out, who uses them, when a released one
// may be handed out again, and how a resource is steered. The key types are the derived templates' business
// (ResourceTableOf.h). On the agent's one thread.
//
// A key goes through these stages:
//
//   stage       entered by                               left by
//   handed out  a request, or steering                   the release of its last user; the end of the
//                                                        sweep, when nobody has claimed it
//   released    that; the value is kept                  a request or an ack (handed out again, with the
//                                                        same value); freeing
//   free        freeing, once the gate of R1 has opened  -
//
// R1. A value goes to another key only after everything that was published with it has been taken by
//     the writer of the hardware. For a released key that is the version of the handle given with the
//     release; where that says nothing, and for keys that nobody claims, it is every version that was
//     published by then. A key that never had a value waits for nothing.
// R2. A value goes to another key only while nobody holds the handle of the first one.
// R3. A key of an earlier life is not freed before the sweep has ended: a client that starts later may
//     still come to claim it, and a unit without a table cannot, though the hardware has its entries.
// R4. What was handed out is in the store before the handle is seen, and leaves it before the value is
//     handed out again. A process killed in between leaves a key that the next sweep finds unclaimed.
// R5. A full table answers with a failed resource, never with an unresolved one: a head that waited for
//     room would wait for the removal queued behind it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "Asic/NamedSwTable.h"
#include "Bursar/ResourceHandle.h"
#include "Bursar/Steering.h"
#include "Bursar/Surroundings.h"
#include "Cobble/Export.h"
#include "Vex/Trace.h"

namespace BursarResourceTable {

// Which values a table hands out.
struct ValueSpace {
  // Bits of a value.
  unsigned width;
  // Whether each key gets an index of its own, from 1 on; otherwise the value is computed from the key.
  bool allocated;
  // The highest index.
  std::uint64_t maxValue;
  // Keys handed out at a time, unless steered; also what the store takes.
  std::uint32_t maxKeys;
  // The value of a key that was never given one.
  std::uint64_t noValue;
};

class LOAM_FRAMEWORK_EXPORT ResourceTable : public Asic::NamedSwTable, public Steering {
 public:
  // Number of keys known, also failed ones.
  virtual std::uint32_t entrys() const = 0;

  // The sweep has ended, and every unit in the store has a table: what no client has asked for in this life
  // is freed, and what was released before the clients were complete may be.
  void endSweep();
  // What the framework calls then: the same.
  void reconcile() override { endSweep(); }
  // One turn of the agent's loop: frees what has become free, at most `budget` keys, and gives the room to keys that
  // failed for want of it. Costs a branch when nothing waits. Returns whether there is more to do at once.
  bool turn(std::size_t budget = 256);

  // Keys handed out, released ones included.
  std::uint64_t handedOut() const noexcept { return handedOut_; }
  // Keys that wait to be freed.
  std::size_t freeing() const noexcept { return waiting_; }

  // Steering.
  Pivot::Status steer(KeyBytes key, Change const& change) override;
  Pivot::Status defaultStateIs(Asic::EntryState state) override;
  Pivot::Status capacityIs(std::uint64_t keys) override;
  std::uint64_t capacity() const override { return capacity_; }
  std::optional<Report> report(KeyBytes key) const override;

 protected:
  using ClientId = ResourceHandle::ClientId;

  // REQUIRES: surroundings outlive the table.
  ResourceTable(Pivot::Ptr<Asic::CanonicalTableName const> name, ValueSpace const& space,
                Surroundings& surroundings);
  ~ResourceTable() override;

  // What the core needs of the derived table.
  // Null for a key that is not known, or of another width.
  virtual ResourceHandle* find(KeyBytes key) const = 0;
  // The handle of a key as a request finds it, handed out when it is not known. REQUIRES: the width fits.
  virtual Pivot::Ptr<ResourceHandle> findOrMake(KeyBytes key) = 0;
  // The value of a key whose values are computed.
  virtual std::uint64_t computed(ResourceHandle const& handle) const = 0;
  // Stores what the handle stands for. Refused when the store has no room.
  virtual Pivot::Status save(ResourceHandle const& handle) = 0;
  // Takes the key out of the store and of the table; the handle may die.
  virtual void forget(ResourceHandle& handle) = 0;
  // Every handle, in no order; `visit` neither makes nor forgets one.
  virtual void eachHandle(void (*visit)(void* context, ResourceHandle& handle), void* context) const = 0;

  // A key that the derived table could not store again after damage.
  void tellUnsaved(Pivot::Status const& why) const;

  static bool isState(Asic::EntryState state);
  Report reportOf(ResourceHandle const& handle) const;
  // The value that the table gave out; 0 for a value that is computed. REQUIRES: the key is not exhausted.
  std::uint64_t allocatedOf(ResourceHandle const& handle) const {
    if (!space_.allocated) return 0;
    return handle.seldom_ && handle.seldom_->allocated != 0 ? handle.seldom_->allocated : handle.value_;
  }
  std::uint32_t liveUsers(ResourceHandle const& handle) const;

  ClientId makeClient();
  void clientGone(ClientId client);

  // A request of a key that was just made, and of one with a mark of kAttention. REQUIRES: the caller holds
  // the handle.
  void handOut(ResourceHandle& handle);
  void reconsider(ResourceHandle& handle);
  // A key that the store remembers; false for a record that no table of this class can have written. After
  // the last one: restored().
  bool restore(ResourceHandle& handle, std::uint64_t value, std::uint64_t allocated, Asic::EntryState state);
  void restored();
  // Tells what of an earlier life is gone.
  void reportLoss(bool wiped, std::size_t refused) const;
  void acked(ResourceHandle& handle, ClientId client, std::uint32_t updateVersion,
             Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependency);
  void released(ResourceHandle& handle, ClientId client,
                Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependency);

 private:
  // What must have been taken before a key is freed: the operation that took its last use away, as long as it
  // has no version; that version; or, in its place, everything that was published then.
  struct Gate {
    Pivot::Ptr<Asic::DependencyEntryHandle const> dependency;
    Asic::TableVersion version;
    Pivot::Ptr<Asic::NeededEntry const> published;
  };
  // A key that waits to be freed. Its place is counted over the life of the table, round and round; a revived
  // key leaves a null handle behind.
  struct Freeing {
    ResourceHandle* handle = nullptr;
    Gate gate;
  };

  bool allocate(ResourceHandle& handle);
  void withoutValue(ResourceHandle& handle) const;
  void fail(ResourceHandle& handle);
  bool makeRoom();
  bool idle(ResourceHandle const& handle) const;
  void freeIdle(ResourceHandle& handle, Gate const& gate);
  void collectIdle();
  void retryExhausted();
  Gate gateOf(Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependency) const;
  bool isGateOpen(Gate& gate) const;
  void enterFreeing(ResourceHandle& handle, Gate gate);
  void pushFreeing(ResourceHandle& handle, Gate gate);
  void leaveFreeing(ResourceHandle& handle);
  void compactFreeing();
  std::size_t freeSome(std::size_t budget, bool endAtClosedGate);
  void free(ResourceHandle& handle);
  void publishChange(ResourceHandle& handle);
  static Pivot::Status checkState(Asic::EntryState state);
  Pivot::Status checkChange(Change const& change) const;

  template <class Visit>
  void each(Visit&& visit) const {
    eachHandle([](void* context, ResourceHandle& handle) { (*static_cast<Visit*>(context))(handle); },
               static_cast<void*>(&visit));
  }

  ValueSpace const space_;
  Surroundings& surroundings_;
  std::uint64_t capacity_;
  Asic::EntryState defaultState_ = Asic::EntryState::entryStateDone;

  std::uint64_t handedOut_ = 0;
  // The highest index that was ever given out, and those that came back, the longest unused first.
  std::uint64_t highest_ = 0;
  std::deque<std::uint64_t> freed_;

  // Whether a client of that number lives.
  std::vector<bool> clientLives_;
  // Only while the store is read back: which indexes are handed out.
  std::vector<bool> restoredValues_;

  std::deque<Freeing> freeing_;
  // Place of the first of freeing_, and how many of them are not null.
  std::uint32_t firstPlace_ = 0;
  std::size_t waiting_ = 0;

  std::uint64_t exhausted_ = 0;
  // Requests that found the table full since idle keys were last looked for.
  std::uint64_t refusedSinceLook_ = 0;
  bool fullTold_ = false;
  bool roomCame_ = false;
  bool swept_ = false;
};

}  // namespace BursarResourceTable
