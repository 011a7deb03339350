// A channel of lines over a real socket pair, and the receipts that a channel's operations leave.
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>

#include "support/Receipt.h"
#include "tools/agent/Channel.h"
#include "tools/agent/Receipts.h"

namespace {

using namespace Inlif;

class ChannelTest : public testing::Test {
 protected:
  ChannelTest() {
    std::signal(SIGPIPE, SIG_IGN);
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    peer_ = ends[1];
    channel_ = std::make_unique<Channel>(ends[0], ends[0]);
  }
  ~ChannelTest() override { hangUp(); }
  void hangUp() {
    if (peer_ >= 0) close(peer_);
    peer_ = -1;
  }
  // The peer says something, and the channel takes it.
  void say(std::string const& text) {
    ASSERT_EQ(write(peer_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    channel_->fill();
  }
  // All whole lines that are there; one that was too long as "!".
  std::vector<std::string> lines() {
    std::vector<std::string> lines;
    std::string_view line;
    bool tooLong = false;
    while (channel_->nextLine(line, tooLong)) {
      lines.push_back(tooLong ? "!" : std::string(line));
      tooLong = false;
    }
    return lines;
  }
  using Lines = std::vector<std::string>;

  int peer_ = -1;
  std::unique_ptr<Channel> channel_;
};

TEST_F(ChannelTest, linesComeWholeHoweverTheyAreCut) {
  say("one\ntw");
  EXPECT_EQ(lines(), (Lines{"one"}));
  say("o\r\n\nthr");
  EXPECT_EQ(lines(), (Lines{"two", ""}));
  channel_->fill();  // nothing is there, and that is no end
  EXPECT_FALSE(channel_->ended());
  say("ee");
  hangUp();
  while (!channel_->inputEnded()) channel_->fill();
  EXPECT_EQ(lines(), (Lines{"three"})) << "a last line needs no end";
  EXPECT_TRUE(channel_->ended());
}

TEST_F(ChannelTest, aLineThatIsTooLongCountsOnceAndTheNextIsRead) {
  std::size_t told = 0;
  for (std::size_t sent = 0; sent < 2 * Channel::kMostLine; sent += 32768) {
    say(std::string(32768, 'x'));
    for (std::string const& line : lines()) told += line == "!";
  }
  EXPECT_EQ(told, 1u);
  say("rest\nnext\n");
  EXPECT_EQ(lines(), (Lines{"next"}));
}

TEST_F(ChannelTest, aSlowReaderGetsEverythingAndADeadOneNothing) {
  Json const message = {{"id", std::string(1000, 'y')}};
  std::size_t const size = message.dump().size() + 1;
  for (int i = 0; i < 2000; ++i) channel_->send(message);
  channel_->flush();
  EXPECT_TRUE(channel_->hasUnsent()) << "the socket holds less than that, and nobody waited";
  std::size_t received = 0;
  std::vector<char> buffer(65536);
  while (received < 2000 * size) {
    ssize_t const count = read(peer_, buffer.data(), buffer.size());
    ASSERT_GT(count, 0);
    received += static_cast<std::size_t>(count);
    channel_->flush();
  }
  EXPECT_FALSE(channel_->hasUnsent());
  hangUp();
  channel_->send(message);
  channel_->flush();
  channel_->send(message);
  channel_->flush();
  EXPECT_TRUE(channel_->broken());
}

TEST(Receipts, idsBelongToTheirChannelAndTheLastEndedAreKept) {
  Receipts receipts;
  Receipts::Handle handle;
  auto const begin = [&] {
    receipts.begin(1, 7);
    receipts.handleIs(1, 7, handle = Pivot::make<TestSupport::Receipt>());
  };
  auto const othersComeAndGo = [&] {
    for (std::size_t i = 0; i < Receipts::kEndedKept; ++i) {
      receipts.begin(1, std::to_string(i));
      receipts.end(1, std::to_string(i));
    }
  };
  begin();
  EXPECT_TRUE(receipts.underWay(1, 7));
  EXPECT_FALSE(receipts.underWay(1, "7")) << "a text is another id than a number";
  EXPECT_FALSE(receipts.underWay(2, 7));
  EXPECT_EQ(receipts.handle(2, 7), nullptr);
  receipts.end(1, 7);
  EXPECT_FALSE(receipts.anyUnderWay(1));
  EXPECT_EQ(receipts.handle(1, 7), handle);
  begin();
  othersComeAndGo();
  EXPECT_EQ(receipts.handle(1, 7), handle) << "used again, an id stays as long as its newer use";
  receipts.end(1, 7);
  EXPECT_EQ(receipts.handle(1, 7), handle);
  othersComeAndGo();
  EXPECT_EQ(receipts.handle(1, 7), nullptr) << "the oldest are forgotten";
  receipts.channelDel(1);
  receipts.end(1, 7);  // an operation may end after its channel has gone
}

}  // namespace
