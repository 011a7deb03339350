// The writer of the hardware against an agent that is played record by record: order, gaps, needs, reports,
// and what it does when it was killed or a collection was lost.
#include <random>

#include "Shoal/BootId.h"
#include "support/OutOfDescriptors.h"
#include "support/PlayedAgent.h"
#include "support/TraceCapture.h"

namespace {

using namespace PlayedAgent;
class HwWriterTest : public StartedTest {};

TEST_F(HwWriterTest, takesRecordsInOrderUpToTheAnnouncementAndStepsOverGaps) {
  write(kA, 1, 10, 100);
  write(kA, 2, 10, 200);
  write(kA, 5, 11, 300);
  write(kA, 6, 12, 400);
  EXPECT_EQ(take(kA, 5), 3u);
  EXPECT_EQ(image(kA), (Image{{{1, 10}, 200}, {{1, 11}, 300}})) << "version 6 is not announced";
  EXPECT_EQ(reported(kA), 5u);
  EXPECT_EQ(take(kA, 9), 1u);
  EXPECT_EQ(reported(kA), 9u) << "versions without a record count as applied";
  remove(kA, 10, 11);
  record(kA, 11, entryOf(13, 500), 0, 2);
  record(kA, 12, InLifModelLogEntry(), InLifModelLogShoalEntry::kIsTableDeleted, 1);
  write(kA, 13, 0, 600);
  take(kA, 13);
  EXPECT_EQ(image(kA), (Image{{{2, 13}, 500}, {{1, 0}, 600}}))
      << "a unit is emptied alone, and key 0 is a key";
  EXPECT_EQ(reported(kB), 0u);
}

TEST_F(HwWriterTest, aRecordWaitsForWhatItNeeds) {
  write(kA, 1, 10, 100);
  write(kB, 1, 20, 100);
  write(kB, 2, 21, 100);
  needs(kB, 2, kA, 1);
  take(kB, 2);
  EXPECT_EQ(writer_->applied(kB).value(), 1u);
  EXPECT_EQ(writer_->heldBack(kB).version.value(), 2u);
  EXPECT_EQ(writer_->heldBack(kB).need, Asic::TableVersion(groupInfo().tables[kA].id, LogVersion(1)));
  EXPECT_EQ(reported(kB), 1u);
  EXPECT_EQ(take(kA, 1), 2u) << "what is freed by one table goes on in the same turn";
  EXPECT_EQ(reported(kB), 2u);
  EXPECT_EQ(writer_->heldBack(kB).version.value(), 0u);
}

// An image that is lost, or whole and does not fit what log, row and boot say, is built anew from the configuration: no
// log record would ever make up for what it lacks.
TEST_F(HwWriterTest, anImageThatIsLostNewOrOlderThanTheRestIsRebuilt) {
  std::string const path = groupInfo().tables[kA].imagePath;
  write(kA, 1, 10, 100);
  take(kA, 1);
  std::string const older = store_.directory() + "/.older";
  TestSupport::copySparse(store_.fileOf(path), older);
  write(kA, 2, 11, 200);
  remove(kA, 3, 10);
  take(kA, 3);
  configure(kA, 4, 12, 300);  // written, not yet announced
  std::ofstream(store_.fileOf(groupInfo().tables[kA].configBase + "/notes")) << "not a unit, and passed over";
  Image const whole{{{1, 11}, 200}};
  auto const putBack = [&] { TestSupport::copySparse(older, store_.fileOf(path)); };
  auto const cleaned = [&] {
    clean(kA, 3);
    log_[kA]->collectionControl().watermarkIs(3);
  };
  struct Case {
    char const* why;
    std::function<void()> between;
  };
  Case const cases[] = {
      {"it has applied up to version 1, and 3 is reported", [&] { lose(path), putBack(), cleaned(); }},
      {"it has applied up to version 1, and the log is cleaned up to 3",
       [&] { lose(path), putBack(), lose(groupInfo().tableVersionPath); }},
      {"it has applied up to version 0, and the log is cleaned up to 3",
       [&] {
         std::filesystem::remove_all(
             std::filesystem::path(store_.fileOf(groupInfo().tableVersionPath)).parent_path());
         lose(".manifest-writer");
       }},
      {"it followed another log",
       [&] {
         loseLog(kA);
         store_.reopen();
         mountAnew(log_[kA], groupInfo().tables[kA].logPath);
       }},
      {"it is of another boot of the kernel", [] { Shoal::bootIdIs(9); }},
      {"", [&] { lose(path); }},
      {"", [&] { damageHeader(path); }},
  };
  for (Case const& one : cases) {
    TestSupport::TraceCapture traces("HwWriter", 1);
    writer_.reset();
    one.between();
    store_.reopen();
    writerStarts();
    turn();
    EXPECT_TRUE(one.why[0] == '\0' || traces.countContaining(one.why) != 0) << one.why;
    EXPECT_EQ(image(kA), whole) << one.why;
    EXPECT_EQ(reported(kA), 3u) << one.why;
  }
  Shoal::bootIdIs(0);
}

// A rebuilding goes on behind damage and is never complete over it. The agent is told, once for what was found; when it
// has made the configuration readable the image is built from what stands then.
TEST_F(HwWriterTest, aRebuildingIsNotCompleteOverDamage) {
  auto const complaints = [&] {
    return Shoal::ShoalReader<Asic::TableVersion>::open(groupInfo().tableVersionPath).reader->scratchpad();
  };
  for (unsigned key = 1; key <= 40; ++key) write(kA, key, key, 100 + key);
  take(kA, 40);
  flipBitBehind(groupInfo().tables[kA].configPath(1), 120);
  loseUnderTheWriter(groupInfo().tables[kA].imagePath);
  EXPECT_EQ(turn() + turn(), 0u);
  EXPECT_EQ(image(kA).size(), 39u) << "the hardware keeps what could be read";
  EXPECT_EQ(writer_->applied(kA).value(), 0u);
  EXPECT_EQ(complaints(), 1u);
  write(kA, 41, 50, 150);
  take(kA, 41);
  EXPECT_EQ(reported(kA), 40u) << "nothing is reported over damage";
  ASSERT_TRUE(config_[kA]->mend());
  write(kA, 42, 20, 120);
  take(kA, 42);
  EXPECT_EQ(image(kA).size(), 41u);
  EXPECT_EQ(reported(kA), 42u);
  // One that is made anew instead is another, also when both have counted the same changes.
  std::string const path = groupInfo().tables[kA].configPath(1);
  auto const counter = [&] {
    return Shoal::ShoalReader<InLifModelConfigShoalEntry>::open(path).reader->changeCounter();
  };
  flipBitBehind(path, 130);
  loseUnderTheWriter(groupInfo().tables[kA].imagePath);
  turn();
  EXPECT_EQ(writer_->applied(kA).value(), 0u);
  std::uint32_t const counted = counter();
  config_[kA].reset();
  lose(path);
  mountAnew(config_[kA], path);
  while (counter() != counted) configure(kA, 42, 20, 120);
  turn();
  EXPECT_EQ(image(kA), (Image{{{1, 20}, 120}}));
  EXPECT_EQ(writer_->applied(kA).value(), 42u);
}

TEST_F(HwWriterTest, aRowNeverFallsAndIsWrittenAgainWhenLost) {
  write(kA, 1, 10, 100);
  take(kA, 7);
  take(kA, 2);
  EXPECT_EQ(reported(kA), 7u) << "an announcement that fell is nothing to act on";
  loseUnderTheWriter(groupInfo().tableVersionPath);
  turn();
  EXPECT_EQ(reported(kA), 7u);
}

TEST_F(HwWriterTest, aReplacedLogIsReadAnewBeforeAGapIsBelieved) {
  write(kA, 1, 10, 100);
  take(kA, 1);
  loseLog(kA);
  mountAnew(log_[kA], groupInfo().tables[kA].logPath);
  write(kA, 3, 11, 300);
  take(kA, 3);
  EXPECT_EQ(image(kA), (Image{{{1, 10}, 100}, {{1, 11}, 300}}));
}

TEST_F(HwWriterTest, damageInLogOrImageIsMadeUpFromTheConfiguration) {
  for (unsigned version = 1; version <= 8; ++version) write(kA, version, version, 100 + version);
  take(kA, 4);
  Image whole;
  for (unsigned key = 1; key <= 8; ++key) whole[{1, key}] = 100 + key;
  // A bit flips in the record of version 6, and later in an entry of the image.
  flipBitBehind(groupInfo().tables[kA].logPath, 106);
  announce(kA, 8);
  settle();
  EXPECT_EQ(image(kA), whole);
  EXPECT_EQ(reported(kA), 8u);
  flipBitBehind(groupInfo().tables[kA].imagePath, 103);
  record(kA, 9, InLifModelLogEntry(), InLifModelLogShoalEntry::kIsTableDeleted, 2);
  announce(kA, 9);
  settle();
  EXPECT_EQ(image(kA), whole);
  EXPECT_EQ(reported(kA), 9u);
}

// The file is opened anew for that; as long as it cannot be, the table waits and the others go on.
TEST_F(HwWriterTest, aDamagedImageWaitsUntilItCanBeOpenedAnew) {
  for (unsigned version = 1; version <= 8; ++version) write(kA, version, version, 100 + version);
  take(kA, 8);
  write(kB, 1, 20, 200);
  flipBitBehind(groupInfo().tables[kA].imagePath, 103);
  record(kA, 9, InLifModelLogEntry(), InLifModelLogShoalEntry::kIsTableDeleted, 2);
  take(kB, 1);
  announce(kA, 9);
  {
    TestSupport::OutOfDescriptors const none;
    TestSupport::TraceCapture traces("HwWriter", 1);
    EXPECT_EQ(turn() + turn() + turn(), 1u);
    EXPECT_EQ(traces.countContaining("cannot be rebuilt now"), 1u);
  }
  write(kB, 2, 21, 300);
  take(kB, 2);
  EXPECT_EQ(image(kA).size(), 8u);
  EXPECT_EQ(reported(kA), 9u);
  EXPECT_EQ(reported(kB), 2u);
}

// A chain of the image is cut by a change of another key: the writer goes on, with what the chain had taken.
TEST_F(HwWriterTest, aChainCutInTheImageIsMadeUpWhileTheWriterRuns) {
  auto const keyOf = [](unsigned key) { return InLifImageKey(1, InLifModelEntryKey(key)); };
  unsigned const mate = TestSupport::chainMate(keyOf(10), InLifImage::kMaxEntries, 11, keyOf);
  write(kA, 1, 10, 110);
  write(kA, 2, 5, 105);
  take(kA, 2);
  flipBitBehind(groupInfo().tables[kA].imagePath, 110, -4);  // its key
  write(kA, 3, mate, 200);
  announce(kA, 3);
  settle();
  EXPECT_EQ(image(kA), (Image{{{1, 5}, 105}, {{1, 10}, 110}, {{1, mate}, 200}}));
  EXPECT_EQ(reported(kA), 3u);
}

// An agent of another build, newer or older: the writer says once by name what differs, and reports nothing
// that it has not read. What the builds replaced of each other is kept aside.
TEST_F(HwWriterTest, collectionsOfAnotherBuildAreWaitedFor) {
  write(kA, 1, 10, 100);
  take(kA, 1);
  TestSupport::TraceCapture traces("HwWriter", 1);
  log_[kA].reset();
  std::unique_ptr<Map<OtherBuild<InLifModelLogShoalEntry, 16>>> newer;
  mountAnew(newer, groupInfo().tables[kA].logPath);
  announce(kA, 3);
  EXPECT_EQ(turn() + turn(), 0u);
  EXPECT_EQ(traces.countContaining("record size is 128, expected 112"), 1u);
  config_[kA].reset();
  std::unique_ptr<Map<OtherBuild<InLifModelConfigShoalEntry, -16>>> older;
  mountAnew(older, groupInfo().tables[kA].configPath(1));
  loseUnderTheWriter(groupInfo().tables[kA].imagePath);
  EXPECT_EQ(turn() + turn(), 0u);
  EXPECT_EQ(traces.countContaining("record size is 768, expected 784"), 1u);
  EXPECT_EQ(writer_->applied(kA).value(), 0u);
  EXPECT_EQ(reported(kA), 1u) << "an image without the unit is none";
  newer.reset();
  older.reset();
  mountAnew(log_[kA], groupInfo().tables[kA].logPath);
  mountAnew(config_[kA], groupInfo().tables[kA].configPath(1));
  write(kA, 5, 11, 300);
  take(kA, 5);
  EXPECT_EQ(image(kA), (Image{{{1, 11}, 300}}));
  EXPECT_EQ(reported(kA), 5u);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(store_.directory() + "/.lost"), {}), 4);
}

