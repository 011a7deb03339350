// What a running agent traces, changed without a restart.
#include "Programs.h"

namespace {

using namespace Inlif;

using TraceTest = ProgramsTest;

TEST_F(TraceTest, levelsAndTheFoldingOfErrorsChangeAtRunTime) {
  agentStarts();
  makeUnit("InLif1", 0);
  std::string const others = "of a kind of error 10 lines in 10 s, then their number\n";
  EXPECT_EQ(said({"trace"}), "errors alone of all facilities; " + others);
  EXPECT_EQ(said({"trace", "InLif1SwTable/8"}),
            "InLif1SwTable/8\nerrors alone of all other facilities; " + others);
  ask("write", "InLif1", 0, R"(,"key":7)");
  EXPECT_TRUE(eventually([&] { return agent_->err().find(" 8 InLif1SwTable ") != std::string::npos; }));

  // With one line of a kind, five failures cost one line.
  Json const set = Json::parse(said({"trace", "*/1", "--lines", "1", "--seconds", "3600", "--json"}));
  EXPECT_EQ(set["levels"]["InLif1SwTable"], 1);
  EXPECT_EQ(set["lines"], 1);
  std::size_t const before = agent_->err().size();
  ask(R"("op":"resource","resource":"qosProfileKey","capacity":0)");
  for (int key = 0; key < 5; ++key)
    ask("write", "InLif1", 0, fmt::format(R"(,"key":{0},"qosProfileKey":{{"intf":"Ethernet{0}"}})", key));
  EXPECT_TRUE(eventually([&] {
    Json const answer = ask(R"("op":"errors")");
    for (Json const& row : answer["errors"])
      if (row["count"] == 5 && row["text"].get<std::string>().find("commit") != std::string::npos)
        return true;
    return false;
  }));
  std::string const told = agent_->err().substr(before);
  std::size_t lines = 0;
  for (std::size_t at = 0; (at = told.find("Failed to commit", at)) != std::string::npos; ++at) ++lines;
  EXPECT_EQ(lines, 1u) << told;
}

}  // namespace
