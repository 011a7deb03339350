// A table of one instance in an AgentWorld, and a small language for what clients, resolver and hardware do
// with it:
//
//   auto const older = write(1).needs<QosProfileKind>(7).go();
//   remove(1).after(older).reports("gone").go();
//   resolve();                    the resolver commits what it may
//   acknowledge(2);               the hardware has taken version 2
//   EXPECT_EQ(state(older), done);
//   EXPECT_EQ(ended(), Ended{"gone done 2"});
//
// A value is one byte of the client's part of the entry: write(key, value).
#pragma once

#include <gtest/gtest.h>

#include <numeric>
#include <set>
#include <utility>
#include <vector>

#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/InLifNInfraTypes.h"
#include "LoamInLif/InLifNResourceTableLinkage.h"
#include "LoamInLif/InLifNSwTableHelperBase.h"
#include "Shoal/ShoalReader.h"
#include "support/AgentWorld.h"
#include "support/ResourceKeys.h"

namespace TestSupport {

using EntryKey = LoamTunnelNiLib::InLifModelEntryKey;
using Entry = LoamTunnelNiLib::InLifModelEntry;
using Handle = LoamTunnelNiLib::InLifModelSwTableBase::Handle;
using Asic::EntryState;

inline constexpr EntryState unresolved = EntryState::entryStateUnresolved;
inline constexpr EntryState inLog = EntryState::entryStateInLog;
inline constexpr EntryState rejected = EntryState::entryStateRejected;
inline constexpr EntryState done = EntryState::entryStateDone;
inline constexpr EntryState failed = EntryState::entryStateFailed;

inline EntryState state(Pivot::Ptr<Asic::DependencyEntryHandle const> const& handle) {
  return handle->entryState();
}
inline std::uint8_t valueOf(Entry const& entry) {
  return static_cast<std::uint8_t>(entry.logEntry.client[0]);
}

// What the handlers of reports() have said.
using Ended = std::vector<std::string>;

enum class OperationKind { write, remove, removeAll };

template <class I>
class TableFixture : public testing::Test {
 public:
  using SwTable = typename I::SwTable;
  using EntryHandle = typename SwTable::EntryHandle;
  using EntryWrapper = typename I::EntryWrapper;
  using Helper = typename I::SwTableHelperBase;

  // One operation being put together; go() hands it to the table.
  class Operation {
   public:
    Operation(TableFixture& fixture, OperationKind kind, unsigned key, std::uint8_t value)
        : fixture_(fixture), kind_(kind), key_(key) {
      entry_.logEntry.client[0] = std::byte{value};
    }
    template <class K>
    Operation& needs(unsigned n) {
      entry_.rsrcKeys.*K::keyField = keyOf<K>(n);
      return *this;
    }
    Operation& after(Pivot::Ptr<Asic::DependencyEntryHandle const> const& dependency) {
      dependency_ = dependency;
      return *this;
    }
    Operation& reports(std::string name) {
      return calls([fixture = &fixture_, name = std::move(name)](auto const& handle) {
        fixture->ended_.push_back(name + (state(handle) == done ? " done " : " failed ") +
                                  std::to_string(handle->logVersion().value()));
      });
    }
    Operation& calls(Asic::OrderedSwTable::ResponseHandler handler) {
      handler_ = std::move(handler);
      return *this;
    }
    Operation& on(SwTable& table) {
      table_ = &table;
      return *this;
    }
    Handle go() {
      SwTable& table = table_ == nullptr ? *fixture_.table_ : *table_;
      if (kind_ == OperationKind::write) {
        return table.entryWriteWithResponseHandler(EntryKey(key_), entry_, dependency_, handler_);
      }
      if (kind_ == OperationKind::remove) {
        return table.entryRemoveWithResponseHandler(EntryKey(key_), dependency_, handler_);
      }
      table.entryRemoveAllWithResponseHandler(dependency_, handler_);
      return nullptr;
    }

   private:
    TableFixture& fixture_;
    OperationKind kind_;
    std::uint32_t key_;
    Entry entry_;
    Pivot::Ptr<Asic::DependencyEntryHandle const> dependency_;
    Asic::OrderedSwTable::ResponseHandler handler_;
    SwTable* table_ = nullptr;
  };

