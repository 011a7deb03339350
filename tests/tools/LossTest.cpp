// Files of a store that are lost, put back older or moved aside by the check between two lives of both processes, and
// damage under a running agent: when the client has said again what it wants, it, the store and the image are equal, and
// the check finds nothing.
#include <sys/stat.h>

#include <functional>

#include "Programs.h"
#include "tools/check/StoreCheck.h"
#include "tools/demo/Wants.h"
#include "tools/torture/StoreDamage.h"

namespace {

using namespace Inlif;
namespace fs = std::filesystem;

class LossTest : public ProgramsTest {
 protected:
  LossTest() { ::umask(0077); }
  ~LossTest() override { fs::remove_all(older_); }

  void want(unsigned key, unsigned value) {
    wants_.take({{"op", "write"},
                 {"id", "w" + std::to_string(key)},
                 {"table", key % 2 == 0 ? "InLif0" : "InLif1"},
                 {"unit", 1 + key % 3},
                 {"key", key},
                 {"client", std::string(96, '5') + (value % 2 == 0 ? "00" : "11")},
                 {"qosProfileKey", {{"intf", "Ethernet" + std::to_string((key + value) % 7)}}}});
  }
  // One life of agent and writer: the client writes all that it wants, says so, waits and quits.
  void live() {
    Program writer = startWriter();
    std::string operations = R"({"op":"client","id":"c","name":"test"})";
    for (char const* table : {"InLif0", "InLif1"})
      for (unsigned unit : {1U, 2U, 3U})
        operations += fmt::format("\n{{\"op\":\"unit\",\"id\":\"{0}/{1}\",\"table\":\"{0}\",\"unit\":{1}}}",
                                  table, unit);
    for (Json const& write : wants_.writes()) operations += "\n" + write.dump();
    operations += R"(
{"op":"unitsMade","id":"u","client":"test"}
{"op":"replayed","id":"r","client":"test"}
{"op":"wait","id":"w","timeoutMs":60000}
{"op":"reconcile","id":"k"}
{"op":"wait","id":"v","timeoutMs":60000}
{"op":"quit","id":"q"})";
    for (Json const& line : agent(operations)) EXPECT_TRUE(line.value("ok", true)) << line << writer.err();
    writer.kill(SIGTERM);
    writer.join();
  }
  void expectEqual(char const* what) {
    for (CheckFinding const& finding : checkStore(store_.directory()).findings)
      ADD_FAILURE() << what << ": " << finding.text();
    ComparisonResult const result = compareAll(wants_.wishes());
    EXPECT_EQ(result.inImage, wants_.size()) << what;
    EXPECT_TRUE(result.equal()) << what << ": " << result.differences
                                << " differences: " << result.examples.at(0);
  }
  // Names end in ".shoal" or are those of folders; what is below comes along.
  fs::path inStore(std::string const& name) const { return fs::path(store_.directory()) / name; }
  void lose(std::string const& name) { fs::remove_all(inStore(name)); }
  void putBack(std::string const& name) {
    lose(name);
    TestSupport::copySparse(older_ / name, inStore(name));
  }
  std::string fileOf(std::string const& path) const { return path + ".shoal"; }
  std::string const group_ =
      fs::path(tables()[0].configBase).parent_path().parent_path().parent_path().string();

  fs::path const older_ = store_.directory() + "-older";
  Wants wants_;
};

TEST_F(LossTest, whatIsGoneOrOlderBetweenTwoLivesIsMadeGood) {
  std::string const hardware = group_ + "/hardware";
  TableInfo const &a = tables()[0], &b = tables()[1];
  std::mt19937_64 random(7);
  auto const agentsSide = [&] {
    for (char const* folder : {"/config", "/log", "/group"}) lose(group_ + folder);
    lose("bursar");
  };
  struct Case {
    char const* what;
    std::function<void()> harm;
  };
  Case const cases[] = {
      {"writer's side gone", [&] { lose(hardware); }},
      {"writer's side gone with its manifest", [&] { lose(hardware), lose(".manifest-writer.shoal"); }},
      {"agent's side gone", agentsSide},
      {"agent's side gone with its manifest", [&] { agentsSide(), lose(".manifest-agent.shoal"); }},
      {"another boot", [&] { StoreDamage(store_.directory(), {}).otherBoot(random); }},
      {"older logs", [&] { putBack(group_ + "/log"); }},
      {"older images", [&] { putBack(hardware + "/image"); }},
      {"older images and reports", [&] { putBack(hardware), putBack(".manifest-writer.shoal"); }},
      {"older configurations", [&] { putBack(group_ + "/config"); }},
      {"one older configuration and no image",
       [&] { putBack(fileOf(a.configPath(1))), lose(fileOf(a.imagePath)); }},
      {"older agent's side",
       [&] {
         for (char const* folder : {"/config", "/log", "/group"}) putBack(group_ + folder);
         putBack("bursar"), putBack(".manifest-agent.shoal");
       }},
      {"a damaged entry and no image",
       [&] {
         TestSupport::flipBit(inStore(fileOf(a.configPath(1))), "UUUUUUUU");
         lose(fileOf(a.imagePath));
       }},
      {"moved aside by the check",
       [&] {
         std::string const damaged[] = {a.configPath(1), b.imagePath, b.logPath, a.imagePath,
                                        announcedPath()};
         for (std::size_t i = 0; i < std::size(damaged); ++i)  // in a record, in the headers
           TestSupport::flipBit(store_.fileOf(damaged[i]), i == 0 ? "UUUUUUUU" : damaged[i]);
         said({"check", "--repair"}, 1);
         for (std::string const& path : damaged) EXPECT_FALSE(fs::exists(store_.fileOf(path))) << path;
       }},
  };
  for (unsigned key = 0; key < 90; ++key) want(key, 0);
  live();
  for (Case const& one : cases) {
    if (kSanitized && (&one - cases) % 3 != 0) continue;  // two lives each
    fs::remove_all(older_);
    TestSupport::copySparse(store_.directory(), older_);
    for (unsigned key = 0; key < 90; key += 3) want(key, static_cast<unsigned>(&one - cases) + 1);
    wants_.forget(random, 8);
    live();
    one.harm();
    for (unsigned key = 90; key < 100; ++key) want(key, static_cast<unsigned>(&one - cases));
    wants_.forget(random, 8);
    live();
    expectEqual(one.what);
    fs::remove_all(inStore(".lost"));
  }
}

// The writer of the hardware meets what no operation of the agent comes by.
TEST_F(LossTest, damageUnderARunningAgentIsMendedAtOnce) {
  for (unsigned key = 0; key < 60; ++key) want(key, 0);
  live();
  std::vector<std::string> const writing{"writer", "--store", store_.directory()};
  std::optional<Program> writer(std::in_place, store_.directory(), writing);
  agentStarts({"--suppress-initial-mark"});
  for (std::string const table : {"InLif0", "InLif1"})
    for (unsigned unit : {1U, 2U, 3U}) makeUnit(table, unit);
  TableInfo const& a = tables()[0];
  writer->kill(SIGKILL);
  writer->join();
  TestSupport::flipBit(store_.fileOf(a.configPath(1)), "UUUUUUUU");
  lose(fileOf(a.imagePath));
  writer.emplace(store_.directory(), writing);
  Json const wiped = event("wiped");
  EXPECT_EQ(wiped["table"], a.name);
  EXPECT_EQ(wiped["what"], "unit 1");
  for (Json const& write : wants_.writes()) send(write.dump());
  ask(R"("op":"wait","timeoutMs":60000)");
  expectEqual("a damaged entry and no image");
}

}  // namespace
