// A store without room: operations of clients wait, updates and clears are set aside, and what is done when there is
// room again is made from what stands then.
#include <optional>

#include "support/NoRoom.h"
#include "support/TableFixture.h"
#include "support/TraceCapture.h"

namespace {
using namespace TestSupport;
using namespace LoamInLif;
using Kind = QosProfileKind;

class Room : public TableFixture<InLif1> {
 protected:
  // Entries that use resource 0, all of them taken by the hardware.
  void commit(unsigned keys) {
    for (unsigned key = 1; key <= keys; ++key) write(key).needs<Kind>(0).go();
    settle();
  }
  // From now on no file grows, and the records of another unit fill the log up to what is kept for operations and
  // clears; or to the last.
  void fill(bool toTheLast = false) {
    if (!other_) other_ = makeTable(4);
    EntryLog& log = *table().entryLog();
    LoamTunnelNiLib::InLifModelLogEntry entry;
    auto const publish = [&] { log.entryIs(entry, {}, nullptr, 4, other_->stats(), false); };
    publish();
    mustBeOk(log.reserveRoom(kUnit));
    full_.emplace();
    while (toTheLast ? log.clearRoom().isOk() : log.updateRoom().isOk()) publish();
  }
  void makeRoom() {
    full_.reset();
    world().group().groupResolver()->updateGenId();
    acknowledge();
    resolve();
  }
  void TearDown() override {
    full_.reset();
    other_.reset();
    TableFixture::TearDown();
  }

  using EntryLog = InLif1EntryLog;
  auto& resources() { return world().resources<Kind>(); }
  void change(std::uint8_t value) { mustBeOk(resources().valueIs(keyOf<Kind>(0), value)); }
  unsigned resolved(unsigned key) { return table().entryFromConfig(EntryKey(key)).logEntry.qosProfile; }
  // The version of the record by which the change has been taken over.
  std::uint64_t ackedBy() {
    return resources().report(Kind::ResourceTable::bytesOf(keyOf<Kind>(0)))->ackedBy.logVersion().value();
  }

  Pivot::Ptr<SwTable> other_;
  std::optional<NoRoom> full_;
};

TEST_F(Room, AnUpdateIsMadeFromWhatStandsWhenThereIsRoom) {
  commit(3);
  unsigned const before = resolved(1);
  fill();
  TraceCapture traces(InLif1::swTableFacility, 1);
  change(77);
  EXPECT_EQ(resolved(1), before) << "the old record stays";
  EXPECT_EQ(traces.countContaining("unit: 3: the old record stays until there is room: "), 1u)
      << "the others stand behind it";
  EXPECT_EQ(ackedBy(), 0u) << "its handle has no version yet";
  change(static_cast<std::uint8_t>(before));
  std::uint64_t const version = logVersion();
  table().tableStatusVersion(Asic::LogVersion(version));
  EXPECT_TRUE(pending()) << "although the hardware has the whole log";
  makeRoom();
  EXPECT_EQ(logVersion(), version) << "the resource is back where it was";
  EXPECT_TRUE(ackedBy() >= 1 && ackedBy() <= 3) << "by the version that stands";
  EXPECT_FALSE(pending());

  fill();
  change(78);
  change(79);
  remove(1).reports("removed").go();
  EXPECT_EQ(resolve(), 1u) << "the log has kept room for it";
  makeRoom();
  EXPECT_EQ(ended(), Ended{"removed done " + std::to_string(logVersion() - 2)});
  EXPECT_FALSE(has(1));
  EXPECT_EQ(resolved(2), 79u);
  EXPECT_EQ(resolved(3), 79u);
  EXPECT_EQ(ackedBy(), logVersion());
  verifyOverARestart([this] { EXPECT_EQ(walk(), (std::vector<unsigned>{2, 3})); });
}

TEST_F(Room, AClearComesBeforeEverythingYounger) {
  commit(2);
  fill(true);
  table().clearTable(true);
  change(77);
  write(1, 9).needs<Kind>(0).reports("younger").go();
  TraceCapture traces(InLif1::swTableFacility, 1);
  EXPECT_EQ(resolve(), 0u);
  EXPECT_TRUE(
      traces.has("key: 1, unit: 3 waits for room: the unit is to be cleared first, which waits for room"));
  EXPECT_TRUE(has(2)) << "nothing is cleared yet";
  std::uint64_t const version = logVersion();
  makeRoom();
  EXPECT_EQ(logVersion(), version + 2) << "the clear and the write, no update";
  acknowledge();
  EXPECT_EQ(ended(), Ended{"younger done " + std::to_string(version + 2)});
  EXPECT_EQ(resolved(1), 77u);
  verifyOverARestart([this] {
    EXPECT_EQ(walk(), std::vector<unsigned>{1});
    EXPECT_EQ(read(1), 9);
  });
  EXPECT_FALSE(pending());
}

// What was told as done before would be a record that the hardware does not have as it stands.
TEST_F(Room, AUnitIsPublishedAnewBeforeAnOperation) {
  commit(3);
  fill();
  std::uint64_t const version = logVersion();
  table().entryLog()->tableConfigShoal(kUnit)->collectionControl().agreesWithIs(1);
  ++world().group().damageCounter();
  world().group().turn();
  EXPECT_EQ(logVersion(), version);
  EXPECT_TRUE(pending()) << "although the hardware has the whole log";
  remove(1).reports("removed").go();
  EXPECT_EQ(resolve(), 0u);
  makeRoom();
  EXPECT_EQ(logVersion(), version + 5) << "the clear, three entries and the removal";
  acknowledge();
  EXPECT_EQ(ended(), Ended{"removed done " + std::to_string(version + 5)});
  EXPECT_FALSE(pending());
}

// A hook that changes what many entries use: their updates would take the room that the commit was told it has.
class ChangingHelper : public InLif1SwTableHelperBase {
 public:
  void finalizeOnSuccess(Pivot::Ptr<InLif1EntryWrapper> const&, bool,
                         Pivot::Ptr<InLif1SwTable> const&) override {
    if (change) change();
  }
  std::function<void()> change;
};

TEST_F(Room, UpdatesLeaveAnOperationItsRoom) {
  commit(40);
  auto const helper = Pivot::make<ChangingHelper>();
  table().swTableHelperIs(helper);
  std::uint8_t value = 70;
  helper->change = [&] { change(++value); };
  fill();
  write(50).reports("written").go();
  remove(1).reports("removed").go();
  removeAll().reports("all").go();
  resolve();
  EXPECT_EQ(ended(), Ended{}) << "nothing is done before the hardware has it";
  helper->change = nullptr;
  std::uint64_t const first = logVersion();
  for (int i = 0; i < 3; ++i) makeRoom();
  EXPECT_FALSE(pending());
  Ended const all = ended();
  EXPECT_EQ(all.size(), 3u);
  EXPECT_TRUE(all.front().starts_with("written done ") &&
              all.front() <= "written done " + std::to_string(first));
  EXPECT_EQ(table().entrys(), 0u);
}

}  // namespace
