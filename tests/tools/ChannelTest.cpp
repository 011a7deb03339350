// A channel of lines over a real socket pair, the receipts that a channel's operations leave, and what both may hold.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <sstream>

#include "support/Receipt.h"
#include "tools/agent/loop/Channel.h"
#include "tools/agent/operations/Receipts.h"

namespace {

using namespace Inlif;

class ChannelTest : public testing::Test {
 protected:
  ChannelTest() {
    int ends[2];
    EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    peer_ = ends[1];
    channel_ = std::make_unique<Channel>(ends[0], ends[0], &pools_);
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

  // What the peer gets, as lines.
  Lines heard(std::size_t bytes = SIZE_MAX) {
    std::string text;
    for (std::string piece(65536, ' '); text.size() < bytes; text += piece) {
      channel_->flush();
      ssize_t const count =
          recv(peer_, piece.data(), std::min(piece.size(), bytes - text.size()), MSG_DONTWAIT);
      if (count <= 0) break;
      piece.resize(static_cast<std::size_t>(count));
    }
    Lines lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

  Pools pools_;
  int peer_ = -1;
  std::unique_ptr<Channel> channel_;
};

TEST_F(ChannelTest, linesComeWholeHoweverTheyAreCutAndAgainWhenTheyCannotBeDoneYet) {
  say("one\ntw");
  EXPECT_EQ(lines(), (Lines{"one"}));
  EXPECT_FALSE(channel_->mayHaveLine());
  say("o\r\n\nthr");
  std::string_view line;
  bool tooLong = false;
  ASSERT_TRUE(channel_->nextLine(line, tooLong));
  channel_->putBack();
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
  for (int i = 0; i < 2000; ++i) channel_->send(message);
  channel_->flush();
  EXPECT_TRUE(channel_->hasUnsent()) << "the socket holds less than that, and nobody waited";
  EXPECT_EQ(heard(), Lines(2000, message.dump()));
  EXPECT_FALSE(channel_->hasUnsent());
  hangUp();
  channel_->send(message);
  channel_->flush();
  channel_->send(message);
  channel_->flush();
  EXPECT_TRUE(channel_->broken());
}

TEST_F(ChannelTest, whatIsForAllIsMissedByWhoTakesNothingAndThatIsTold) {
  std::string const line = "{\"event\":\"" + std::string(1000, 'y') + "\"}\n";
  std::size_t offered = 0;
  while (!channel_->isFull()) channel_->offer(line), ++offered;
  EXPECT_LE(offered * line.size(), pools_.output.ofOne() + line.size());
  channel_->send({{"id", 1}});  // an answer is never missed
  for (int i = 0; i < 7; ++i) channel_->offer(line);
  heard(offered * line.size() / 4);
  channel_->offer(line);
  Lines const rest = heard();
  EXPECT_EQ(rest[rest.size() - 2], R"({"id":1})");
  EXPECT_EQ(rest.back(), R"({"event":"missed","events":8})");
  channel_->offer(line);
  EXPECT_EQ(heard().size(), 1u);
}

// Many that want all stay below the limit together, and the next one has room all the same.
TEST_F(ChannelTest, manyShareWhatAllMayHold) {
  std::vector<std::pair<int, std::unique_ptr<Channel>>> others;
  std::string const piece(65536, 'x');
  for (int i = 0; i < 100; ++i) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, ends), 0);
    others.emplace_back(ends[1], std::make_unique<Channel>(ends[0], ends[0], &pools_));
  }
  for (int round = 0; round < 20; ++round) {
    for (auto& [other, channel] : others) {
      ASSERT_GE(write(other, piece.data(), piece.size()), -1);
      channel->fill();
      EXPECT_LE(channel->unreadBytes(), Channel::kMostLine + 1);
    }
  }
  EXPECT_GT(pools_.input.ofOne(), 128 * kKiB);
  say(std::string(100'000, 'y') + "\n");
  while (!channel_->mayHaveLine()) channel_->fill();
  while (lines().empty()) channel_->fill();
  // Events of operations come on top of what is full.
  Json const event = {{"id", std::string(100'000, 'y')}};
  for (auto& [other, channel] : others)
    for (bool full = false; !std::exchange(full, channel->isFull());) channel->send(event);
  EXPECT_LT(pools_.output.ofOne(), 100 * kKiB);
  EXPECT_FALSE(channel_->isFull());
  for (auto& [other, channel] : others) close(other);
  others.clear();
  EXPECT_EQ(pools_.input.ofOne(), kMiB) << "what has gone holds nothing";
}

TEST(Receipts, idsBelongToTheirChannelAndTheLastEndedAreKept) {
  Pools pools;
  Receipts receipts(pools);
  Receipts::Handle handle;
  Receipts::Receipt* one = nullptr;
  auto const begin = [&] {
    one = &receipts.begin(1, "7");
    one->handleIs(handle = Pivot::make<TestSupport::Receipt>());
  };
  auto const isRemembered = [&] {
    return receipts.find(1, "7") && receipts.find(1, "7")->handle() == handle;
  };
  auto const othersComeAndGo = [&] {
    for (std::size_t i = 0; i < kMostRemembered; ++i)
      receipts.end(receipts.begin(1, fmt::format("\"{}\"", i)));
  };
  begin();
  EXPECT_TRUE(one->underWay());
  EXPECT_EQ(receipts.find(1, "7"), one);
  EXPECT_EQ(receipts.find(1, "\"7\""), nullptr) << "a text is another id than a number";
  EXPECT_EQ(receipts.find(2, "7"), nullptr);
  receipts.end(*one);
  EXPECT_FALSE(receipts.anyUnderWay(1));
  EXPECT_TRUE(isRemembered());
  begin();
  othersComeAndGo();
  EXPECT_TRUE(isRemembered()) << "used again, an id stays as long as its newer use";
  receipts.end(*one);
  EXPECT_TRUE(isRemembered());
  othersComeAndGo();
  EXPECT_EQ(receipts.find(1, "7"), nullptr) << "the oldest are forgotten";
  // Operations go on when their channel has gone, and count until they end.
  std::vector<Receipts::Receipt*> going;
  while (receipts.hasRoom(2)) going.push_back(&receipts.begin(2, std::to_string(going.size())));
  EXPECT_TRUE(receipts.hasRoom(1));
  receipts.channelDel(2);
  receipts.channelDel(1);
  for (ChannelNumber other = 3; other < 9; ++other)
    for (std::size_t i = 0; receipts.hasRoom(other); ++i) receipts.begin(other, std::to_string(i));
  for (Receipts::Receipt* receipt : going) receipts.end(*receipt);
  EXPECT_TRUE(receipts.hasRoom(4));
  while (receipts.turn()) continue;
  EXPECT_EQ(pools.remembered.ofOne(), kMostRemembered) << "what has gone is forgotten";
}

}  // namespace
