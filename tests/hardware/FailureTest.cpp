// What the hardware refuses or puts off: it stops nobody, stands in the failures for as long as it is so, and is not lost.
#include "hardware/Failures.h"
#include "hardware/Lane.h"
#include "hardware/memory/MemoryHardware.h"
#include "support/NoRoom.h"
#include "support/PlayedAgent.h"
#include "support/TraceCapture.h"

namespace {

using namespace PlayedAgent;

// Refuses entries of one value at a time, and is busy with a table for so many calls.
class Picky final : public LoamHardware::MemoryHardware {
 public:
  explicit Picky(LoamHardware::MemoryChip& chip) : MemoryHardware(chip, {true, false}) {}
  static constexpr unsigned kRefused = 13;

  LoamHardware::Answer write(LoamHardware::UnitTable place, LoamHardware::Entry const& entry) override {
    if (place.table == kA && busy != 0) return --busy, LoamHardware::Answer::busy();
    return MemoryHardware::write(place, entry);
  }
  int busy = 0;
  unsigned refused = kRefused;
  bool clears = true;

 protected:
  LoamHardware::Answer perform(Call const& call) override {
    if ((call.what == What::write && call.entry.inLifData == refused) ||
        (call.what == What::clear && !clears))
      return LoamHardware::Answer::refused(LoamHardware::RefusalClass::unsupported, std::string(200, '!'));
    return MemoryHardware::perform(call);
  }
};

// Batches, and is read back while no file can grow.
class Cramped final : public LoamHardware::MemoryHardware {
 public:
  explicit Cramped(LoamHardware::MemoryChip& chip) : MemoryHardware(chip, {true, true}) {}

  LoamHardware::Answer readBack(LoamHardware::UnitTable place,
                                std::vector<InLifModelLogEntry>& records) override {
    if (place.unit == 2 && full) noRoom.emplace();
    return MemoryHardware::readBack(place, records);
  }
  bool full = true;
  std::optional<TestSupport::NoRoom> noRoom;
};

class FailureTest : public StartedTest {
 protected:
  FailureTest() { restart(); }
  ~FailureTest() override { writer_.reset(); }
  void restart() {
    hardware_ = &picky_;
    writerStarts();
    turn();
  }
  void clear(std::size_t table, std::uint64_t version) {
    record(table, version, InLifModelLogEntry(), InLifModelLogShoalEntry::kIsTableDeleted);
  }
  // Key, or minus one for the unit, to version and class.
  using Rows = std::map<int, std::pair<unsigned, FailureClass>>;
  Rows rows(std::size_t table, InLifFailureRow* last = nullptr) {
    Rows rows;
    Shoal::SteadyReader<InLifFailureRow> reader(groupInfo().tables[table].failuresPath);
    EXPECT_TRUE(reader.ready()) << reader.problem();
    walk(reader, [&](InLifFailureRow const& row) {
      rows[row.key.wholeUnit ? -1 : static_cast<int>(row.key.entryKey.value())] = {
          static_cast<unsigned>(row.logVersion.value()), row.failureClass};
      if (last) *last = row;
      return true;
    });
    return rows;
  }
  static constexpr auto kUnsupported = FailureClass::unsupported;

