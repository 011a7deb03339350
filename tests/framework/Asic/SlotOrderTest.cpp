// The order of virtual operations that derived classes, and agents built against them, rely on.
//
// A pointer to a virtual member function holds, in the Itanium ABI, one plus the offset of its slot in the
// vtable. Two slots of destructors come first in each class.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

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

template <class... Members>
std::vector<std::size_t> slotsOf(Members... members) {
  return {slotOf(members)...};
}

TEST(SlotOrder, Table) {
  using Table = Asic::OrderedSwTableWithMarkSweep;
  EXPECT_EQ(slotsOf(&Table::lastUserGone, &Table::publisher, &Table::typeData, &Table::handleParent,
                    &Table::doCreateHwTable, &Table::doCreateHwTableResponse, &Table::reconcile,
                    &Table::tableStatusVersion, &Table::hasPendingHwWrites, &Table::mark, &Table::sweep),
            (std::vector<std::size_t>{2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
}

TEST(SlotOrder, Handle) {
  using Handle = Asic::OrderedSwTable::EntryHandle;
  EXPECT_EQ(slotsOf(&Handle::lastUserGone, &Handle::publisher, &Handle::typeData, &Handle::handleEntryState,
                    &Handle::hwIndexForDependentField, &Handle::handleIndexSuggestions,
                    &Handle::entryTableVersion, &Handle::tableName, &Handle::tableId),
            (std::vector<std::size_t>{2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST(SlotOrder, ResolverEntryAndInterface) {
  EXPECT_EQ(slotsOf(&Asic::ResolverEntry::lastUserGone, &Asic::ResolverEntry::publisher,
                    &Asic::ResolverEntry::typeData, &Asic::ResolverEntry::isResolved,
                    &Asic::ResolverEntry::commitEntry),
            (std::vector<std::size_t>{2, 3, 4, 5, 6}));
  EXPECT_EQ(slotOf(&Asic::TableInterfaceBase::reconcile), 5u);
}

}  // namespace