// Random publications on three tables with needs that point backwards; the writer takes random bites, dies at
// random, and sometimes its image is lost. In the end the image is what the publications made, whatever
// happened on the way.
TEST_F(HwWriterTest, randomLivesEndInTheSameImage) {
  std::mt19937 random(20240611);
  std::array<Image, kTables> wanted;
  std::array<std::uint64_t, kTables> versions{};
  for (int round = 0; round < 600; ++round) {
    std::size_t const table = random() % kTables;
    std::uint64_t const version = versions[table] += 1 + (random() % 4 == 0);  // a gap now and then
    auto const key = static_cast<unsigned>(random() % 12);
    if (random() % 4 == 0) {
      remove(table, version, key);
      wanted[table].erase({1, key});
    } else {
      write(table, version, key, static_cast<unsigned>(round));
      wanted[table][{1, key}] = static_cast<unsigned>(round);
    }
    std::size_t const other = random() % kTables;
    if (other != table && versions[other] > 0 && random() % 2) needs(table, version, other, versions[other]);
    // The announcement of the needed table comes first, as the group makes sure; it may carry several records
    // at once.
    for (std::size_t each = 0; each < kTables; ++each) announce(each, versions[each]);
    if (random() % 3 == 0) turn(random() % 5);
    if (random() % 40 == 0) writerStarts();
    if (random() % 100 == 0) loseUnderTheWriter(groupInfo().tables[random() % kTables].imagePath);
  }
  settle();
  for (std::size_t table = 0; table < kTables; ++table) {
    EXPECT_EQ(image(table), wanted[table]) << groupInfo().tables[table].name;
    EXPECT_EQ(reported(table), versions[table]);
  }
}

}  // namespace