  LoamHardware::MemoryChip chip_;
  Picky picky_{chip_};
};

TEST_F(FailureTest, aRefusalIsARowAndStopsNobody) {
  write(kA, 1, 10, 100);
  write(kA, 2, 10, Picky::kRefused);
  write(kA, 3, 11, 300);
  take(kA, 3);
  EXPECT_EQ(image(kA), (Image{{{1, 10}, 100}, {{1, 11}, 300}})) << "what stood stands";
  EXPECT_EQ(reported(kA), 3u);
  InLifFailureRow row;
  EXPECT_EQ(rows(kA, &row), (Rows{{10, {2, kUnsupported}}}));
  EXPECT_EQ(row.textView(), std::string(80, '!'));
  EXPECT_EQ(row.tries, 1u);
  write(kA, 4, 10, Picky::kRefused);
  take(kA, 4);
  EXPECT_EQ(rows(kA, &row), (Rows{{10, {4, kUnsupported}}}));
  EXPECT_EQ(row.tries, 2u);
  EXPECT_LT(row.first, row.last);
  write(kA, 5, 10, 500);
  write(kA, 6, 12, Picky::kRefused);
  write(kA, 7, 13, Picky::kRefused);
  remove(kA, 8, 12);
  take(kA, 8);
  EXPECT_EQ(rows(kA), (Rows{{13, {7, kUnsupported}}})) << "taken, and removed";
  picky_.clears = false;
  clear(kA, 9);
  take(kA, 9);
  EXPECT_EQ(rows(kA), (Rows{{13, {7, kUnsupported}}, {-1, {9, kUnsupported}}}));
  EXPECT_EQ(image(kA).size(), 2u);
  picky_.clears = true;
  clear(kA, 10);
  take(kA, 10);
  EXPECT_EQ(rows(kA), Rows());
  EXPECT_EQ(image(kA), Image());
}

TEST_F(FailureTest, aRebuildingIsPassedOnWhenAsMuchAsMayBeIsUnderWay) {
  constexpr unsigned kEntries = LoamHardware::Lane::kMostUnderWay + 100;
  for (unsigned key = 1; key <= kEntries; ++key) configure(kA, key, key, 100);
  announce(kA, kEntries);
  chip_.reset();
  LoamHardware::MemoryHardware batching(chip_, {true, true});
  hardware_ = &batching;
  writerStarts();
  for (int i = 0; i < 10; ++i) turn();
  EXPECT_EQ(chip_.entries({kA, 1}).size(), kEntries);
  EXPECT_EQ(reported(kA), kEntries);
  writer_.reset();
}

// What stands on a unit does not take the room of what is under way for the units before it.
TEST_F(FailureTest, aRebuildingWaitsForRoomBesideWhatIsUnderWay) {
  constexpr unsigned kEntries = LoamHardware::Lane::kMostUnderWay - 1;
  for (unsigned key = 1; key <= kEntries; ++key) configure(kA, key, key, 100);
  announce(kA, kEntries);
  writer_.reset();
  lose(groupInfo().tables[kA].imagePath);
  for (unsigned key = 1; key <= kEntries; ++key) chip_.entries({kA, 2})[key] = entryOf(key, 100);
  Cramped cramped(chip_);
  hardware_ = &cramped;
  writerStarts();
  for (int i = 0; i < 3; ++i) turn();
  EXPECT_TRUE(cramped.noRoom.has_value());
  EXPECT_EQ(reported(kA), 0u);
  cramped.full = false;
  cramped.noRoom.reset();
  for (int i = 0; i < 10; ++i) turn();
  EXPECT_EQ(reported(kA), kEntries);
  EXPECT_EQ(image(kA).size(), kEntries);
  EXPECT_TRUE(chip_.entries({kA, 2}).empty());
  writer_.reset();
}

TEST_F(FailureTest, whoStandsWithoutItsNeedIsToldUntilThatRecovers) {
  write(kA, 1, 10, Picky::kRefused);
  write(kB, 1, 20, 200);
  needs(kB, 1, kA, 1);
  announce(kA, 1);
  take(kB, 1);
  EXPECT_EQ(image(kB), (Image{{{1, 20}, 200}}));
  InLifFailureRow row;
  EXPECT_EQ(rows(kB, &row), (Rows{{20, {1, FailureClass::needRefused}}}));
  EXPECT_EQ(row.needTable, groupInfo().tables[kA].id);
  EXPECT_EQ(row.needUnit, 1u);
  EXPECT_EQ(row.needKey.value(), 10u);
  restart();
  EXPECT_EQ(rows(kB), (Rows{{20, {1, FailureClass::needRefused}}})) << "a rebuilding knows no needs";
  write(kA, 2, 10, 100);
  take(kA, 2);
  EXPECT_EQ(rows(kB), Rows());
}

// A row that is lost to damage leaves nothing behind that the writer takes for one of those made up for it.
TEST_F(FailureTest, whatWasKnownOfALostRowGoesWithIt) {
  auto const keyOf = [](unsigned key) { return InLifFailureKey::ofEntry(1, InLifModelEntryKey(key)); };
  unsigned const mate = TestSupport::chainMate(keyOf(20), InLifFailures::kMaxRows, 21, keyOf);
  write(kA, 1, 10, Picky::kRefused);
  write(kB, 1, 20, 200);
  needs(kB, 1, kA, 1);
  announce(kA, 1);
  take(kB, 1);
  InLifFailureRow row;
  ASSERT_EQ(rows(kB, &row).size(), 1u);
  // A change of another key loses the row of key 20, and the rebuilding finds that it is refused now.
  TestSupport::flipBit(store_.fileOf(groupInfo().tables[kB].failuresPath),
                       {reinterpret_cast<char const*>(&row), sizeof row},
                       offsetof(InLifFailureRow, key.entryKey));
  picky_.refused = 200;
  chip_.entries({kB, 1}).clear();
  write(kB, 2, mate, 200);
  announce(kB, 2);
  settle();
  int const mateRow = static_cast<int>(mate);
  Rows const wanted{{20, {1, kUnsupported}}, {mateRow, {2, kUnsupported}}};
  EXPECT_EQ(rows(kB), wanted);
  write(kA, 2, 10, 100);
  take(kA, 2);
  EXPECT_EQ(rows(kB), wanted) << "the row of another failure";
}

TEST_F(FailureTest, aLostRefusalThatIsTakenNowRecovers) {
  write(kA, 1, 10, Picky::kRefused);
  write(kB, 1, 20, 200);
  needs(kB, 1, kA, 1);
  announce(kA, 1);
  take(kB, 1);
  ASSERT_EQ(rows(kB).size(), 1u);
  writer_.reset();
  lose(groupInfo().tables[kA].failuresPath);
  picky_.refused = 0;
  restart();
  EXPECT_EQ(rows(kA), Rows());
  EXPECT_EQ(rows(kB), Rows());
}

TEST_F(FailureTest, aBusyTableHoldsBackNoOther) {
  picky_.busy = 3;
  write(kA, 1, 10, 100);
  write(kB, 1, 20, 200);
  announce(kA, 1);
  take(kB, 1);
  EXPECT_EQ(reported(kA), 0u);
  EXPECT_EQ(reported(kB), 1u);
  EXPECT_LE(writer_->nextDeadline() - std::chrono::steady_clock::now(), std::chrono::milliseconds(4));
  for (int i = 0; i < 100 && reported(kA) == 0; ++i) turn(), writer_->wait(std::chrono::milliseconds(100));
  EXPECT_EQ(reported(kA), 1u);
  EXPECT_EQ(rows(kA), Rows());
}

// Failures that are lost or older than their image are asked for again, with the number of tries as the only loss.
TEST_F(FailureTest, lostOrOlderFailuresAreMadeUp) {
  std::string const path = groupInfo().tables[kA].failuresPath;
  write(kA, 1, 10, Picky::kRefused);
  take(kA, 1);
  std::string const older = store_.directory() + "/.older";
  TestSupport::copySparse(store_.fileOf(path), older);
  write(kA, 2, 10, 100);
  write(kA, 3, 11, Picky::kRefused);
  take(kA, 3);
  Rows const wanted{{11, {3, kUnsupported}}};
  // Hardware that vouches for itself: nothing else would look at it again.
  hardware_ = &imageOnly_;
  for (bool const putBack : {false, true}) {
    writer_.reset();
    lose(path);
    if (putBack) TestSupport::copySparse(older, store_.fileOf(path));
    TestSupport::TraceCapture traces("HwWriter", 1);
    writerStarts();
    EXPECT_EQ(traces.countContaining("ailures of it"), 1u) << putBack;
    restart();
    EXPECT_EQ(rows(kA), wanted) << putBack;
    EXPECT_EQ(image(kA), (Image{{{1, 10}, 100}}));
    hardware_ = &imageOnly_;
  }
}

TEST_F(FailureTest, refusalsBeyondTheBoundAreCounted) {
  writer_.reset();
  Asic::TableInfo const& info = groupInfo().tables[kA];
  LoamHardware::Image image(info);
  TestSupport::mustBeOk(image.mount());
  LoamHardware::Failures failures(info, image);
  TestSupport::mustBeOk(failures.mount());
  InLifModelLogShoalEntry record;
  for (unsigned key = 0; key < InLifFailures::kMaxRows + 3; ++key) {
    record.logVersion = LogVersion(key + 1);
    record.unitId = static_cast<Asic::UnitId>(key % 2);
    record.logEntry.key = InLifModelEntryKey(key);
    failures.refused(record, FailureClass::tableFull, "full");
  }
  EXPECT_EQ(failures.size(), InLifFailures::kMaxRows);
  Shoal::SteadyReader<InLifFailureRow> reader(info.failuresPath);
  ASSERT_TRUE(reader.ready());
  EXPECT_EQ(reader.reader().watermark(), 3u);
}

}  // namespace
