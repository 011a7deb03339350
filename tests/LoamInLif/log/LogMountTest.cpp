// How an entry log comes up: on an empty store, on what an earlier life left, and after a loss of the change
// log, of a configuration or of one record.
#include "Asic/GenId.h"
#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/log/LogWorld.h"
#include "Shoal/BootId.h"
#include "Vex/LogHandle.h"
#include "support/TraceCapture.h"

namespace {

using namespace TestSupport;
using LoamInLif::InLif1;
using Values = std::map<unsigned, unsigned>;

// Raised log messages, while one of these lives.
class RaisedMessages {
 public:
  RaisedMessages() {
    Vex::LogHandle::sinkIs(
        [](void* self, Vex::LogRecord const& record) {
          static_cast<RaisedMessages*>(self)->texts.push_back(std::string(record.name) + ": " +
                                                              std::string(record.text));
        },
        this);
  }
  ~RaisedMessages() { Vex::LogHandle::sinkIs(nullptr, nullptr); }
  std::vector<std::string> texts;
};

std::string unableToLoad(std::string const& item) {
  return "HW_ABSTRACTION_ERROR: Hardware abstraction error: unable to load item: " + item;
}

class LogMount : public testing::Test, protected LogWorld<InLif1, LoamInLif::InLif1EntryLog> {
 protected:
  void SetUp() override { begin(); }

