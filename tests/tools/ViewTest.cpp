// What commands print for people: columns, and what a terminal adds: the cut to its width and two tones.
#include <cstdlib>

#include "Programs.h"
#include "tools/support/Text.h"

namespace {

using namespace Inlif;

std::vector<std::string> texts(std::vector<Line> const& lines) {
  std::vector<std::string> texts;
  for (Line const& line : lines) texts.push_back(line.text);
  return texts;
}

TEST(TextTable, columnsAreAsWideAsTheyMustBeAndThoseThatSayNothingMayGo) {
  TextTable table({{"name"}, {"count", 0, kRight}, {"lost", 0, kRight, true}, {"why"}});
  table.add({"Zürich", "7", "0", "none"});
  table.add({"Bern", "12345678", "-", ""}, Tone::fault);
  EXPECT_THAT(texts(table.lines(false)),
              ElementsAre("name       count  why", "Zürich         7  none", "Bern    12345678"));
  EXPECT_THAT(texts(table.lines()), ElementsAre("name       count  lost  why", "Zürich         7     0  none",
                                                "Bern    12345678     -"));
  table.add({"", "1", "2", ""});
  EXPECT_EQ(table.lines(false)[0].text, "name       count  lost  why") << "one row says something";
}

TEST(DurationText, isInTheUnitThatPeopleTake) {
  using namespace std::chrono_literals;
  EXPECT_EQ(durationText(300ns), "0.3 us");
  EXPECT_EQ(durationText(4100us), "4.1 ms");
  EXPECT_EQ(durationText(3700ms), "3.7 s");
  EXPECT_EQ(durationText(725s), "12 min 5 s");
  EXPECT_EQ(durationText(190min), "3 h 10 min");
  EXPECT_EQ(durationText(52h), "2 d 4 h");
}

class ViewTest : public ProgramsTest {
 protected:
  ViewTest() {
    setenv("TERM", "xterm", 1);
    unsetenv("NO_COLOR");
  }
  std::string statusAt(unsigned short columns, bool isVerbose = false) {
    std::vector<std::string> arguments{"show", "status", "--store", store_.directory()};
    if (isVerbose) arguments.push_back("-v");
    return onTerminal(arguments, STDOUT_FILENO, columns);
  }
};

TEST_F(ViewTest, aTerminalCutsLinesAndShowsWhatIsWrongInRed) {
  agentStarts();
  makeUnit("InLif1", 5);
  std::string const narrow = statusAt(30);
  EXPECT_THAT(narrow, AllOf(HasSubstr("agent running, process "), HasSubstr("...\r\n"),
                            HasSubstr("\x1b[31mwriter not running, and non...\x1b[0m\r\n"),
                            HasSubstr("\x1b[1mtable   unit  entries    ma...\x1b[0m\r\n"),
                            Not(HasSubstr("none has run here"))));
  EXPECT_THAT(statusAt(30, true), AllOf(HasSubstr("none has run here"), Not(HasSubstr("..."))));
  setenv("NO_COLOR", "1", 1);
  EXPECT_THAT(statusAt(200), AllOf(HasSubstr("none has run here"), Not(HasSubstr("\x1b"))));
  setenv("NO_COLOR", "", 1);
  EXPECT_THAT(statusAt(200), HasSubstr("\x1b[31m")) << "empty is as if it were not set";
  setenv("TERM", "dumb", 1);
  EXPECT_THAT(statusAt(200), Not(HasSubstr("\x1b")));
}

TEST_F(ViewTest, whatSaysNothingIsLeftOutUnlessItIsAskedFor) {
  agentStarts();
  EXPECT_THAT(said({"show", "status"}), HasSubstr("nothing has been written yet\n"));
  makeUnit("InLif1", 5);
  ask("write", "InLif1", 5, R"(,"key":20)");
  ask("write", "InLif1", 5, R"(,"key":3)");
  count("InLif1", 5);
  EXPECT_THAT(said({"show", "status"}),
              AllOf(HasSubstr("\nInLif1        2 "), HasSubstr("\nInLif1     5        2  2 so far\n"),
                    Not(HasSubstr("InLif0")), Not(HasSubstr("swept")), Not(HasSubstr("\x1b"))));
  EXPECT_THAT(said({"show", "status", "--verbose"}), AllOf(HasSubstr("\nInLif0 "), HasSubstr("swept")));
  EXPECT_THAT(said({"show", "latency"}), AllOf(HasSubstr("at the head"), Not(HasSubstr("to the hardware"))));
  EXPECT_THAT(said({"show", "latency", "-v"}), HasSubstr("to the hardware"));
  // By unit and key, whatever the order of the store.
  EXPECT_EQ(said({"show", "config"}),
            "table    unit         key    version  what\n"
            "InLif1      5           3          2  no resources\n"
            "InLif1      5          20          1  no resources\n");
}

}  // namespace
