// `inlif check` finds each way in which the files of a store can be damaged or contradict each other, and
// nothing in a store that is whole.
#include <gmock/gmock.h>

#include <functional>

#include "support/PlayedAgent.h"
#include "tools/check/StoreCheck.h"

namespace {

using namespace Inlif;
using namespace PlayedAgent;
using testing::AnyOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using VexSharedMem::StoreRoot;

int statusOf(std::string const& arguments) {
  return WEXITSTATUS(std::system((INLIF_PROGRAM " " + arguments + " >/dev/null 2>&1").c_str()));
}

class CheckTest : public StartedTest {
 protected:
  // Key 5 is applied and key 6 was removed again; key 7 is announced and not applied yet.
  CheckTest() {
    write(kA, 1, 5, 105);
    write(kA, 2, 6, 106);
    remove(kA, 3, 6);
    write(kB, 1, 8, 108);
    written(kA, 3);
    written(kB, 1);
    turn();
    write(kA, 4, 7, 107);
    needs(kA, 4, kB, 1);
    written(kA, 4);
  }
  // The writer ends, and what it owned is the test's.
  void writerEnds() {
    writer_.reset();
    EXPECT_TRUE(
        rows_.mount({tableVersionPath(), Asic::kMaxTablesOfGroup, 0, StoreRoot::Role::writer}).isOk());
    EXPECT_TRUE(
        image_.mount({tables()[kA].imagePath, InLifImage::kMaxEntries, 0, StoreRoot::Role::writer}).isOk());
    EXPECT_TRUE(
        failures_.mount({tables()[kA].failuresPath, InLifFailures::kMaxRows, 0, StoreRoot::Role::writer})
            .isOk());
  }
  void written(std::size_t table, std::uint64_t version) {
    log_[table]->collectionControl().scratchpadIs(version);
    announce(table, version);
  }
  void imageLacks(unsigned key) { image_.del({1, InLifModelEntryKey(key)}); }
  void imageHas(unsigned key, unsigned value, std::uint64_t version) {
    InLifImageEntry entry;
    entry.key = {1, InLifModelEntryKey(key)};
    entry.entry = entryOf(key, value);
    entry.logVersion = LogVersion(version);
    put(image_, entry);
  }
  void refused(unsigned key, std::uint64_t version, FailedOperation operation = FailedOperation::write) {
    InLifFailureRow row;
    row.key = InLifFailureKey::ofEntry(1, InLifModelEntryKey(key));
    row.logVersion = LogVersion(version);
    row.failureClass = FailureClass::tableFull;
    row.operation = operation;
    put(failures_, row);
  }
  void notRefused(unsigned key) { failures_.del(InLifFailureKey::ofEntry(1, InLifModelEntryKey(key))); }
  std::vector<std::string> findings() {
    last_ = checkStore(store_.directory(), {kMostRecords, kMostRecords, kMostRecords});
    std::vector<std::string> texts;
    for (CheckFinding const& finding : last_.findings) texts.push_back(finding.text());
    return texts;
  }
  std::string const config_of_ = tables()[kA].configPath(1);

