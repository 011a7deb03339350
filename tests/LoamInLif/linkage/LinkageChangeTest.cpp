// A resource changes while committed entries of a real table use it: every user is brought up to date, the
// resource table gets one acknowledgement, and whatever a client's hook does on the way is survived.
#include <utility>

#include "support/TableFixture.h"
#include "support/TraceCapture.h"

namespace LinkageTests {

using namespace TestSupport;
using LoamInLif::InLif0;

template <class K>
class LinkageChange : public TableFixture<InLif0> {
 public:
  auto& resources() { return world().template resources<K>(); }
  auto const& linkage() { return table().template linkage<K>(); }
  BursarResourceTable::Steering::Report report(unsigned n) {
    return *resources().report(K::ResourceTable::bytesOf(keyOf<K>(n)));
  }
  std::uint64_t ackedBy(unsigned n) { return report(n).ackedBy.logVersion().value(); }
  bool acked(unsigned n) { return report(n).ackedVersion == report(n).updateVersion; }
  // A value that no resource has by itself.
  void changeValue(unsigned n, std::uint8_t value) { mustBeOk(resources().valueIs(keyOf<K>(n), value)); }
  auto resolved(unsigned key) { return table().entryFromConfig(EntryKey(key)).logEntry.*K::resolvedField; }
  void commit(std::vector<unsigned> const& keys, unsigned n = 0) {
    for (unsigned key : keys) write(key).template needs<K>(n).go();
    resolve();
  }
};

template <class... K>
testing::Types<K...> typesOf(LoamInLif::KindList<K...>);
TYPED_TEST_SUITE(LinkageChange, decltype(typesOf(LoamInLif::Kinds())));

TYPED_TEST(LinkageChange, ReachesEveryUserAndIsAcknowledgedOnce) {
  this->commit({1, 2, 3});
  this->commit({4}, 1);
  this->changeValue(0, 77);
  for (unsigned key : {1u, 2u, 3u}) EXPECT_EQ(77u, this->resolved(key)) << key;
  EXPECT_NE(77u, this->resolved(4));
  EXPECT_EQ(7u, this->logVersion()) << "one record for each user";
  EXPECT_EQ(3u, this->table().stats()->updateCnt());
  EXPECT_TRUE(this->acked(0));
  EXPECT_EQ(7u, this->ackedBy(0)) << "by the user that was updated last";
  EXPECT_EQ(1u, this->report(0).users);
}

TYPED_TEST(LinkageChange, OfAFailedResourceIsCountedAndAcknowledged) {
  this->commit({1, 2});
  this->template steer<TypeParam>(0, failed);
  this->verifyOverARestart([this] {
    EXPECT_EQ(2u, this->table().stats()->updateWithFailedResourceCnt());
    EXPECT_EQ(0u, this->table().stats()->updateCnt());
    EXPECT_TRUE(this->acked(0));
    EXPECT_TRUE(this->has(1));
  });
  this->template steer<TypeParam>(0, done);
  EXPECT_EQ(2u, this->table().stats()->updateWithFailedResourceCnt());
  EXPECT_TRUE(this->acked(0));
}

TYPED_TEST(LinkageChange, WithoutCommittedEntriesIsAcknowledgedByNoOperation) {
  this->commit({1, 2});
  this->table().clearTable(false);
  TraceCapture const trace(InLif0::swTableFacility, 3);
  this->changeValue(0, 77);
  EXPECT_EQ(1u, trace.count(" key: 1 entry does not exist "));
  EXPECT_EQ(1u, trace.count(" key: 2 entry does not exist "));
  EXPECT_TRUE(this->acked(0));
  EXPECT_EQ(3u, this->logVersion());
}

// A restore on a table that is not new: its account names users that a clear has left without an entry.
TYPED_TEST(LinkageChange, OfARestoreIsAcknowledgedByAUserThatHasAnEntry) {
  for (unsigned left : {1u, 2u}) {
    this->commit({1, 2});
    this->table().clearTable(false);
    this->commit({left});
    this->table().restoreEntries();
    EXPECT_EQ(this->logVersion(), this->ackedBy(0)) << left;
  }
}

TYPED_TEST(LinkageChange, DoesNotReachAWriteUnderWay) {
  this->template steer<TypeParam>(0, unresolved);
  this->write(1).template needs<TypeParam>(0).go();
  this->resolve();
  this->changeValue(0, 77);
  EXPECT_EQ(0u, this->logVersion());
  EXPECT_FALSE(this->acked(0));
  this->template steer<TypeParam>(0, done);
  this->resolve();
  EXPECT_EQ(77u, this->resolved(1));
}

// The resource changes while no table is there. Whether the table updates only what differs or, for the sake of
// a trace of its steps, everything: the outcome is the same.
TYPED_TEST(LinkageChange, BeforeTheRestoreReachesEveryUserAndIsAcknowledgedOnce) {
  this->commit({1, 2, 3});
  this->commit({4}, 1);
  std::uint64_t version = this->logVersion();
  for (int tableTraceLevel : {3, 8}) {
    this->table_.reset();
    this->world().restart();
    auto const value = static_cast<std::uint8_t>(70 + tableTraceLevel);
    this->changeValue(0, value);
    TraceCapture const trace(LoamInLif::LinkageName<InLif0, TypeParam>::name, 8);
    Vex::TraceControl::levelIs(InLif0::swTableFacility, tableTraceLevel);
    this->table_ = this->makeTable(this->kUnit);
    auto const entered = trace.texts(this->linkage()->className, 8);
    EXPECT_EQ(2, std::count(entered.begin(), entered.end(), "")) << "once for each key";
    EXPECT_EQ(4u, trace.countContaining("Updating sw table entry for key: "));
    EXPECT_EQ(3u, trace.countContaining(", entryLogVersion: "));
    EXPECT_EQ(1u, trace.countContaining(", commitToLog: true, no change in logEntry"));
    EXPECT_EQ(version += 3, this->logVersion());
    for (unsigned key : {1u, 2u, 3u}) EXPECT_EQ(value, this->resolved(key)) << key;
    EXPECT_TRUE(this->acked(0));
    EXPECT_EQ(version, this->ackedBy(0));
    EXPECT_TRUE(this->acked(1));
    EXPECT_EQ(4u, this->ackedBy(1)) << "by the version that stands";
    EXPECT_EQ(1u, this->report(0).users);
  }
  this->changeValue(0, 80);
  EXPECT_EQ(80u, this->resolved(3)) << "and later changes are followed";
}

// Hooks that interfere while the linkage walks over the users of a key.
class LinkageHook : public LinkageChange<LoamInLif::QosProfileKind> {
 public:
  class MeddlingHelper : public LoamInLif::InLif0SwTableHelperBase {
   public:
    bool finalizeOnResourceUpdate(Pivot::Ptr<LoamInLif::InLif0EntryWrapper> const& entry,
                                  Pivot::Ptr<LoamInLif::InLif0SwTable> const& swTable, bool) override {
      updated.push_back(entry->key().value());
      if (auto const meddle = std::exchange(meddle_, nullptr)) meddle(*swTable);
      return true;
    }
    ~MeddlingHelper() override {
      if (gone != nullptr) *gone = true;
    }
    std::vector<unsigned> updated;
    std::function<void(LoamInLif::InLif0SwTable&)> meddle_;
    bool* gone = nullptr;
  };

