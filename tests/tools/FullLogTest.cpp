// Stores that are full, beside a real agent and a real writer of the hardware: what finds no room waits or is redone,
// nothing fails, the agent's own memory stays small, and all is done in order once there is room. A change log
// fills up while the writer stands still, a file system while both work.

#include "Programs.h"
#include "Shoal/SteadyReader.h"
#include "support/OwnFileSystem.h"
#include "tools/check/StoreCheck.h"

namespace {

using namespace Inlif;

constexpr unsigned kEntries = 10'000;
constexpr unsigned kWaiting = 2'000;

class FullLogTest : public ProgramsTest {
 protected:
  ~FullLogTest() override { ::umount2(store_.directory().c_str(), MNT_DETACH); }
  void begin() {
    writer_.emplace(store_.directory(), std::vector<std::string>{"writer", "--store", store_.directory()});
    agentStarts();
  }
  // Everything is done, in the order in which the client asked for it; both end, and the check finds nothing.
  void expectDoneFrom(int first, std::size_t count) {
    EXPECT_EQ(done_.size(), count);
    EXPECT_TRUE(std::ranges::is_sorted(done_) && done_.front() == first) << "done in the order of the client";
    EXPECT_EQ(ask({{"op", "quit"}})["leaks"], 0);
    EXPECT_EQ(agent_->join(), 0);
    writer_->kill(SIGTERM);
    writer_->join();
    CheckResult const result = checkStore(store_.directory());
    for (CheckFinding const& finding : result.findings) ADD_FAILURE() << finding.text();
  }

  Json receive() {
    Json message;
    auto const end = std::chrono::steady_clock::now() + std::chrono::minutes(3);
    while (!client_.receive(message, 1000)) {
      if (!client_.closed() && std::chrono::steady_clock::now() < end) continue;
      ADD_FAILURE() << "nothing comes";
      return Json::object();
    }
    if (message.value("event", "") == "done") done_.push_back(message["id"]);
    if (message.value("event", "") == "failed") ADD_FAILURE() << message;
    if (message.value("event", "") == "logHighWater") levels_.push_back(message);
    return message;
  }
  Json ask(Json operation) {
    operation["id"] = ++id_;
    client_.send(operation);
    for (Json message = receive(); !HasFailure(); message = receive())
      if (message.contains("ok") && message["id"] == id_) return message;
    return {};
  }
  Json of(char const* op, unsigned unit) {
    return {{"op", op}, {"id", ++id_}, {"table", "InLif1"}, {"unit", unit}};
  }
  void write(unsigned unit, unsigned key, Json const& members) {
    Json operation = of("write", unit);
    operation["key"] = key;
    operation.update(members);
    client_.send(operation);
  }
  void writeMore() {
    for (unsigned i = 0; i < kWaiting; ++i) write(1, kEntries / 2 + i, {{"client", std::string(98, '7')}});
  }
  // A changed resource has every entry of unit 1 published again.
  void changeResource() {
    ask({{"op", "resource"}, {"resource", "qosProfileKey"}, {"key", kSharedKey}, {"value", ++value_}});
  }
  // Until nothing more can be published.
  void changeUntilFull() {
    for (Json before = 0, now = table()["written"]; now != before; now = table()["written"]) {
      before = now;
      changeResource();
    }
  }
  Json table() { return ask({{"op", "status"}})["tables"][1]; }
  std::size_t memory() const { return ownMemory(agent_->pid()) / kKiB; }

