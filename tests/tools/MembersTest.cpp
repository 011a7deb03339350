// The page of the members of JSON from its other side: what it lists is printed by somebody. That everything printed is on
// it, each test of the programs sees to (Programs.h).
#include <filesystem>
#include <regex>
#include <set>

#include "Programs.h"
#include "tools/json/MemberNames.h"

namespace {

using namespace Inlif;

class MembersTest : public ProgramsTest {
 protected:
  // The words in quotes of every source of the tools, and the names of the fields of entries.
  static std::set<std::string> quotedWords() {
    std::set<std::string> words(kValueNames.begin(), kValueNames.end());
    words.insert(kKeyNames.begin(), kKeyNames.end());
    std::regex const quoted(R"re("(@?[A-Za-z0-9]+)\\?")re");
    for (auto const& file : std::filesystem::recursive_directory_iterator(TOOLS)) {
      std::string const text = file.is_regular_file() ? contentsOf(file.path()) : "";
      for (std::sregex_iterator at(text.begin(), text.end(), quoted), end; at != end; ++at)
        words.insert((*at)[1]);
    }
    return words;
  }
};

TEST_F(MembersTest, eachMemberOfThePageIsPrintedBySomebody) {
  std::set<std::string> const words = quotedWords();
  ASSERT_GT(Members::known().size(), 100u);
  for (auto const& [name, type] : Members::known()) EXPECT_TRUE(words.contains(name)) << name;
}

// Those that no other test asks for as JSON.
TEST_F(MembersTest, commandsThatWorkAloneKeepToThePage) {
  said({"types", "--json"});
  Program torture = start({"torture", "--cycles", "1", "--seed", "1", "--json"});
  EXPECT_EQ(torture.join(), 0) << torture.err();
  EXPECT_EQ(Json::parse(torture.out())["cycles"], 1);
  Members::expectKnownIn(torture.out());
}

}  // namespace
