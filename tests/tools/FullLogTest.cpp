// A writer of the hardware that stands still until the change log is full, beside a real agent: what comes at
// the limit waits or is redone, nothing fails, the agent's own memory stays small, and all is done in order
// when the writer goes on.
#include <gmock/gmock.h>

#include "Programs.h"
#include "tools/check/StoreCheck.h"

namespace {

using namespace Inlif;
using testing::HasSubstr;

constexpr unsigned kEntries = 10'000;
constexpr unsigned kWaiting = 2'000;

class FullLogTest : public ProgramsTest {
 protected:
  FullLogTest() : writer_(startWriter()), agent_(start({"agent", "--store", store_.directory()})) {
    connect(client_);
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
  // A changed resource has every entry of unit 1 published again.
  void changeResource() {
    ask({{"op", "resource"}, {"resource", "qosProfileKey"}, {"key", kSharedKey}, {"value", ++value_}});
  }
  Json table() { return ask({{"op", "status"}})["tables"][1]; }
  // Kilobytes of the agent's memory that are not the store's.
  long ownMemory() const {
    std::string const status = contentsOf("/proc/" + std::to_string(agent_.pid()) + "/status");
    return std::stol(status.substr(status.find("RssAnon:") + 8));
  }

  Json const kSharedKey = {{"intf", "Ethernet1"}};
  Program writer_, agent_;
  AgentClient client_;
  int id_ = 0;
  unsigned value_ = 1;  // what a resource has at first
  std::vector<int> done_;
  std::vector<Json> levels_;
};

TEST_F(FullLogTest, theAgentGoesOnAndEverythingIsDoneInOrder) {
  for (unsigned unit : {1, 2}) ask(of("unit", unit));
  for (unsigned key = 0; key < kEntries; ++key) {
    write(1, key, {{"qosProfileKey", kSharedKey}});
    if (key % 500 == 0) ask(of("count", 1));
  }
  for (unsigned key = 0; key < 10; ++key) write(2, key, Json::object());
  ask({{"op", "wait"}, {"timeoutMs", 60'000}});
  writer_.kill(SIGSTOP);
  done_.clear();

  // The agent's own changes go beyond the client's limit.
  long const before = ownMemory();
  for (unsigned i = 0; i < 101; ++i) changeResource();
  ASSERT_EQ(table()["records"], 101 * kEntries);
  ASSERT_EQ(levels_.size(), 1u) << "told once";
  EXPECT_GT(levels_[0]["records"], 875'000);
  int const first = id_ + 1;
  for (unsigned i = 0; i < kWaiting; ++i) write(1, kEntries / 2 + i, {{"client", std::string(98, '7')}});
  Json const cause = ask({{"op", "why"}})["causes"][0];
  EXPECT_EQ(cause["operations"], kWaiting);
  EXPECT_THAT(cause["cause"].dump(), HasSubstr("the log holds 1010000 records, of at most 1000000"));
  long const waiting = ownMemory();

  // Then the store itself is full: what finds no room is redone, and a table delete too.
  while (table()["records"] != (1U << 21)) changeResource();
  std::uint64_t const last = table()["written"];
  changeResource();
  Json reset = of("unit", 2);
  reset["reset"] = true;
  EXPECT_EQ(ask(reset)["ok"], true);
  EXPECT_EQ(table()["written"], last);
  EXPECT_EQ(table()["records"], 1U << 21);
  long const full = ownMemory();
  std::printf("own memory: %ld KiB before, %ld with %u operations waiting, %ld with the store full\n", before,
              waiting, kWaiting, full);
  EXPECT_LT(full, before + 64 * 1024);
  EXPECT_TRUE(done_.empty());

  writer_.kill(SIGCONT);
  EXPECT_EQ(ask({{"op", "wait"}, {"timeoutMs", 300'000}})["ok"], true);
  EXPECT_EQ(done_.size(), kWaiting);
  EXPECT_TRUE(std::ranges::is_sorted(done_) && done_.front() == first) << "done in the order of the client";
  ASSERT_EQ(levels_.size(), 2u);
  EXPECT_EQ(levels_[1]["high"], false);
  EXPECT_EQ(ask(of("count", 1))["count"], kEntries);
  EXPECT_EQ(ask(of("count", 2))["count"], 0);
  Json read = of("read", 1);
  read["key"] = 3;
  EXPECT_EQ(ask(read)["entry"]["resolved"]["qosProfile"], value_) << "the last value, although it was redone";
  EXPECT_EQ(ask({{"op", "quit"}})["leaks"], 0);
  EXPECT_EQ(agent_.join(), 0);
  writer_.kill(SIGTERM);
  writer_.join();
  CheckResult const result = checkStore(store_.directory());
  for (CheckFinding const& finding : result.findings) ADD_FAILURE() << finding.text();
  EXPECT_TRUE(result.clean());
}

}  // namespace
