// What the adapters do beyond the plain service of a code: ownership, sets, snapshots, iterators, refusals.
#include "Pivot/OpResult.h"
#include "Vex/Exceptions.h"
#include "support/Listener.h"
#include "types/InspectedWorld.h"

namespace {

using namespace TestSupport;
using LoamInLif::InLif1;
using Pivot::OpCode;
using Pivot::OpStatus;
using Pivot::TypeView;

class Adapter : public InspectedWorld<InLif1> {
 protected:
  OpStatus ask(Pivot::Node& object, Pivot::FieldId id, OpCode code, void const* key = nullptr,
               void const* value = nullptr) {
    return TypeView::of(object).inspect(result_, &object, id, code, key, value);
  }

  Pivot::OpResult result_;
};

TEST_F(Adapter, ResultsOwnOneReference) {
  Pivot::Ptr<EntryWrapper> const wrapper = table().transientAddEntry(EntryKey(0));
  std::uint32_t const before = wrapper->useCount();
  EntryKey const key(0);
  ask(table(), 899, OpCode::read, &key);
  EXPECT_EQ(wrapper->useCount(), before + 1);
  EXPECT_EQ(*result_.as<Pivot::Ptr<EntryWrapper>>(), wrapper);
  // A plain pointer in the object: the caller gets a count of its own too.
  std::uint32_t const tables = table().useCount();
  ask(*table().inLifDataLinkage(), 130, OpCode::read);
  EXPECT_EQ(table().useCount(), tables + 1);
  EXPECT_EQ(wrapper->useCount(), before) << "the earlier result is gone";
  // What is removed is handed over.
  ask(table(), 899, OpCode::remove, &key);
  EXPECT_EQ(result_.node(), wrapper);
  EXPECT_FALSE(table().transientAddEntryHas(key));
}

TEST_F(Adapter, ASetTakesTrueAndRefusesFalse) {
  EntryKey const key(9);
  bool value = false;
  try {
    ask(table(), 916, OpCode::write, &key, &value);
    FAIL();
  } catch (Vex::SetFalseValueException const& refusal) {
    std::string_view const text = refusal.what();
    for (char const* part :
         {"markedKey", "916", "LoamInLif::InLif1SwTable", "_InLif1SwTable_3bfd1ff2f83eb2a5_vexModule"}) {
      EXPECT_NE(text.find(part), std::string_view::npos) << text;
    }
  }
  EXPECT_FALSE(table().markedKeyHas(key));
  value = true;
  Listener listener(table().publisher());
  EXPECT_EQ(ask(table(), 916, OpCode::write, &key, &value), OpStatus::done);
  EXPECT_TRUE(table().markedKeyHas(key));
  EXPECT_EQ(listener.said(), std::vector<std::string>{"916"}) << "by the setter, which publishes";
  for (OpCode const code : {OpCode::read, OpCode::has}) {
    ask(table(), 916, code, &key);
    EXPECT_TRUE(*result_.as<bool>());
  }
}

TEST_F(Adapter, AMissingMemberIsToldApartInASnapshotOnly) {
  auto const snapshot = table().getTableEntries_py();
  EntryKey const present(0), missing(77);
  EXPECT_EQ(ask(*snapshot, 130, OpCode::readIfMember, &present), OpStatus::done);
  EXPECT_EQ(valueOf(*result_.as<Entry>()), 2);
  EXPECT_EQ(ask(*snapshot, 130, OpCode::readIfMember, &missing), OpStatus::noMember);
  EXPECT_TRUE(result_.empty());
  EXPECT_EQ(ask(*snapshot, 130, OpCode::read, &missing), OpStatus::done);
  EXPECT_FALSE(*result_.as<Entry>());
  EXPECT_EQ(ask(table(), 901, OpCode::readIfMember, &missing), OpStatus::done);
  EXPECT_FALSE(result_.as<Asic::EntryVersion>()->valid());
}

// The adapter of a class knows its own fields; a tool goes on to the base.
TEST_F(Adapter, AFieldOfAnotherClassIsNone) {
  auto const type = TypeView::of(table());
  auto const own = [&](Pivot::FieldId id, OpCode code) {
    return type.functions().inspectOperation(result_, table_.get(), Pivot::FieldDescriptor(id), code, nullptr,
                                             nullptr);
  };
  EXPECT_EQ(own(514, OpCode::read), OpStatus::noField);
  EXPECT_EQ(own(906, OpCode::read), OpStatus::noField);
  EXPECT_EQ(own(908, OpCode::call), OpStatus::notAvailable);
  EXPECT_EQ(ask(table(), 514, OpCode::read), OpStatus::done);
  EXPECT_EQ(result_.text(), "14:08:0402");
}

TEST_F(Adapter, AnIteratorWalksOnFromItsKey) {
  for (unsigned key = 10; key < 60; ++key) table().markedKeyIs(EntryKey(key));
  auto const type = TypeView::of(table());
  std::vector<EntryKey> order;
  auto const keysFrom = [&](void const* start) {
    std::vector<EntryKey> keys;
    for (Vex::MemberWalk walk(type, table_.get(), 916, start); walk; walk.inc()) {
      walk.key(result_);
      keys.push_back(*result_.as<EntryKey>());
    }
    return keys;
  };
  auto const all = keysFrom(nullptr);
  ASSERT_EQ(all.size(), table().markedKeys().size());
  EXPECT_EQ(keysFrom(&all[20]), std::vector<EntryKey>(all.begin() + 20, all.end()));

  // The member on which an iterator stands may go, and the walk goes on behind it.
  std::set<std::uint32_t> seen;
  for (Vex::MemberWalk walk(type, table_.get(), 916); walk; walk.inc()) {
    walk.key(result_);
    EntryKey const key = *result_.as<EntryKey>();
    table().markedKeyDel(key);
    seen.insert(key.value());
  }
  EXPECT_EQ(seen.size(), all.size());
  EXPECT_TRUE(table().markedKeys().empty());
}

TEST_F(Adapter, IteratorsAreCountedAndHoldTheirObject) {
  auto const type = TypeView::of(table());
  Vex::IteratorFunctions const* functions = nullptr;
  std::int64_t const before = Vex::CollectionIteratorBase::memAllocationTracker_.count();
  for (Pivot::FieldId const noCollection : {917u, 907u, 906u})
    EXPECT_EQ(type.iterator(table_.get(), noCollection, nullptr, functions), nullptr);
  EXPECT_EQ(functions, nullptr);
  std::uint32_t const count = table().useCount();
  auto* const iterator = type.iterator(table_.get(), 899, nullptr, functions);
  ASSERT_NE(iterator, nullptr);
  EXPECT_EQ(table().useCount(), count + 1);
  EXPECT_EQ(Vex::CollectionIteratorBase::memAllocationTracker_.count(), before + 1);
  functions->iterObj(result_, iterator);
  EXPECT_EQ(result_.node(), table().transientAddEntry(EntryKey(0)));
  functions->iterInc(iterator);
  EXPECT_FALSE(functions->iterNonnull(iterator));
  functions->iterDel(iterator);
  EXPECT_EQ(Vex::CollectionIteratorBase::memAllocationTracker_.count(), before);
  EXPECT_EQ(table().useCount(), count);
}

// The import table of a module names the modules of others where bases stand; types.txt lists what is found by it.
TEST(Records, ImportsAreKnownModulesAndRootsHaveNames) {
  for (auto const* module : Pivot::ModuleInspectData::all())
    for (Pivot::TypeData type : TypeView({module, 0}).module().imports)
      EXPECT_EQ(Pivot::ModuleInspectData::find(type.module->name), type.module);
  EXPECT_STREQ(TypeView::find("LoamInLif::InLif23SwTable")->functions().root->rootClass, "Vex::Entity");
  EXPECT_STREQ(TypeView::find("LoamInLif::InLif23EntryLog")->functions().root->rootClass, "Pivot::Node");
}

// Along a chain of bases ids ascend, so that each names one field.
TEST(Records, IdsGrowWithTheDepthOfTheClass) {
  for (auto const* module : Pivot::ModuleInspectData::all()) {
    for (std::uint32_t index = 0; index < module->typeCount; ++index) {
      std::vector<Pivot::FieldId> ids;
      for (auto const& field : TypeView({module, index}).fields()) ids.push_back(field.attribute->id);
      EXPECT_EQ(std::ranges::adjacent_find(ids, std::greater_equal()), ids.end()) << module->typeNames[index];
    }
  }
}

}  // namespace