  void SetUp() override {
    LinkageChange::SetUp();
    table().swTableHelperIs(helper_);
  }
  void TearDown() override {
    helper_ = nullptr;
    LinkageChange::TearDown();
  }

  Pivot::Ptr<MeddlingHelper> helper_ = Pivot::make<MeddlingHelper>();
};

TEST_F(LinkageHook, MayClearTheTable) {
  commit({1, 2, 3});
  helper_->meddle_ = [](auto& swTable) { swTable.clearTable(true); };
  changeValue(0, 77);
  EXPECT_EQ(1u, helper_->updated.size()) << "the others are gone";
  EXPECT_EQ(nullptr, linkage()->entryUsageSm(keyOf<LoamInLif::QosProfileKind>(0)));
  EXPECT_EQ(0u, report(0).users) << "a released key is not acknowledged again";
  EXPECT_TRUE(walk().empty()) << "also the one whose update it was";
}

TEST_F(LinkageHook, MayTakeTheUseFromATableThatIsStillToBeTold) {
  using Kind = LoamInLif::QosProfileKind;
  auto const other = makeTable(4);
  commit({1});
  write(1).needs<Kind>(0).on(*other).go();
  resolve();
  helper_->meddle_ = [&](auto&) { other->clearTable(true); };
  changeValue(0, 77);
  EXPECT_EQ(77u, resolved(1));
  EXPECT_EQ(nullptr, other->template linkage<Kind>()->entryUsageSm(keyOf<Kind>(0)));
  EXPECT_EQ(1u, report(0).users);
  EXPECT_TRUE(acked(0));
}

TEST_F(LinkageHook, MayCommitOperationsThatChangeTheUsers) {
  std::vector<unsigned> keys;
  for (unsigned key = 0; key < 200; ++key) keys.push_back(key);
  commit(keys);
  helper_->meddle_ = [this](auto&) {
    for (unsigned key = 0; key < 200; key += 2) write(key).needs<LoamInLif::QosProfileKind>(1).go();
    for (unsigned key = 200; key < 300; ++key) write(key).needs<LoamInLif::QosProfileKind>(0).go();
    resolve();
  };
  changeValue(0, 77);
  std::set<unsigned> const once(helper_->updated.begin(), helper_->updated.end());
  EXPECT_EQ(once.size(), helper_->updated.size()) << "nobody is updated twice";
  for (unsigned key = 1; key < 200; key += 2) EXPECT_TRUE(once.contains(key)) << key;
  EXPECT_TRUE(acked(0));
}

TEST_F(LinkageHook, MayCommitTheEntryItself) {
  commit({1});
  helper_->meddle_ = [this](auto&) {
    write(1, 9).go();
    resolve();
  };
  changeValue(0, 77);
  EXPECT_EQ(9, read(1)) << "which is newer than what the update has read";
  EXPECT_EQ(2u, logVersion());
}

TEST_F(LinkageHook, MayGiveTheTableAnotherHelper) {
  commit({1});
  bool gone = false;
  helper_->gone = &gone;
  helper_->meddle_ = [&gone](auto& swTable) {
    swTable.swTableHelperIs(Pivot::make<LoamInLif::InLif0SwTableHelperBase>());
    EXPECT_FALSE(gone) << "it still runs";
  };
  helper_ = nullptr;
  changeValue(0, 77);
  EXPECT_EQ(77u, resolved(1));
  EXPECT_TRUE(gone);
}

TEST_F(LinkageHook, ThatThrowsEndsTheProcessWhereverItIsCalled) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a forked child owns no store
  commit({1});
  helper_->meddle_ = [](auto&) { throw std::runtime_error("out of sorts"); };
  EXPECT_DEATH(changeValue(0, 77), "an exception left a client's hook: out of sorts");
  EXPECT_DEATH(table().restoreEntries(), "an exception left a client's hook: out of sorts");
}

TEST_F(LinkageHook, MayChangeTheResourceAgainOnceOrAtEachUpdate) {
  commit({1, 2});
  std::uint8_t value = 77;
  bool forEver = false;
  std::function<void(LoamInLif::InLif0SwTable&)> const again = [&](auto&) {
    if (forEver) helper_->meddle_ = again;
    changeValue(0, ++value);
  };
  helper_->meddle_ = again;
  changeValue(0, value);
  for (unsigned key : {1u, 2u}) EXPECT_EQ(78u, resolved(key));
  EXPECT_TRUE(acked(0));
  forEver = true;
  helper_->updated.clear();
  helper_->meddle_ = again;
  changeValue(0, ++value);
  EXPECT_EQ(4u, helper_->updated.size()) << "the users are gone through twice";
  EXPECT_TRUE(acked(0));
}

}  // namespace LinkageTests