  Map<Asic::TableVersion> rows_;
  Map<InLifImageEntry> image_;
  Map<InLifFailureRow> failures_;
  CheckResult last_;
};

TEST_F(CheckTest, findsNothingInAStoreThatIsWhole) {
  EXPECT_THAT(findings(), IsEmpty());
  EXPECT_GE(last_.collections, 14u);
  turn();
  EXPECT_THAT(findings(), IsEmpty());
  // A kill between configuration and log record.
  std::uint8_t intent[16] = {5, 0, 0, 0, 0, 0, 0, 0, 9, 0, 0, 0, 1, 0, 1, 0};
  log_[kA]->collectionControl().intentIs(intent);
  configure(kA, 5, 9, 109);
  EXPECT_THAT(findings(), IsEmpty());
  EXPECT_THAT(last_.notes, Contains(HasSubstr("version 5 of unit 1 was being published")));
  configure(kA, 6, 10, 110);
  EXPECT_THAT(findings(), Contains(HasSubstr("key 10, version 6: it is ahead of the log")));
}

TEST_F(CheckTest, findsWhatFilesSayAgainstEachOther) {
  struct Case {
    std::function<void()> damage, mend;
    char const* finding;
  };
  writerEnds();
  auto& log = *log_[kA];
  auto& config = *config_[kA];
  Case const cases[] = {
      {[&] { configure(kA, 9, 9, 1); }, [&] { config.del(InLifModelEntryKey(9)); },
       "key 9, version 9: it is ahead of the log"},
      {[&] { log.del(LogVersion(4)); }, [&] { record(kA, 4, entryOf(7, 107), 0); },
       "key 7, version 4: it has no"},
      {[&] { record(kA, 4, entryOf(7, 99), 0); }, [&] { record(kA, 4, entryOf(7, 107), 0); },
       "key 7, version 4: its log record says something else"},
      {[&] { config.del(InLifModelEntryKey(7)); }, [&] { configure(kA, 4, 7, 107); },
       "key 7, version 4: it is missing, although the log"},
      {[&] { record(kA, 6, entryOf(3, 3), 0); }, [&] { log.del(LogVersion(6)); },
       "key 3, version 6: it is ahead of the scratchpad"},
      {[&] { log.collectionControl().scratchpadIs(5); }, [&] { log.collectionControl().scratchpadIs(4); },
       "version 5: the scratchpad is ahead"},
      {[&] { announce(kA, 9); }, [&] { announce(kA, 4); }, "version 9: it is announced"},
      {[&] { needs(kA, 77, kB, 1); }, [&] { needed_.del(Asic::NeededKey(tables()[kA].id, LogVersion(77))); },
       "version 77: needed versions without"},
      {[&] { needs(kA, 4, kB, 2); }, [&] { needs(kA, 4, kB, 1); }, "is ahead of what was announced, 1"},
      {[&] { rows_.set(Asic::TableVersion(tables()[kA].id, LogVersion(4))); },
       [&] { rows_.set(Asic::TableVersion(tables()[kA].id, LogVersion(3))); }, "version 4: it is reported"},
      {[&] { imageLacks(5); }, [&] { imageHas(5, 105, 1); }, "unit 1 key 5, version 1: it is missing"},
      {[&] { imageHas(5, 1, 1); }, [&] { imageHas(5, 105, 1); },
       "unit 1 key 5, version 1: the configuration has"},
      {[&] { imageHas(6, 106, 2); }, [&] { imageLacks(6); },
       "unit 1 key 6, version 2: it was removed by version 3"},
      {[&] { imageHas(9, 9, 2); }, [&] { imageLacks(9); },
       "unit 1 key 9, version 2: the configuration does not have it"},
      {[&] { imageHas(7, 107, 9); }, [&] { imageLacks(7); },
       "unit 1 key 7, version 9: it is ahead of what was applied, 3"},
      {[&] { refused(5, 1); }, [&] { notRefused(5); }, "key 5, version 1: it is refused, and stands"},
      {[&] { refused(6, 2); }, [&] { notRefused(6); }, "key 6, version 2: version 3 was dealt with after it"},
      {[&] { refused(9, 9); }, [&] { notRefused(9); },
       "key 9, version 9: it is ahead of what was applied, 3"},
  };
  for (Case const& one : cases) {
    one.damage();
    EXPECT_THAT(findings(), Contains(HasSubstr(one.finding)));
    one.mend();
    EXPECT_THAT(findings(), IsEmpty()) << one.finding;
  }
  // What the hardware refused is missing rightly, or stands although it was removed.
  imageLacks(5), refused(5, 1);
  imageHas(6, 106, 2), refused(6, 3, FailedOperation::remove);
  EXPECT_THAT(findings(), IsEmpty());
}

TEST_F(CheckTest, findsDamagedFilesAndMovesThemAside) {
  flipBitBehind(config_of_, 107);
  Map<OtherBuild<InLifModelConfigShoalEntry, 16>> other;
  mount(other, tables()[kB].configPath(2), kMostRecords);
  damageHeader(tables()[kB].logPath);
  lose(announcedPath());
  std::filesystem::permissions(store_.fileOf(neededPath()), std::filesystem::perms(0644));
  std::filesystem::create_symlink("/dev/null", store_.fileOf("asic/planted"));
  std::filesystem::create_symlink("/dev/null", store_.fileOf(tables()[kB].configBase + "/one"));
  std::vector<std::string> const found = findings();
  for (std::string const& finding :
       {config_of_ + ", key 7, version 4: bucket 3496, slot 1: a record and its checksum do not fit",
        tables()[kB].configPath(2) + ": record size is 800, expected 784",
        tables()[kB].logPath + ": magic is ",
        announcedPath() + ": it is listed in the manifest and has no file",
        neededPath() + ".shoal: it is open to other users (mode 0644)",
        std::string("asic/planted.shoal: it is a symbolic link"),
        tables()[kB].configBase + "/one: its name is not the number of a unit: nobody reads it"})
    EXPECT_THAT(found, Contains(HasSubstr(finding)));
  std::vector<std::string> moved;
  EXPECT_TRUE(moveAside(last_, moved).isOk());
  EXPECT_THAT(moved, testing::SizeIs(5));
  std::filesystem::permissions(store_.fileOf(neededPath()), std::filesystem::perms(0600));
  EXPECT_THAT(findings(), testing::ElementsAre(announcedPath() + ": it is listed in the manifest and has no "
                                                                 "file: its contents are lost"));
}

TEST_F(CheckTest, theCommandTellsHowItEnded) {
  std::string const check = "check --store " + store_.directory();
  EXPECT_EQ(statusOf(check + "/none"), 3);
  EXPECT_EQ(statusOf(check), 1);  // collections of so few records are not what an agent makes
  EXPECT_EQ(statusOf(check + " --repair"), 3) << "this process holds the locks";
  for (char const* role : {"agent", "writer"}) std::filesystem::remove(store_.directory() + "/.lock-" + role);
  EXPECT_EQ(statusOf(check + " --repair"), 3) << "and owns the collections without their files too";
  writer_.reset();
  StoreRoot::release();
  EXPECT_EQ(statusOf(check + " --repair --json"), 1);
  EXPECT_EQ(statusOf(check), 0);
  // The demo ends with the check, and fails with it.
  TestSupport::TempStore demo;
  std::string const command = "demo --entries 288 --dir " + demo.directory();
  EXPECT_EQ(statusOf(command), 0);
  std::filesystem::create_symlink("/dev/null", demo.directory() + "/store/asic/planted.shoal");
  EXPECT_EQ(statusOf(command), 1);
}

}  // namespace
