// What a table holds: slots of the virtual operations, the accessor rule, the queue of handles, pending work,
// and that nothing outlives it.
#include <cstring>

#include "LoamInLif/table/SwTableOf-defs.h"
#include "Vex/Exceptions.h"
#include "support/Listener.h"
#include "support/TableFixture.h"

namespace {
using namespace TestSupport;
using LoamInLif::InLif1SwTable;

// The place of a virtual operation in its class's table, as the ABI encodes it in a pointer to member.
template <class Member>
std::size_t slot(Member member) {
  std::uintptr_t words[2];
  static_assert(sizeof member == sizeof words);
  std::memcpy(words, &member, sizeof words);
  return words[0] % 2 == 1 ? words[0] / sizeof(void*) : ~std::size_t{0};
}

// Whether the operations stand one behind the other from the first slot on.
template <class... Members>
bool standFrom(std::size_t first, Members... members) {
  return ((slot(members) == first++) && ...);
}

TEST(SlotOrder, OfTheTableAndItsHelpers) {
  using T = InLif1SwTable;
  using FromKey = T::EntryIteratorConst (T::*)(EntryKey const&) const;
  using FromStart = T::EntryIteratorConst (T::*)() const;
  EXPECT_TRUE(standFrom(
      2, &T::lastUserGone, &T::publisher, &T::typeData, &T::handleParent, &T::doCreateHwTable,
      &T::doCreateHwTableResponse, &T::reconcile, &T::tableStatusVersion, &T::hasPendingHwWrites, &T::mark,
      &T::sweep, &T::entryWrite, &T::entryWriteWithResponseHandler, &T::entryRemove,
      &T::entryRemoveWithResponseHandler, &T::entryRemoveAll, &T::entryRemoveAllWithResponseHandler,
      &T::entryRead, &T::entry, &T::entryHas, &T::entrys, static_cast<FromKey>(&T::entryIteratorConst),
      static_cast<FromStart>(&T::entryIteratorConst), &T::initIterState, &T::initIterStateFromKey));
  using H = T::EntryHandle;
  EXPECT_TRUE(standFrom(4, &H::typeData, &H::handleEntryState, &H::hwIndexForDependentField,
                        &H::handleIndexSuggestions, &H::entryTableVersion, &H::tableName, &H::tableId));
  using B = LoamInLif::InLif1SwTableHelperBase;
  EXPECT_TRUE(standFrom(5, &B::finalizeOnSuccess, &B::finalizeOnFailure, &B::finalizeOnResourceUpdate));
  EXPECT_TRUE(standFrom(5, &LoamInLif::InLif1Interface::reconcile));
  using R = LoamInLif::InLif1ResolverEntry;
  EXPECT_TRUE(standFrom(5, &R::isResolved, &R::commitEntry));
  EXPECT_TRUE(standFrom(5, &LoamInLif::InLif1SwTableIteratorState::maybeUpdateCurrentEntry));
}

using Said = std::vector<std::string>;

template <class I>
class TableState : public TableFixture<I> {
 protected:
  Pivot::Ptr<typename I::EntryWrapper> wrapper(unsigned key) {
    auto const handle = Pivot::make<typename I::SwTable::EntryHandle>(
        Asic::EntryVersion(Asic::MajorVersion(0), 0), EntryKey(key), &this->table());
    auto const entry = Pivot::make<typename I::EntryWrapper>(Entry(), handle);
    entry->keyIs(EntryKey(key));
    return entry;
  }
};
TYPED_TEST_SUITE(TableState, Instances);

TYPED_TEST(TableState, SettersPublishWhatChanges) {
  auto& table = this->table();
  Listener listener(table.publisher());
  auto const first = this->wrapper(1);
  table.transientAddEntryIs(first);
  table.transientAddEntryIs(first);
  EXPECT_EQ(listener.said(), Said{"899"});
  table.transientAddEntryIs(this->wrapper(1));
  table.transientAddEntryIs(this->wrapper(2));
  EXPECT_EQ(listener.said(), (Said{"899 old", "899"}));
  table.transientAddEntryDel(EntryKey(7));
  table.transientAddEntryDelAll();
  EXPECT_EQ(listener.said(), (Said{"899 old", "899 old"}));
  EXPECT_THROW(table.transientRemoveEntryIs(nullptr), Vex::NullArgumentException);
  EXPECT_THROW(table.swTableHelperIs(nullptr), Vex::NullArgumentException);

  EXPECT_FALSE(table.transientVersionForKey(EntryKey(1)).valid());
  EXPECT_FALSE(table.transientVersionForKeyHas(EntryKey(1)));
  table.transientVersionForKeyIs(EntryKey(1), Asic::EntryVersion(Asic::MajorVersion(4), 0));
  EXPECT_EQ(table.transientVersionForKeyDel(EntryKey(1)).majorVersion().value(), 4u);
  table.transientRemoveAllVersionIs(Asic::MajorVersion());
  table.mark();
  table.mark();
  table.markedKeyIs(EntryKey(1));
  table.markedKeyIs(EntryKey(1));
  EXPECT_FALSE(table.markedKeyDel(EntryKey(2)));
  EXPECT_TRUE(table.markedKeyDel(EntryKey(1)));
  table.swTableHelperIs(Pivot::make<typename TypeParam::SwTableHelperBase>());
  EXPECT_EQ(listener.said(), (Said{"901", "901 old", "917 old", "916", "916", "898 old"}));
}

TYPED_TEST(TableState, QueueOfHandlesPublishesIndices) {
  auto& table = this->table();
  EXPECT_FALSE(table.entryHandleInLogFront());
  auto const handle = TypeParam::SwTable::entryHandleFactory(Asic::EntryVersion(), EntryKey(1), &table);
  for (unsigned i = 1; i <= 8; ++i) EXPECT_EQ(table.entryHandleInLogEnq(handle), i);
  EXPECT_EQ(table.entryHandleInLog(5), handle);
  Listener listener(table.publisher());
  EXPECT_EQ(table.entryHandleInLogDeq(), handle);
  EXPECT_FALSE(table.entryHandleInLogHas(1));
  table.entryHandleInLogDelAll();
  EXPECT_EQ(listener.said(), Said(8, "907 old"));
  EXPECT_EQ(table.entryHandleInLogEnq(handle), 9u);
}

TYPED_TEST(TableState, PendingUntilTheHardwareHasTheWholeLog) {
  auto const other = this->makeTable(4);
  auto& status = *this->table().status();
  EXPECT_FALSE(this->pending());
  this->write(1).go();
  EXPECT_TRUE(this->pending());
  EXPECT_FALSE(other->hasPendingHwWrites());
  EXPECT_TRUE(status.pendingHwWrites());
  this->resolve();
  EXPECT_TRUE(other->hasPendingHwWrites()) << "the log is shared by all units";
  this->acknowledge();
  EXPECT_FALSE(this->pending());
  EXPECT_FALSE(status.pendingHwWrites());
  this->removeAll().go();
  EXPECT_TRUE(this->pending());
}

TYPED_TEST(TableState, NothingOutlivesIt) {
  auto const live = [] {
    return std::vector<std::int64_t>{TypeParam::SwTable::memAllocationTracker_.count(),
                                     TypeParam::SwTable::EntryHandle::memAllocationTracker_.count(),
                                     TypeParam::EntryWrapper::memAllocationTracker_.count(),
                                     TypeParam::ResolverEntry::memAllocationTracker_.count(),
                                     TypeParam::SwTableHelperBase::memAllocationTracker_.count(),
                                     TypeParam::SwTableIteratorState::memAllocationTracker_.count()};
  };
  this->write(1).template needs<LoamInLif::QosProfileKind>(1).go();
  this->resolve();
  this->write(2).go();
  this->remove(1).go();
  EXPECT_EQ(live(), (std::vector<std::int64_t>{1, 3, 2, 2, 1, 0}));
  this->table_.reset();
  this->world().restart();
  EXPECT_EQ(live(), (std::vector<std::int64_t>{0, 0, 0, 0, 0, 0}));
}

TYPED_TEST(TableState, AHandleTellsOfItsTableAlsoWhenThatHasEnded) {
  Handle const handle = this->write(1).go();
  this->resolve();
  Pivot::String const name = this->table().name();
  EXPECT_EQ(handle->swTable(), &this->table());
  EXPECT_EQ(handle->tableName(), name);
  this->table_.reset();
  this->world().restart();
  EXPECT_EQ(handle->swTable(), nullptr);
  EXPECT_EQ(handle->tableName(), name);
  EXPECT_EQ(handle->entryTableVersion(), Asic::TableVersion(TypeParam::tableId, Asic::LogVersion(1)));
}

}  // namespace
