// The order of virtual operations that derived classes, and agents built against them, rely on.
//
// A pointer to a virtual member function holds, in the Itanium ABI, one plus the offset of its slot in the
// vtable. Two slots of destructors come first in each class.
#include <gtest/gtest.h>

#include <cstring>

#include "Asic/OrderedSwTableWithMarkSweep.h"
#include "Asic/ResolverEntry.h"
#include "Asic/TableInterfaceBase.h"

namespace {

template <class Member>
std::size_t slotOf(Member member) {
  struct {
    std::size_t pointer;
    std::size_t adjustment;
  } parts;
  static_assert(sizeof(member) == sizeof(parts));
  std::memcpy(&parts, &member, sizeof(parts));
  EXPECT_EQ(parts.adjustment, 0u);
  EXPECT_EQ(parts.pointer % 2, 1u) << "not virtual";
  return (parts.pointer - 1) / sizeof(void*);
}

// Whether the operations stand one behind the other from the first slot on.
template <class... Members>
bool standFrom(std::size_t first, Members... members) {
  return ((slotOf(members) == first++) && ...);
}

TEST(SlotOrder, OfEachClass) {
  using Table = Asic::OrderedSwTableWithMarkSweep;
  EXPECT_TRUE(standFrom(2, &Table::lastUserGone, &Table::publisher, &Table::typeData, &Table::handleParent,
                        &Table::doCreateHwTable, &Table::doCreateHwTableResponse, &Table::reconcile,
                        &Table::tableStatusVersion, &Table::hasPendingHwWrites, &Table::mark, &Table::sweep));
  using Handle = Asic::OrderedSwTable::EntryHandle;
  EXPECT_TRUE(standFrom(2, &Handle::lastUserGone, &Handle::publisher, &Handle::typeData,
                        &Handle::handleEntryState, &Handle::hwIndexForDependentField,
                        &Handle::handleIndexSuggestions, &Handle::entryTableVersion, &Handle::tableName,
                        &Handle::tableId));
  using Entry = Asic::ResolverEntry;
  EXPECT_TRUE(standFrom(2, &Entry::lastUserGone, &Entry::publisher, &Entry::typeData, &Entry::isResolved,
                        &Entry::commitEntry));
  EXPECT_EQ(slotOf(&Asic::TableInterfaceBase::reconcile), 5u);
}

}  // namespace
