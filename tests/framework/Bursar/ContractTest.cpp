// What every resource table owes its clients, over all six classes: requests, acks, releases, changes and the
// next life.
#include "BursarFixture.h"

namespace BursarTest {
namespace {

template <class Table>
class Contract : public TableLife<Table> {};

using Tables =
    ::testing::Types<LoamTunnelNiLib::InLifDataResourceTable, LoamTunnelNiLib::LearnEnableResourceTable,
                     LoamTunnelNiLib::IveResourceTableResourceTable,
                     LoamCountersLib::CrpsIndexRequestResourceTable, LoamQos::QosProfileResourceTable,
                     LoamAdjLib::L2AdjToFecResourceTableResourceTable>;
TYPED_TEST_SUITE(Contract, Tables);

TYPED_TEST(Contract, onlyTheLastReleaseTellsAndItTellsAfterTheFact) {
  auto const handle = this->use(this->one, 1);
  this->use(this->one, 1);
  this->use(this->two, 1);
  EXPECT_EQ(this->table->usersOf(this->key(1)), 2u) << "an ack is no second use";
  Ear ear(handle);
  this->drop(this->one, 1);
  EXPECT_EQ(ear.heard, 0);
  std::uint32_t const before = handle->updateVersion();
  this->drop(this->two, 1);
  EXPECT_EQ(ear.heard, 1);
  EXPECT_TRUE(ear.postRelease);
  EXPECT_GT(ear.version, before);
  EXPECT_EQ(this->table->usersOf(this->key(1)), 0u);
}

TYPED_TEST(Contract, aReleasedKeyComesBackWithItsValue) {
  auto const handle = this->use(this->one, 1);
  auto const value = handle->value();
  this->drop(this->one, 1);
  EXPECT_EQ(this->two->request(this->key(1), nullptr), handle);
  EXPECT_FALSE(handle->isPostReleaseProtoState());
  EXPECT_EQ(handle->value(), value);

  // A commit that still holds the handle acknowledges a key that another entry has just released.
  this->use(this->one, 1);
  this->drop(this->one, 1);
  Ear ear(handle);
  this->two->ackUpdate(handle, handle->updateVersion(), this->written());
  EXPECT_FALSE(handle->isPostReleaseProtoState());
  EXPECT_EQ(ear.heard, 0);
  EXPECT_EQ(this->table->usersOf(this->key(1)), 1u);
}

TYPED_TEST(Contract, aChangeRaisesTheVersionAndTellsEverybody) {
  auto const handle = this->use(this->one, 1);
  Ear ear(handle);
  auto const other = static_cast<typename TypeParam::Value>(handle->value() ^ 1);
  std::uint32_t const before = handle->updateVersion();
  mustBeOk(this->table->valueIs(this->key(1), other));
  mustBeOk(this->table->stateIs(this->key(1), EntryState::entryStateFailed));
  mustBeOk(this->table->neededVersionIs(this->key(1), TableVersion(SwTableId(0x14080402), LogVersion(9))));
  EXPECT_EQ(ear.heard, 3);
  EXPECT_GT(handle->updateVersion(), before);
  EXPECT_EQ(handle->value(), other) << "a state leaves the value as it is";
  EXPECT_EQ(handle->entryState(), EntryState::entryStateFailed);
  EXPECT_EQ(handle->neededEntry()->version(SwTableId(0x14080402)), LogVersion(9));

  // What is so already is no change.
  mustBeOk(this->table->valueIs(this->key(1), other));
  mustBeOk(this->table->neededVersionIs(this->key(1), TableVersion(SwTableId(0x14080402), LogVersion(8))));
  EXPECT_EQ(ear.heard, 3);

  // Waiting heads hear of the end of a pending state, and of nothing else.
  mustBeOk(this->table->stateIs(this->key(1), EntryState::entryStateUnresolved));
  mustBeOk(this->table->stateIs(this->key(1), EntryState::entryStateInLog));
  EXPECT_EQ(this->world.notices, 0);
  mustBeOk(this->table->stateIs(this->key(1), EntryState::entryStateDone));
  EXPECT_EQ(this->world.notices, 1);

  this->one->ackUpdate(handle, handle->updateVersion(), this->written());
  EXPECT_EQ(this->table->report(TypeParam::bytesOf(this->key(1)))->ackedVersion, handle->updateVersion());
}

TYPED_TEST(Contract, theNextLifeHasTheSameValues) {
  auto const first = this->use(this->one, 1)->value();
  auto const second = this->use(this->one, 2)->value();
  auto const steered = static_cast<typename TypeParam::Value>(second ^ 1);
  mustBeOk(this->table->valueIs(this->key(2), steered));
  mustBeOk(this->table->stateIs(this->key(1), EntryState::entryStateInLog));
  this->restart();
  EXPECT_EQ(this->table->entrys(), 2u);
  EXPECT_EQ(this->value(2), steered);
  EXPECT_EQ(this->value(1), first);
  EXPECT_EQ(this->state(1), EntryState::entryStateInLog);
}

TYPED_TEST(Contract, aFullTableFailsAKeyAndServesItWhenThereIsRoom) {
  mustBeOk(this->table->capacityIs(1));
  this->use(this->one, 1);
  auto const handle = this->one->request(this->key(2), nullptr);
  EXPECT_EQ(handle->entryState(), EntryState::entryStateFailed);
  EXPECT_EQ(handle->value(), static_cast<typename TypeParam::Value>(TypeParam::kNoValue));
  EXPECT_EQ(this->one->request(this->key(2), nullptr), handle);
  EXPECT_FALSE(this->table->stateIs(this->key(2), EntryState::entryStateDone)) << "it has no value";

  Ear ear(handle);
  LogVersion const gone = this->drop(this->one, 1);
  this->table->turn();
  EXPECT_EQ(handle->entryState(), EntryState::entryStateFailed) << "the old value is still in the hardware";
  this->world.take(gone);
  this->table->turn();
  EXPECT_EQ(handle->entryState(), EntryState::entryStateDone);
  EXPECT_EQ(ear.heard, 1);
}

TYPED_TEST(Contract, refusalsNameTheValueAndChangeNothing) {
  auto const handle = this->use(this->one, 1);
  Ear ear(handle);
  for (unsigned state : {2u, 7u, 255u}) {
    Pivot::Status const refused = this->table->stateIs(this->key(1), static_cast<EntryState>(state));
    EXPECT_NE(refused.message().find("state " + std::to_string(state)), std::string::npos);
    EXPECT_FALSE(this->table->defaultStateIs(static_cast<EntryState>(state)));
  }
  if (sizeof(typename TypeParam::Value) < 8) {
    std::uint64_t const wide = std::uint64_t{1} << (8 * sizeof(typename TypeParam::Value));
    Pivot::Status const refused = this->table->steer(TypeParam::bytesOf(this->key(1)), {{}, wide, {}});
    EXPECT_NE(refused.message().find(std::to_string(wide)), std::string::npos);
  }
  EXPECT_FALSE(this->table->steer({}, {EntryState::entryStateDone, {}, {}})) << "a key of no bytes";
  EXPECT_FALSE(this->table->capacityIs(std::uint64_t{TypeParam::kMaxKeys} + 1));
  EXPECT_EQ(ear.heard, 0);
  EXPECT_EQ(handle->entryState(), EntryState::entryStateDone);
}

}  // namespace
}  // namespace BursarTest
