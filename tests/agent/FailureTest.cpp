// What the hardware does not take comes back to the agent: observers hear of each failure and each recovery, and what was
// refused is published again.
#include "AgentLife.h"
#include "hardware/memory/MemoryHardware.h"

namespace {

using namespace AgentLife;

struct Heard final : FailureObserver {
  void failed(HardwareFailure const& failure) override { lines.push_back("failed " + text(failure)); }
  void recovered(HardwareFailure const& failure) override { lines.push_back("recovered " + text(failure)); }
  static std::string text(HardwareFailure const& failure) {
    return failure.tableName() + " " + failure.row.key.text() + " " + std::string(failure.row.className());
  }
  std::vector<std::string> lines;
};

class FailureTest : public AgentLife::Test {
 protected:
  FailureTest() {
    writerDrives_ = &full_;
    begin();
    host_->failures().observerAdd(&heard_);
  }
  ~FailureTest() override { end(); }
  std::vector<std::string> heard() {
    settle();
    return std::exchange(heard_.lines, {});
  }
  HardwareFailure failure() { return host_->failures().next({}).value_or(HardwareFailure()); }

  LoamHardware::MemoryChip chip_{2};  // entries
  LoamHardware::MemoryHardware full_{chip_, {true, true}};
  Heard heard_;
};

using Lines = std::vector<std::string>;

TEST_F(FailureTest, observersHearAndARetryPublishesAgain) {
  auto const table = unit(kInLif1, 3);
  for (std::uint32_t key = 1; key <= 3; ++key) write(*table, key);
  EXPECT_EQ(heard(), (Lines{"failed InLif1 unit 3 key 3 full"}));
  EXPECT_FALSE(host_->pending()) << "a refused entry is dealt with";
  EXPECT_EQ(host_->failures().count(kInLif1), 1u);
  std::uint64_t const version = failure().row.logVersion.value();
  ASSERT_TRUE(host_->publishAgain(failure()).isOk());
  EXPECT_EQ(heard(), (Lines{"failed InLif1 unit 3 key 3 full"})) << "another version of it";
  EXPECT_EQ(failure().row.logVersion.value(), version + 1);
  EXPECT_EQ(failure().row.tries, 2u);
  table->entryRemove(InLifModelEntryKey(1), nullptr);
  EXPECT_EQ(heard(), Lines()) << "room alone recovers nothing";
  ASSERT_TRUE(host_->publishAgain(failure()).isOk());
  EXPECT_EQ(heard(), (Lines{"recovered InLif1 unit 3 key 3 full"}));
  EXPECT_EQ(chip_.entries({kInLif1, 3}).size(), 2u);

  // Removed by its client, it is no failure any more; and none that could be published.
  write(*table, 4);
  EXPECT_EQ(heard(), (Lines{"failed InLif1 unit 3 key 4 full"}));
  HardwareFailure const last = failure();
  table->entryRemove(InLifModelEntryKey(4), nullptr);
  EXPECT_EQ(heard(), (Lines{"recovered InLif1 unit 3 key 4 full"}));
  EXPECT_FALSE(host_->publishAgain(last).isOk());
}

// More rows than one turn looks at, and more records than may be under way; an agent that comes later finds them, and a
// writer asks for all of them again.
TEST_F(FailureTest, manyFailuresAreToldOverTurnsAndFoundByTheNextLife) {
  for (std::uint32_t key = 0; key < 5002; ++key)
    unit(kInLif1, 3)->entryWrite(InLifModelEntryKey(key), LoamTunnelNiLib::InLifModelEntry(), nullptr);
  EXPECT_EQ(heard().size(), 5000u);
  begin();
  host_->failures().observerAdd(&heard_);
  EXPECT_EQ(heard().size(), 5000u);
  EXPECT_EQ(host_->failures().next({})->row.tries, 2u);
}

}  // namespace
