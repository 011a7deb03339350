// The live view: its figures, and how it treats the terminal that it is given.
#include <pty.h>
#include <sys/ioctl.h>

#include "Programs.h"

namespace {

using namespace Inlif;

class TopTest : public ProgramsTest {
 protected:
  // A run of `top` on a terminal of its own, of so many columns.
  class Screen {
   public:
    Screen(std::string const& store, unsigned short columns) {
      winsize const size{24, columns, 0, 0};
      EXPECT_EQ(openpty(&master_, &terminal_, nullptr, nullptr, &size), 0);
      fcntl(master_, F_SETFL, O_NONBLOCK);
      fcntl(master_, F_SETFD, FD_CLOEXEC);  // the program would keep its own terminal alive
      program_.emplace(store, std::vector<std::string>{"top", "--store", store}, terminal_, terminal_);
      close(terminal_);
    }
    ~Screen() { gone(); }
    void gone() {
      if (master_ >= 0) close(std::exchange(master_, -1));
    }
    // What has been drawn since the last call, once it holds the text.
    std::string until(std::string const& text) {
      std::string drawn;
      EXPECT_TRUE(eventually([&] {
        char piece[4096];
        for (ssize_t got; (got = read(master_, piece, sizeof piece)) > 0;)
          drawn.append(piece, static_cast<std::size_t>(got));
        return drawn.find(text) != std::string::npos;
      })) << text
          << " is not in " << drawn;
      return drawn;
    }
    int master_ = -1;
    std::optional<Program> program_;

   private:
    int terminal_ = -1;
  };
};

TEST_F(TopTest, theFiguresAreThoseOfTheStoreAndOfTheAgent) {
  agentStarts();
  makeUnit("InLif1", 5);
  ask(R"("op":"resource","resource":"qosProfileKey","key":{"intf":"Ethernet8"},"state":"inLog")");
  for (int key = 0; key < 30; ++key) ask("write", "InLif1", 5, R"(,"key":)" + std::to_string(key));
  ask("write", "InLif1", 5, R"(,"key":9,"qosProfileKey":{"intf":"Ethernet8"})");
  Json const figures = Json::parse(said({"top", "--once", "--json"}));
  EXPECT_EQ(figures["answers"], true);
  EXPECT_EQ(figures["writer"]["alive"], false);
  EXPECT_EQ(figures["tables"][1]["behind"], 30);
  EXPECT_EQ(figures["tables"][1]["logRecords"], 30);
  EXPECT_EQ(figures["units"][0]["entries"], 30);
  EXPECT_EQ(figures["units"][0]["queued"], 1);
  EXPECT_EQ(figures["causes"][0]["cause"]["for"], "resource");
  // Where there is no terminal it looks once.
  Program top = start({"top", "--store", store_.directory()});
  EXPECT_EQ(top.join(), 0);
  EXPECT_THAT(top.out(),
              AllOf(HasSubstr("1 operations wait\n"), HasSubstr("qosProfileKey {\"intf\":\"Ethernet8\"}"),
                    HasSubstr("writer not running"), Not(HasSubstr("\x1b"))));
  ask(R"("op":"resource","resource":"qosProfileKey","key":{"intf":"Ethernet8"},"state":"done")");
  ask("remove", "InLif1", 5, R"(,"key":3)");
  ASSERT_TRUE(
      eventually([&] { return ask(R"("op":"status")")["tables"][1]["units"][0]["inDeletion"] == 1; }));
  agent_.reset();
  EXPECT_EQ(Json::parse(said({"top", "--once", "--json"}))["units"][0]["entries"], 29)
      << "an entry that goes counts no more";
}

TEST_F(TopTest, theTerminalIsFollowedAndGivenBack) {
  agentStarts();
  Screen wide(store_.directory(), 100);
  EXPECT_THAT(wide.until("log full"), HasSubstr("\x1b[?1049h"));
  winsize const narrow{24, 30, 0, 0};
  ioctl(wide.master_, TIOCSWINSZ, &narrow);
  wide.program_->kill(SIGWINCH);
  wide.until("agent running, process ");
  std::string const drawn = wide.until("\x1b[J");
  EXPECT_THAT(drawn, Not(HasSubstr("log full"))) << "it is cut at 30 columns";
  ASSERT_EQ(write(wide.master_, "q", 1), 1);
  EXPECT_EQ(wide.program_->join(), 0);
  wide.until("\x1b[?1049l");
  for (int signal : {SIGINT, SIGTERM, 0}) {
    Screen screen(store_.directory(), 80);
    screen.until("log full");
    if (signal != 0)
      screen.program_->kill(signal);
    else
      screen.gone();
    EXPECT_EQ(screen.program_->join(), 0) << signal;
  }
}

}  // namespace
