// An agent and the writer of its hardware in one process, on a store of the test's own; each life of the agent is a host
// of its own.
#pragma once

#include <gtest/gtest.h>

#include <optional>

#include "agent/Restart.h"
#include "hardware/Writer.h"
#include "hardware/memory/ImageOnly.h"
#include "support/TempStore.h"

namespace AgentLife {

using namespace LoamAgent;
using LoamTunnelNiLib::InLifModelEntryKey;

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
    TestSupport::mustBeOk(host_->open());
    restart_.emplace(*host_, options);
    TestSupport::mustBeOk(restart_->clients().open(memory_, expected));
    writer_.emplace(LoamInLif::groupInfo(), *writerDrives_);
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
  // An entry that uses the QoS profile of the port of its key.
  static TableFront::Table::Handle write(TableFront::Table& table, std::uint32_t key) {
    LoamTunnelNiLib::InLifModelEntry entry;
    entry.rsrcKeys.qosProfileKey = LoamQos::QosProfileEntryKey::ofInterface("Ethernet" + std::to_string(key));
    return table.entryWrite(InLifModelEntryKey(key), entry, nullptr);
  }

  TestSupport::TempStore store_;
  Memory memory_;
  std::optional<Host> host_;
  std::optional<Restart> restart_;
  LoamHardware::ImageOnly imageOnly_;
  LoamHardware::Hardware* writerDrives_ = &imageOnly_;
  std::optional<LoamHardware::Writer> writer_;
};

}  // namespace AgentLife
