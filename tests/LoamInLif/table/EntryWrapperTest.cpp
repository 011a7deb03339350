// The wrapper of an entry: what the hooks of a helper see and may do.
#include "support/TableFixture.h"

namespace {
using namespace TestSupport;
using namespace LoamInLif;

template <class I>
class EntryWrapper : public TableFixture<I> {
 protected:
  // A client's helper that notes what it sees, changes the value, and answers as it is told.
  class Helper : public I::SwTableHelperBase {
   public:
    using Wrapper = Pivot::Ptr<typename I::EntryWrapper>;
    using Table = Pivot::Ptr<typename I::SwTable>;
    void finalizeOnSuccess(Wrapper const& entry, bool isDelete, Table const&) override {
      seen = isDelete ? "remove" : "write fec " + std::to_string(entry->logEntry().fecId);
      if (newKey != 0) entry->keyIs(EntryKey(newKey));
      if (newKey != 0) entry->rsrcKeysIs({});
    }
    bool finalizeOnFailure(Wrapper const& entry, bool, Table const&) override {
      seen = "failure fec " + std::to_string(entry->logEntry().fecId);
      return acceptFailure;
    }
    bool finalizeOnResourceUpdate(Wrapper const&, Table const&, bool someResourceHasFailed) override {
      seen = someResourceHasFailed ? "update failed" : "update";
      return acceptUpdate;
    }
    std::string seen;
    unsigned newKey = 0;
    bool acceptFailure = false;
    bool acceptUpdate = true;
  };

  void SetUp() override {
    TableFixture<I>::SetUp();
    helper_ = Pivot::make<Helper>();
    this->table().swTableHelperIs(helper_);
  }
  std::uint32_t committedFec(unsigned key) {
    return this->table().entryFromConfig(EntryKey(key)).logEntry.fecId;
  }

  Pivot::Ptr<Helper> helper_;
};
TYPED_TEST_SUITE(EntryWrapper, Instances);

TYPED_TEST(EntryWrapper, HooksSeeResolvedFieldsOnWritesAlone) {
  this->write(1).template needs<L2AdjToFecKind>(1).go();
  this->resolve();
  auto const fec =
      this->world().template resources<L2AdjToFecKind>().handle(keyOf<L2AdjToFecKind>(1))->value();
  EXPECT_EQ(this->helper_->seen, "write fec " + std::to_string(fec));
  EXPECT_EQ(this->committedFec(1), fec);
  this->remove(1).go();
  this->resolve();
  EXPECT_EQ(this->helper_->seen, "remove");
}

TYPED_TEST(EntryWrapper, AHelperMayTakeAFailedResource) {
  this->template steer<L2AdjToFecKind>(1, failed);
  this->helper_->acceptFailure = true;
  auto const accepted = this->write(1).template needs<L2AdjToFecKind>(1).go();
  this->resolve();
  EXPECT_EQ(this->helper_->seen, "failure fec 0");
  EXPECT_EQ(state(accepted), inLog);
  EXPECT_EQ(this->table().stats()->resolveFailCnt(), 1u);
}

TYPED_TEST(EntryWrapper, KeysOfAnOperationStand) {
  this->helper_->newKey = 77;
  this->write(1).template needs<L2AdjToFecKind>(1).go();
  this->write(2).go();
  this->resolve();
  EXPECT_EQ(this->walk(), (std::vector<unsigned>{1, 2}));
  EXPECT_FALSE(this->table().transientVersionForKeyFind(EntryKey(1)));
  auto& fecs = this->world().template resources<L2AdjToFecKind>();
  EXPECT_EQ(fecs.usersOf(keyOf<L2AdjToFecKind>(1)), 1u);
  this->remove(1).go();
  this->resolve();
  EXPECT_EQ(fecs.usersOf(keyOf<L2AdjToFecKind>(1)), 0u) << "released by the key that stood in the store";
}

TYPED_TEST(EntryWrapper, UpdateWritesWhatChangedAndTheHelperAccepts) {
  this->write(1).template needs<L2AdjToFecKind>(1).go();
  this->resolve();
  auto const at = this->logVersion();
  auto& fecs = this->world().template resources<L2AdjToFecKind>();
  auto& stats = *this->table().stats();
  mustBeOk(fecs.valueIs(keyOf<L2AdjToFecKind>(1), 500));
  EXPECT_EQ(this->helper_->seen, "update");
  EXPECT_EQ(this->committedFec(1), 500u);
  EXPECT_EQ(this->logVersion(), at + 1);
  EXPECT_EQ(stats.updateCnt(), 1u);

  this->helper_->acceptUpdate = false;
  mustBeOk(fecs.valueIs(keyOf<L2AdjToFecKind>(1), 600));
  EXPECT_EQ(this->committedFec(1), 500u);
  auto const same = this->table().updateEntry(EntryKey(1));
  EXPECT_EQ(same->logVersion().value(), at + 1) << "the version of the record that stands";
  EXPECT_EQ(state(same), inLog);

  this->helper_->acceptUpdate = true;
  this->template steer<L2AdjToFecKind>(1, failed);
  EXPECT_EQ(this->helper_->seen, "update failed");
  EXPECT_EQ(this->committedFec(1), fecs.handle(keyOf<L2AdjToFecKind>(1))->value());
  EXPECT_EQ(stats.updateCnt(), 2u);
  EXPECT_EQ(stats.updateWithFailedResourceCnt(), 1u);
  EXPECT_EQ(this->table().entryHandleInLogs(), 1u) << "the handle of an update is not queued";
}

}  // namespace
