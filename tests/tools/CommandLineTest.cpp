// What is made from the command lines: the hint for a misspelt word, manual pages, completion; and LOAM_STORE.
#include <filesystem>

#include "Programs.h"

namespace {

using namespace Inlif;

class CommandLineTest : public ProgramsTest {
 protected:
  std::string alone(std::vector<std::string> arguments, int expectedStatus = 0) {
    Program program = start(std::move(arguments));
    EXPECT_EQ(program.join(), expectedStatus);
    return program.out() + program.err();
  }
  // What a shell's standard output is after the lines of a script.
  std::string shell(std::string const& script) {
    std::string const path = file("script", script), out = store_.directory() + "/.shell";
    EXPECT_EQ(std::system(fmt::format("bash {} >{}", path, out).c_str()), 0);
    return contentsOf(out);
  }
};

TEST_F(CommandLineTest, aMisspeltWordIsNamedWithTheOneThatIsNear) {
  EXPECT_THAT(alone({"shwo"}, kWrongCommandLine),
              HasSubstr("\"shwo\" is no command (did you mean show?); expected"));
  EXPECT_THAT(alone({"xyz"}, kWrongCommandLine), HasSubstr("\"xyz\" is no command; expected one of agent, "));
  EXPECT_THAT(alone({"show", "status", "--stroe=/tmp"}, kWrongCommandLine),
              HasSubstr("--stroe is no option of inlif show (did you mean --store?)"));
  EXPECT_THAT(alone({"writer", "--pinz", "/tmp"}, kWrongCommandLine), HasSubstr("(did you mean --pins?)"));
  EXPECT_THAT(alone({"show", "status"}, kWrongCommandLine),
              HasSubstr("--store is required; try inlif show --help"));
  EXPECT_EQ(alone({"inspect", "/", "--store", "/", "--depth", "-1"}, kWrongCommandLine),
            "inlif: --depth -1: expected a whole number from 0 to 64\n");
}

TEST_F(CommandLineTest, theStoreMayComeFromTheEnvironmentAndTheOptionGoesFirst) {
  agent("{\"op\":\"unit\",\"id\":1,\"table\":\"InLif1\",\"unit\":3}\n{\"op\":\"quit\",\"id\":2}\n");
  setenv("LOAM_STORE", store_.directory().c_str(), 1);
  EXPECT_THAT(alone({"show", "status"}), HasSubstr("\nInLif1     3        0\n"));
  EXPECT_THAT(alone({"show", "status", "--store", "/nowhere"}, kRefused), HasSubstr("/nowhere"));
  unsetenv("LOAM_STORE");
}

// Each option that the help of a command names is in its page and is completed. Headings are in capitals with a newer library of
// command lines, and what is long goes on in the next line.
TEST_F(CommandLineTest, pagesAndCompletionKnowWhatTheHelpKnows) {
  std::string const pages = store_.directory() + "/man", bash = file("bash", alone({"completion", "bash"})),
                    zsh = alone({"completion", "zsh"}), help = alone({"--help"});
  alone({"manual", pages});
  std::istringstream commands(
      help.substr(std::min(help.find("Subcommands:\n"), help.find("SUBCOMMANDS:\n")) + 13));
  std::size_t count = 0;
  for (std::string line; std::getline(commands, line) && !line.empty();) {
    if (line.starts_with("   ")) continue;
    ++count;
    std::string const name = line.substr(2, line.find(' ', 2) - 2);
    std::string const page = contentsOf(pages + "/inlif-" + name + ".1");
    EXPECT_THAT(contentsOf(pages + "/inlif.1"), HasSubstr(".BR inlif\\-" + name + " (1)"));
    EXPECT_THAT(page, AllOf(HasSubstr(".SH EXIT STATUS\n0 all is well"), Not(HasSubstr("Exit status:"))));
    std::string const words = shell(
        fmt::format("source {}\nCOMP_WORDS=(inlif {} --) COMP_CWORD=2\n_inlif\necho \" ${{COMPREPLY[@]}} \"",
                    bash, name));
    std::istringstream options(alone({name, "--help"}));
    while (std::getline(options, line)) {
      std::size_t const at = line.find("--");
      if (!line.starts_with(' ') || at == std::string::npos || line.find_first_not_of(' ') != line.find('-'))
        continue;
      std::string const option = line.substr(at, line.find_first_of(" =", at) - at);
      std::string escaped = option;
      for (std::size_t i = 0; (i = escaped.find('-', i)) != std::string::npos; i += 2)
        escaped.insert(i, "\\");
      EXPECT_THAT(page, HasSubstr("\\fB" + escaped + "\\fR")) << name;
      EXPECT_THAT(words, HasSubstr(" " + option + " ")) << name;
      EXPECT_THAT(zsh, HasSubstr("'*" + option + "[")) << name;
    }
  }
  EXPECT_GT(count, 12U);
  auto const completed = [&](std::string const& line, int at) {
    return shell(
        fmt::format("source {}\nCOMP_WORDS=({}) COMP_CWORD={}\n_inlif\nprintf '%s\\n' \"${{COMPREPLY[*]}}\"",
                    bash, line, at));
  };
  EXPECT_THAT(contentsOf(pages + "/inlif-why.1"), HasSubstr("\\fB\\-v\\fR, \\fB\\-\\-verbose\\fR\n"));
  EXPECT_THAT(completed("inlif why -", 2), HasSubstr(" -v "));
  EXPECT_THAT(zsh, HasSubstr("'*-v["));
  EXPECT_EQ(completed("inlif sh", 1), "show\n");
  EXPECT_EQ(completed("inlif show la", 2), "latency\n");
  EXPECT_EQ(completed("inlif writer --hardware k", 3), "kernel\n");
  EXPECT_EQ(completed("inlif log --table InLif2", 3), "InLif23\n");
  EXPECT_EQ(completed("inlif retry --class f", 3), "full\n");
  EXPECT_EQ(completed("inlif show --store x latency l", 5), "\n") << "there is one such argument";
  std::filesystem::create_directory(store_.directory() + "/sp ace");
  EXPECT_EQ(completed("inlif log --store " + store_.directory() + "/sp", 3),
            store_.directory() + "/sp ace\n");
  std::string const writer = contentsOf(pages + "/inlif-writer.1");
  EXPECT_THAT(writer, HasSubstr("PORT=INTERFACE[:EGRESS]"));
  std::string const options = writer.substr(writer.find(".SH OPTIONS"));
  EXPECT_EQ(options.find("\\-help"), options.rfind("\\-help")) << "its group has no --help of its own";
  EXPECT_EQ(completed("inlif agent --store " + pages.substr(0, pages.size() - 1), 3), pages + "\n");
}

}  // namespace