  Json const kSharedKey = {{"intf", "Ethernet1"}};
  std::optional<Program> writer_;
  int id_ = 0;
  unsigned value_ = 1;  // what a resource has at first
  std::vector<int> done_;
  std::vector<Json> levels_;
};

TEST_F(FullLogTest, theAgentGoesOnAndEverythingIsDoneInOrder) {
  begin();
  for (unsigned unit : {1U, 2U}) ask(of("unit", unit));
  for (unsigned key = 0; key < kEntries; ++key) {
    write(1, key, {{"qosProfileKey", kSharedKey}});
    if (key % 500 == 0) ask(of("count", 1));
  }
  for (unsigned key = 0; key < 10; ++key) write(2, key, Json::object());
  ask({{"op", "wait"}, {"timeoutMs", 60'000}});
  writer_->kill(SIGSTOP);
  done_.clear();

  // The agent's own changes go beyond the client's limit.
  std::size_t const before = memory();
  for (unsigned i = 0; i < 101; ++i) changeResource();
  ASSERT_EQ(table()["logRecords"], 101 * kEntries);
  ASSERT_EQ(levels_.size(), 1u) << "told once";
  EXPECT_GT(levels_[0]["logRecords"], 875'000);
  writeMore();
  Json const cause = ask({{"op", "why"}})["causes"][0];
  EXPECT_EQ(cause["operations"], kWaiting);
  EXPECT_THAT(cause["cause"].dump(), HasSubstr("the log holds 1010000 records, of at most 1000000"));
  EXPECT_THAT(agent_->err(), HasSubstr("key: 5000, isEntryDeleted: false : no space in entryLog!"));
  std::size_t const waiting = memory();

  // Then the store itself is full but for what is kept for operations and clears: updates are set aside, and a
  // unit can still be cleared.
  changeUntilFull();
  std::uint64_t last = table()["written"];
  EXPECT_EQ(table()["logRecords"], (1U << 21) - 5);
  EXPECT_EQ(table()["units"][0]["setAside"], kEntries);
  Json reset = of("unit", 2);
  reset["reset"] = true;
  EXPECT_EQ(ask(reset)["ok"], true);
  EXPECT_EQ(table()["written"], ++last);
  std::size_t const full = memory();
  std::printf("own memory: %zu KiB before, %zu with %u operations waiting, %zu with the store full\n", before,
              waiting, kWaiting, full);
  EXPECT_LT(full, before + 64 * 1024);
  EXPECT_TRUE(done_.empty());

  // The agent dies, and lives on with the log full: the client asks again for what waited, and the unit that nobody
  // serves any more is cleared once there is room.
  agentStarts();
  ask({{"op", "client"}, {"name", "c"}});
  ask(of("unit", 1));
  ask({{"op", "unitsMade"}, {"client", "c"}});
  EXPECT_EQ(ask({{"op", "reconcile"}})["cleared"][0]["unit"], 2);
  int const first = id_ + 1;
  writeMore();
  EXPECT_EQ(table()["written"], last + 1) << "the clear that the hardware has not taken";
  EXPECT_TRUE(done_.empty());

  writer_->kill(SIGCONT);
  ASSERT_EQ(ask({{"op", "wait"}, {"timeoutMs", 300'000}})["ok"], true) << agent_->err();
  EXPECT_EQ(levels_.back()["high"], false);
  EXPECT_EQ(ask(of("count", 1))["count"], kEntries);
  EXPECT_EQ(ask(of("count", 2))["count"], 0);
  Json read = of("read", 1);
  read["key"] = 3;
  EXPECT_EQ(ask(read)["entry"]["resolved"]["qosProfile"], value_) << "the last value, although it was redone";
  expectDoneFrom(first, kWaiting);
}

// What finds no room on the way, and what is made of it then, the tests of the tables hold.
TEST_F(FullLogTest, everythingIsDoneInOrderOnceThereIsRoomOnTheFileSystem) {
  constexpr unsigned kWrites = 6'000;
  if (!TestSupport::ownFileSystem(store_.directory(), "size=2m"))
    GTEST_SKIP() << "no right to mount a file system";
  begin();
  ask(of("unit", 1));
  int const first = id_ + 1;
  for (unsigned i = 0; i < kWrites; ++i) write(1, i, {{"client", std::string(98, '7')}});
  Json const cause = ask({{"op", "why"}})["causes"][0];
  EXPECT_THAT(cause["cause"].dump(), HasSubstr("No space left on device"));
  EXPECT_THAT(ask(of("unit", 2)).dump(), HasSubstr("No space left on device"));
  EXPECT_LT(done_.size(), kWrites / 2);
  // In small steps, so that the growth of each collection is once what does not fit.
  for (int kib = 2048; done_.size() < kWrites && kib < 64 * 1024; kib += 256) {
    ASSERT_TRUE(TestSupport::fileSystemIs(store_.directory(), "size=" + std::to_string(kib) + "k"));
    ask({{"op", "wait"}, {"timeoutMs", 200}});
  }
  expectDoneFrom(first, kWrites);
}

}  // namespace