  Operation write(unsigned key, std::uint8_t value = 1) {
    return Operation(*this, OperationKind::write, key, value);
  }
  Operation remove(unsigned key) { return Operation(*this, OperationKind::remove, key, 0); }
  Operation removeAll() { return Operation(*this, OperationKind::removeAll, 0, 0); }

  std::size_t resolve() { return world_->resolve(); }
  void acknowledge(std::uint64_t version) { world_->acknowledge(I::tableId, Asic::LogVersion(version)); }
  // Everything that was committed.
  void acknowledge() { acknowledge(table().entryLog()->tableVersion().value()); }

  // Everything is committed that may be, and the hardware has taken it.
  void settle() {
    resolve();
    acknowledge();
  }

  AgentWorld& world() { return *world_; }
  SwTable& table() { return *table_; }
  Pivot::Ptr<SwTable> makeTable(Asic::UnitId unit, Pivot::Ptr<Helper> const& helper = nullptr,
                                bool reset = false) {
    return world_->template interface<I>()->makeSwTable(unit, helper, reset);
  }
  // The process ends and begins again on the same store.
  void restart(bool marking = false) {
    table_.reset();
    world_->restart();
    world_->orderedTables().suppressInitialMarkIs(!marking);
    table_ = makeTable(kUnit);
  }
  // What must hold in the life that brought it about, and again after a restart.
  template <class Verify>
  void verifyOverARestart(Verify verify) {
    {
      SCOPED_TRACE("before the restart");
      verify();
    }
    restart();
    SCOPED_TRACE("after the restart");
    verify();
  }
  template <class K>
  void steer(unsigned n, EntryState resourceState) {
    mustBeOk(world_->template resources<K>().stateIs(keyOf<K>(n), resourceState));
  }

  bool has(unsigned key) { return table().entryHas(EntryKey(key)); }
  std::uint8_t read(unsigned key) { return valueOf(table().entryRead(EntryKey(key))); }
  bool pending() { return table().hasPendingHwWrites(); }
  std::uint64_t logVersion() { return table().entryLog()->tableVersion().value(); }
  // The major version that the key's newest operation in flight has; all ones for none.
  std::uint64_t version(unsigned key) {
    return table().transientVersionForKey(EntryKey(key)).majorVersion().value();
  }
  // What the store holds of the table: versions in the change log, and records of the unit as key@version,
  // with a minus for a removed one.
  static std::string stored() {
    return "log" +
           listed<LoamTunnelNiLib::InLifModelLogShoalEntry>(
               I::Constants::tableEntryLogShoalPath(),
               [](auto const& record) { return std::to_string(record.version().value()); }) +
           ", unit" +
           listed<LoamTunnelNiLib::InLifModelConfigShoalEntry>(
               I::Constants::configShoalPath(kUnit), [](auto const& record) {
                 return (record.isDeleted != 0 ? "-" : "") + std::to_string(record.key().value()) + "@" +
                        std::to_string(record.logVersion.value());
               });
  }
  // The keys that a walk from now delivers, ascending.
  std::vector<unsigned> walk() {
    std::vector<unsigned> keys;
    for (auto at = table().entryIteratorConst(); at; ++at) keys.push_back(at->logEntry.key.value());
    std::sort(keys.begin(), keys.end());
    return keys;
  }
  // What the handlers of reports() have said since the last call.
  Ended ended() { return std::exchange(ended_, {}); }

  template <class Record, class Text>
  static std::string listed(std::string const& path, Text text) {
    auto const opened = Shoal::ShoalReader<Record>::open(path);
    std::set<std::string> records;
    Record record;
    for (auto at = opened.reader->first(record); at == Shoal::ReadResult::found;
         at = opened.reader->next(Shoal::RecordTraits<Record>::key(record), record)) {
      records.insert(' ' + text(record));
    }
    return std::accumulate(records.begin(), records.end(), std::string());
  }

 protected:
  static constexpr Asic::UnitId kUnit = 3;

  void SetUp() override {
    world_ = std::make_unique<AgentWorld>();
    table_ = makeTable(kUnit);
  }
  void TearDown() override {
    table_.reset();
    world_.reset();
  }

  std::unique_ptr<AgentWorld> world_;
  Pivot::Ptr<SwTable> table_;
  Ended ended_;
};

using Instances = testing::Types<LoamInLif::InLif0, LoamInLif::InLif1, LoamInLif::InLif23>;

}  // namespace TestSupport
