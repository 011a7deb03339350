// An agent and the writer of its hardware in one process, on a store of the test's own; each life of the agent is a host
// of its own.
#pragma once

#include <gtest/gtest.h>

#include <optional>

#include "Bursar/Steering.h"
#include "LoamInLif/Kinds.h"
#include "LoamQos/QosProfileResourceTable.h"
#include "agent/Restart.h"
#include "hardware/HwWriter.h"
#include "support/TempStore.h"

namespace AgentLife {

using namespace LoamAgent;
using LoamTunnelNiLib::InLifModelEntry;
using LoamTunnelNiLib::InLifModelEntryKey;

inline constexpr std::size_t kInLif0 = 0;
inline constexpr std::size_t kInLif1 = 1;

// Names that outlive the agents of a test; refuses to keep any while `full`.
struct Memory final : ClientMemory {
  Pivot::Status recall(std::vector<std::string>& out) override {
    out = names;
    return Pivot::Status::ok();
  }
  Pivot::Status remember(std::vector<std::string> const& in) override {
    if (full) return Pivot::Status::refused("full");
    names = in;
    return Pivot::Status::ok();
  }
  std::vector<std::string> names;
  bool full = false;
};

class Test : public testing::Test {
 protected:
  ~Test() override { end(); }

  void begin(Restart::Options const& options = {}, std::vector<std::string> const& expected = {}) {
    end();
    host_.emplace();
    TestSupport::mustBeOk(host_->open(false));
    restart_.emplace(*host_, options);
    TestSupport::mustBeOk(restart_->clients().open(memory_, expected));
    writer_.emplace(LoamInLif::groupInfo());
    TestSupport::mustBeOk(writer_->open());
  }
  void end() {
    writer_.reset();
    restart_.reset();
    if (host_) {
      EXPECT_EQ(host_->close(), std::vector<std::string>());
    }
    host_.reset();
  }
  // Lets both processes work until nothing moves any more.
  void settle() {
    for (int still = 0; still < 2; ++still)
      if (host_->turn() || writer_->turn(4096) > 0) still = -1;
  }

  Pivot::Ptr<TableFront::Table> unit(std::size_t table, Asic::UnitId unit) {
    TestSupport::mustBeOk(host_->makeTable(table, unit, false));
    return host_->front(table).table(unit);
  }
  static InLifModelEntry entryOf(std::uint32_t key) {
    InLifModelEntry entry;
    entry.logEntry.key = InLifModelEntryKey(key);
    entry.rsrcKeys.qosProfileKey.intfId.handleInitialized("Ethernet" + std::to_string(key));
    return entry;
  }
  // An entry that uses the QoS profile of the port of its key.
  static TableFront::Table::Handle write(TableFront::Table& table, std::uint32_t key,
                                         TableFront::Table::Dependency const& after = nullptr) {
    return table.entryWrite(InLifModelEntryKey(key), entryOf(key), after);
  }
  void qosProfile(std::uint32_t key, Asic::EntryState state) {
    auto const table = host_->framework().resourceTable("ResourceTable.LoamQos::QosProfile.LoamInLif");
    LoamQos::QosProfileEntryKey const own = entryOf(key).rsrcKeys.qosProfileKey;
    TestSupport::mustBeOk(dynamic_cast<BursarResourceTable::Steering&>(*table).stateIs(
        std::as_bytes(std::span(&own, 1)), state));
  }

  TestSupport::TempStore store_;
  Memory memory_;
  std::optional<Host> host_;
  std::optional<Restart> restart_;
  std::optional<LoamHardware::HwWriter> writer_;
};

}  // namespace AgentLife