  std::uint64_t relaunches() {
    auto const entity = central->getEntity(Asic::Constants::relaunchPath(InLif1::agentName));
    return boost::dynamic_pointer_cast<Asic::GenId>(entity)->majorId();
  }
  // Ends this life, lets `loss` happen, and begins the next. What that one reports.
  template <class Loss>
  std::vector<std::string> reportedAfter(Loss loss) {
    end();
    loss();
    RaisedMessages raised;
    begin();
    return raised.texts;
  }
  // What a hardware that had lost track of the unit would hold after applying the log from `first` on.
  Values replay(std::uint64_t first) {
    Values image{{1, 99}, {77, 7}};  // something old
    for (std::uint64_t version = first; version <= log->tableVersion().value(); ++version) {
      auto const* record = logMap().find(LogVersion(version));
      if (record == nullptr) continue;
      if (record->isTableDeleted())
        image.clear();
      else if (record->isEntryDeleted())
        image.erase(record->logEntry.key.value());
      else
        image[record->logEntry.key.value()] = valueOf(record->logEntry);
    }
    return image;
  }
};

TEST_F(LogMount, ANewStoreStartsAtNothingAndReportsNothing) {
  mount(2);
  EXPECT_TRUE(reportedAfter([] {}).empty());
  EXPECT_EQ(log->tableVersion(), LogVersion(0)) << "nothing was published for a unit that is new";
  EXPECT_EQ(write(1, 10), 1u);
}

// A lost configuration empties the unit of the hardware, and a lost log has every unit published anew, also one that is
// mounted later: the hardware may never have heard of the writes that were lost.
TEST_F(LogMount, ALossIsReportedOnceAndTheUnitPublishedAnew) {
  struct Loss {
    std::function<void()> harm;
    char const* item;
    Values left;
    std::uint64_t passed = 0;  // versions above the announced one, since their records may be lost
  };
  Values const all{{1, 10}, {2, 0}, {3, 30}};
  Loss const losses[] = {
      {[&] { std::filesystem::remove(logFile()); }, "entryLog::InLif1", all, 1},
      {[&] { flipBit(logFile(), "TOPSSART"); }, "entryLog::InLif1", all},
      {[&] { flipBit(configFile(), "TOPSSART"); }, "entryCfg::InLif1", {{1, 10}, {3, 30}}},
      {[&] { std::filesystem::remove(configFile()); }, "entryCfg::InLif1", {}},
  };
  for (Loss const& one : losses) {
    SCOPED_TRACE(testing::Message() << "loss " << &one - losses);
    mount(2);
    for (unsigned key : {1u, 3u, 4u}) write(key, 10 * key);
    write(5, 50, 2);
    writeConspicuous(2);
    std::uint64_t const before = remove(4), relaunched = relaunches();
    TraceCapture trace("InLif1EntryLog", 1);
    EXPECT_EQ(reportedAfter(one.harm), std::vector{unableToLoad(one.item)});
    EXPECT_EQ(relaunches(), relaunched + 1);
    EXPECT_EQ(live(), one.left);
    EXPECT_EQ(replay(before + 1), live());
    std::uint64_t const version = log->tableVersion().value();
    EXPECT_EQ(version, before + one.passed + 1 + one.left.size()) << "a table delete and the live records";
    EXPECT_EQ(announced(), version);
    EXPECT_EQ(trace.countContaining("without needed versions"), 1u);
    bool const ofTheLog = one.left == all;
    EXPECT_TRUE(!ofTheLog || configMap().size() == 3) << "marked ones went";
    mount(2);
    EXPECT_EQ(log->tableVersion(), LogVersion(version + (ofTheLog ? 2 : 0)));
    EXPECT_FALSE(log->tableEntryLog()->collectionControl().wiped());
    EXPECT_TRUE(reportedAfter([] {}).empty());
    EXPECT_EQ(log->tableVersion(), LogVersion(version + (ofTheLog ? 2 : 0))) << "they agree now";
  }
}

TEST_F(LogMount, ALostLogCountsOnFromWhatTheImageHasApplied) {
  write(1, 10);
  end();
  std::filesystem::remove_all(store.directory() + "/asic");
  makeImage(50);
  begin();
  EXPECT_EQ(write(2, 20), 53u) << "51 to begin with, 52 for the table delete of the lost unit";
}

// Damage that arises in a life hides the records behind it from the walk of a repair.
TEST_F(LogMount, AUnitWithDamageDoesNotAgree) {
  for (unsigned key = 1; key <= 9; ++key) write(key, key);
  writeConspicuous(10);
  restart();
  auto& control = log->tableConfigShoal(kUnit)->collectionControl();
  control.agreesWithIs(0);
  flipBit(configFile(), "TOPSSART");
  TraceCapture trace("InLif1EntryLog", 1);
  mount(kUnit);
  EXPECT_EQ(control.agreesWith(), 0u);
  EXPECT_EQ(trace.countContaining("damage ended the walk"), 1u);
  std::uint64_t const version = log->tableVersion().value();
  restart();
  EXPECT_EQ(log->tableConfigShoal(kUnit)->collectionControl().agreesWith(),
            logMap().collectionControl().incarnation());
  EXPECT_EQ(live().size(), 9u);
  EXPECT_EQ(replay(version + 1), live());
}

// The note of a publication that another build has left: it says neither what was published nor which version it
// took.
TEST_F(LogMount, AnIntentOfAnotherLayoutHasEveryUnitPublishedAnew) {
  write(1, 10);
  for (std::vector<std::uint8_t> const& note :
       {std::vector<std::uint8_t>(8, 1), std::vector<std::uint8_t>(24, 1),
        std::vector<std::uint8_t>(16, 0)}) {
    std::uint64_t const version = log->tableVersion().value();
    log->tableEntryLog()->collectionControl().intentIs(note);
    TraceCapture trace("InLif1EntryLog", 1);
    restart();
    EXPECT_EQ(trace.countContaining("cannot be read"), 1u) << note.size();
    EXPECT_EQ(log->tableVersion().value(), version + 3)
        << "one is passed, then the table delete and the record";
    EXPECT_EQ(replay(version + 2), live());
    EXPECT_EQ(write(1, 10), version + 4) << "and it goes on";
  }
}

// What an operation of this life comes by, in the log or in a configuration, is made good and reported at the next
// poll, not only by the next life.
TEST_F(LogMount, DamageThatIsMetIsMendedAtTheNextPoll) {
  unsigned const mate =
      chainMate(InLifModelEntryKey(2), 65536, 3, [](unsigned key) { return InLifModelEntryKey(key); });
  writeConspicuous(2);
  write(1, 10);
  RaisedMessages raised;
  auto const mended = [&](std::string const& item) {
    std::uint64_t const version = log->tableVersion().value(), relaunched = relaunches();
    group()->turn();
    EXPECT_EQ(raised.texts, std::vector{unableToLoad(item)});
    EXPECT_EQ(relaunches(), relaunched + 1);
    EXPECT_EQ(log->tableConfigShoal(kUnit)->collectionControl().agreesWith(),
              logMap().collectionControl().incarnation());
    EXPECT_EQ(replay(version + 1), live());
    raised.texts.clear();
    group()->turn();
    EXPECT_TRUE(raised.texts.empty()) << "told once";
  };
  // The link to a record does not fit: the chain is cut by the write.
  flipBit(configFile(), "TOPSSART", offsetof(LoamTunnelNiLib::InLifModelLogEntry, key));
  write(mate, 30);
  mended("entryCfg::InLif1");
  EXPECT_EQ(live(), (Values{{1, 10}, {mate, 30}}));
  flipBit(logFile(), "TOPSSART");
  clean(1);
  mended("entryLog::InLif1");
}

// What damage hides from a clear is not there again once the damage is made good.
TEST_F(LogMount, AClearReachesWhatStandsBehindDamage) {
  for (unsigned key = 1; key <= 9; ++key) write(key, key);
  writeConspicuous(10);
  flipBit(configFile(), "TOPSSART");
  clear();
  EXPECT_TRUE(live().empty());
  RaisedMessages raised;
  group()->turn();
  EXPECT_EQ(raised.texts, std::vector{unableToLoad("entryCfg::InLif1")});
  EXPECT_TRUE(live().empty());
  restart();
  EXPECT_TRUE(live().empty());
}

// Files that are whole and do not fit together, between two lives. What the hardware would hold after the log that the
// second life writes is what the configuration holds, whatever it held before; and what was found is reported as a loss.
TEST_F(LogMount, WhatCameBackOlderIsNotBelieved) {
  std::string const older = store.directory() + "/.older";
  auto const copy = [&](std::string const& file) { copySparse(file, older); };
  auto const putBack = [&](std::string const& file) { std::filesystem::rename(older, file); };
  auto const tellsOfUnit = [&] { return std::vector<std::string>{unableToLoad("entryCfg::InLif1")}; };
  auto const tellsOfLog = [&] { return std::vector<std::string>{unableToLoad("entryLog::InLif1")}; };
  write(1, 10);
  write(2, 20);
  end();
  copy(configFile());
  begin();
  remove(1);
  write(2, 21);
  EXPECT_EQ(reportedAfter([&] { putBack(configFile()); }), tellsOfUnit()) << "the log has what it lacks";
  EXPECT_EQ(live(), (Values{{1, 10}, {2, 20}}));
  EXPECT_EQ(replay(5), live()) << "emptied and filled again";

  copy(configFile());
  remove(2);
  clean(log->tableVersion().value());
  EXPECT_EQ(reportedAfter([&] { putBack(configFile()); }), tellsOfUnit()) << "it missed the clean-up";
  EXPECT_EQ(live(), (Values{{1, 10}, {2, 20}}));

  copy(logFile());
  std::uint64_t before = write(3, 30);
  EXPECT_EQ(reportedAfter([&] { putBack(logFile()); }), tellsOfLog()) << "its versions are known elsewhere";
  EXPECT_GT(log->tableVersion().value(), before + 3);
  EXPECT_EQ(replay(before + 1), live());

  before = log->tableVersion().value();
  EXPECT_EQ(reportedAfter([] { Shoal::bootIdIs(4); }), tellsOfLog()) << "it outlived the kernel";
  EXPECT_EQ(replay(before + 1), live());
  EXPECT_TRUE(reportedAfter([] {}).empty());
  Shoal::bootIdIs(0);
}

// The records of a unit that nobody served were cleaned from the log, and the report was lost: what they had marked goes
// when the hardware has reported as much again.
TEST_F(LogMount, WhatWasCleanedGoesWithTheReportThatComesAgain) {
  write(1, 10);
  write(2, 20);
  std::uint64_t const removed = remove(1);
  log->tableConfigShoalDel(kUnit);
  clean(removed);
  restart();
  for (std::uint64_t const step : {std::uint64_t{0}, removed - 1}) {
    clean(step);
    EXPECT_EQ(log->entrysInDeletion(kUnit), 1u) << "reported up to " << step;
  }
  clean(removed);
  EXPECT_EQ(log->entrysInDeletion(kUnit), 0u);
}

// A side that is gone with its manifest leaves the other: the units that the image knows are emptied, with a table or
// without.
TEST_F(LogMount, ANewLogEmptiesTheUnitsThatTheImageKnows) {
  write(1, 10);
  end();
  std::filesystem::remove_all(store.directory() + "/asic");
  std::filesystem::remove(store.fileOf(".manifest-agent"));
  makeImage(50, {kUnit, 7});
  for (bool const again : {false, true}) {
    again ? open() : begin();
    mount(7);
    EXPECT_EQ(replay(52), Values{}) << "51 to begin with";
    EXPECT_EQ(log->tableVersion(), LogVersion(53)) << "one table delete for each, and only once";
    end();
  }
}

TEST_F(LogMount, ALossIsHandledWithoutARelaunchEntity) {
  end();
  std::filesystem::remove(logFile());
  RaisedMessages raised;
  open("NobodyOfThatName");
  EXPECT_EQ(raised.texts.size(), 1u);
  EXPECT_FALSE(log->tableEntryLog()->collectionControl().wiped());
}

// Each instance under its own names, also through the store's remote handle.
template <class I>
class LogNames : public testing::Test, protected LogWorld<I, typename I::EntryLog> {};
using Instances = testing::Types<LoamInLif::InLif0, LoamInLif::InLif1, LoamInLif::InLif23>;
TYPED_TEST_SUITE(LogNames, Instances);

TYPED_TEST(LogNames, PathsFacilityAndMessage) {
  using I = TypeParam;
  std::string const name = I::tableName;
  ::setenv("NOT_LOCAL_EM", "", 1);
  TraceCapture trace(name + "EntryLog", 2);
  this->begin();
  EXPECT_TRUE(
      trace.has(" Mounted entryLog: " + I::Constants::tableEntryLogShoalPath() + ", tableVersion: 0"));
  EXPECT_EQ(this->write(1, 10), 1u);
  ::unsetenv("NOT_LOCAL_EM");
  EXPECT_TRUE(trace.has(" Mounted config for unitId: 1 at " + I::Constants::configShoalPathBase() + "/1"));
  this->end();
  std::filesystem::remove(this->store.fileOf(I::Constants::tableEntryLogShoalPath()));
  RaisedMessages raised;
  this->begin();
  EXPECT_EQ(raised.texts, std::vector<std::string>{unableToLoad("entryLog::" + name)});
}

TEST(LogMessages, ThreeDescriptorsPerInstanceFromTheLoadOn) {
  std::map<std::string, int> counts;
  for (Vex::LogHandle const* handle : Vex::LogHandle::all()) {
    ++counts[std::string(handle->name())];
    EXPECT_EQ(handle->severity(), 3);
    EXPECT_EQ(handle->action(), "\x01");
  }
  EXPECT_EQ(counts, (std::map<std::string, int>{{"HW_ABSTRACTION_ERROR", 3},
                                                {"HW_ABSTRACTION_EXCEPTION", 3},
                                                {"HW_ABSTRACTION_RELAUNCH_ERROR", 3}}));
}

}  // namespace
