// The typed base of the three InLif tables: code that only writes and reads entries holds a table as this and
// need not know which instance it has. Everything runs on the agent's one thread.
#pragma once

#include <cstdint>

#include "Asic/OrderedSwTableWithMarkSweep.h"
#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "LoamTunnelNiLib/InLifModelSwTableIteratorState.h"

namespace LoamTunnelNiLib {

class LOAM_FRAMEWORK_EXPORT InLifModelSwTableBase : public Asic::OrderedSwTableWithMarkSweep {
  class Identity;

 public:
  using Key = InLifModelEntryKey;
  using Entry = InLifModelEntry;
  using ResponseHandler = Asic::OrderedSwTable::ResponseHandler;

  // The receipt of one write or removal. Its key is the default one for a remove-all. A client may keep it
  // beyond the end of the table: it tells the table's name and id then as before.
  class LOAM_FRAMEWORK_EXPORT EntryHandle : public Asic::OrderedSwTable::EntryHandle {
   public:
    EntryHandle(Asic::EntryVersion const& entryVersion, InLifModelEntryKey const& key,
                InLifModelSwTableBase* table);

    InLifModelEntryKey const& key() const noexcept { return key_; }
    // Null once the table has ended.
    InLifModelSwTableBase* swTable() const noexcept { return identity_->table; }

    Pivot::String tableName() const override;
    Asic::SwTableId tableId() const override;

   protected:
    ~EntryHandle() override;

   private:
    InLifModelEntryKey key_;
    Pivot::Ptr<Identity const> identity_;
  };

  // A walk over the table as a value: an input iterator that ends by turning false.
  class EntryIteratorConst {
   public:
    // Takes the first step. REQUIRES: state was begun by this table.
    EntryIteratorConst(Pivot::Ptr<InLifModelSwTableBase const> table,
                       Pivot::Ptr<InLifModelSwTableIteratorState> state)
        : table_(std::move(table)), state_(std::move(state)), current_(state_->maybeUpdateCurrentEntry()) {}

    // Whether the last step produced an entry.
    explicit operator bool() const noexcept { return state_->state().entryValid(); }
    InLifModelEntry const& operator*() const noexcept { return current_; }
    InLifModelEntry const* operator->() const noexcept { return &current_; }
    EntryIteratorConst& operator++() {
      current_ = state_->maybeUpdateCurrentEntry();
      return *this;
    }

    Pivot::Ptr<InLifModelSwTableBase const> const& swTable() const noexcept { return table_; }
    Pivot::Ptr<InLifModelSwTableIteratorState> const& state() const noexcept { return state_; }

   private:
    Pivot::Ptr<InLifModelSwTableBase const> table_;
    Pivot::Ptr<InLifModelSwTableIteratorState> state_;
    InLifModelEntry current_;
  };

  using Dependency = Pivot::Ptr<Asic::DependencyEntryHandle const>;
  using Handle = Pivot::Ptr<EntryHandle const>;

  // Writes an entry under the key; `entry.logEntry.key` is ignored. The dependency may be null. The handle is
  // never null and tells how the operation goes; a handler is called when it has ended.
  virtual Handle entryWrite(InLifModelEntryKey const& key, InLifModelEntry const& entry,
                            Dependency const& dependantEntryHandle) = 0;
  virtual Handle entryWriteWithResponseHandler(InLifModelEntryKey const& key, InLifModelEntry const& entry,
                                               Dependency const& dependantEntryHandle,
                                               ResponseHandler const& handler) = 0;
  // Removes the entry of the key, whether there is one or not.
  virtual Handle entryRemove(InLifModelEntryKey const& key, Dependency const& dependantEntryHandle) = 0;
  virtual Handle entryRemoveWithResponseHandler(InLifModelEntryKey const& key,
                                                Dependency const& dependantEntryHandle,
                                                ResponseHandler const& handler) = 0;
  // Removes every entry of the unit that was asked for before this call.
  virtual void entryRemoveAll(Dependency const& dependantEntryHandle) = 0;
  virtual void entryRemoveAllWithResponseHandler(Dependency const& dependantEntryHandle,
                                                 ResponseHandler const& handler) = 0;
  // The entry as it will be when the writes and removes accepted have been committed; the default entry for a key that
  // is not there. A remove-all shows once it is committed. entryHas() is false as soon as one is accepted, but for
  // what was written after it.
  virtual InLifModelEntry entryRead(InLifModelEntryKey const& key) const = 0;
  virtual InLifModelEntry entry(InLifModelEntryKey const& key) const = 0;
  virtual bool entryHas(InLifModelEntryKey const& key) const = 0;
  virtual std::uint32_t entrys() const = 0;
  // Walks the writes under way in ascending order of their keys, then what is committed in the store's order; from the
  // start, or from a key on: one under way has behind it the later writes and all that is committed, a committed one what
  // stands behind it in the store's order, and one that is not there nothing. A walk that rests while operations commit may deliver an
  // entry twice, or pass over one whose write it had not reached.
  virtual EntryIteratorConst entryIteratorConst(InLifModelEntryKey const& key) const = 0;
  virtual EntryIteratorConst entryIteratorConst() const = 0;
  virtual Pivot::Ptr<InLifModelSwTableIteratorState> initIterState() const = 0;
  virtual Pivot::Ptr<InLifModelSwTableIteratorState> initIterStateFromKey(
      InLifModelEntryKey const& key) const = 0;

 protected:
  InLifModelSwTableBase(Pivot::Ptr<Asic::CanonicalTableName const> const& name, Asic::SwTableId tableId,
                        Asic::UnitId unitId, Asic::OrderedSwTableSet* swTableSet);
  ~InLifModelSwTableBase() override;

 private:
  // What outlives the table for its handles. The table and all its handles share one, so that a handle pays no
  // more for it than for a pointer to the table.
  class Identity final : public Pivot::Node {
   public:
    Identity(Pivot::String tableName, Asic::SwTableId id, InLifModelSwTableBase* owner)
        : name(std::move(tableName)), tableId(id), table(owner) {}

    Pivot::String const name;
    Asic::SwTableId const tableId;
    InLifModelSwTableBase* table;  // null once it has ended
  };

  Pivot::Ptr<Identity> const identity_;
};

}  // namespace LoamTunnelNiLib
