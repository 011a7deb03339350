// The bases of tables, handles, logs and resolver entries: what they do before a table adds its own.
#include <utility>

#include "Asic/EntryLogBase.h"
#include "Asic/GroupInterface.h"
#include "Asic/OrderedSwTableWithMarkSweep.h"
#include "Asic/OrderedTableInterface.h"
#include "Asic/ResolverEntry.h"
#include "Asic/TableInterfaceBase.h"
#include "Statehub/EntityManager.h"
#include "Vex/Assert.h"

namespace Asic {

char const* entryStateName(EntryState state) {
  switch (state) {
    case EntryState::entryStateUnresolved:
      return "entryStateUnresolved";
    case EntryState::entryStateInLog:
      return "entryStateInLog";
    case EntryState::entryStateRejected:
      return "entryStateRejected";
    case EntryState::entryStateDone:
      return "entryStateDone";
    case EntryState::entryStateFailed:
      return "entryStateFailed";
    case EntryState::entryStateResolveFailed:
      return "entryStateResolveFailed";
  }
  return "entryState?";
}

DependencyEntryHandle::~DependencyEntryHandle() = default;

Pivot::Publisher* DependencyEntryHandle::publisher() const {
  if (!publisher_) publisher_ = std::make_unique<Pivot::Publisher>();
  return publisher_.get();
}

void DependencyEntryHandle::entryStateChange(EntryState state) {
  EntryState const old = std::exchange(entryState_, state);
  handleEntryState();
  if (publisher_) publisher_->publish(kFieldEntryState, nullptr, &old);
}

SwTableBase::EntryHandle::~EntryHandle() = default;
void SwTableBase::EntryHandle::handleEntryState() {}
std::uint32_t SwTableBase::EntryHandle::hwIndexForDependentField(Pivot::FieldId) const {
  return 0xFFFFFFFF;
}
void SwTableBase::EntryHandle::handleIndexSuggestions() {}

SwTableBase::~SwTableBase() = default;
void SwTableBase::doCreateHwTable() {}
void SwTableBase::doCreateHwTableResponse() {}

NamedSwTable::NamedSwTable(Pivot::Ptr<CanonicalTableName const> canonicalName)
    : canonicalName_(std::move(canonicalName)), name_(canonicalName_->name()) {}
NamedSwTable::~NamedSwTable() = default;
void NamedSwTable::reconcile() {}

OrderedSwTable::OrderedSwTable(Pivot::Ptr<CanonicalTableName const> name, SwTableId tableId, UnitId unitId,
                               OrderedSwTableSet* swTableSet)
    : NamedSwTable(std::move(name)), tableId_(tableId), unitId_(unitId), swTableSet_(swTableSet) {}
OrderedSwTable::~OrderedSwTable() = default;

Pivot::Ptr<SwTableStats> const& OrderedSwTable::statsIs() {
  if (!stats_) {
    stats_ = Pivot::make<SwTableStats>();
    publisher_.publish(kFieldStats);
  }
  return stats_;
}

void OrderedSwTable::statusIs(Pivot::Ptr<OrderedSwTableStatus> const& status) {
  if (status == status_) return;
  Pivot::Ptr<OrderedSwTableStatus> const old = std::exchange(status_, status);
  publisher_.publish(kFieldStatus, nullptr, &old);
}

OrderedSwTable::EntryHandle::~EntryHandle() = default;
TableVersion OrderedSwTable::EntryHandle::entryTableVersion() const {
  return {tableId(), logVersion_};
}

OrderedSwTableWithMarkSweep::~OrderedSwTableWithMarkSweep() = default;

ResolverEntry::ResolverEntry(Pivot::Ptr<DependencyEntryHandle const> dependantEntryHandle, EntryFlags flags)
    : dependantEntryHandle_(std::move(dependantEntryHandle)), flags_(flags) {}
ResolverEntry::~ResolverEntry() = default;

EntryLogBase::EntryLogBase(SwTableId tableId, Pivot::Ptr<Statehub::EntityManager> entityManager,
                           Pivot::Ptr<GroupInterface> groupInterface, Pivot::String agentName)
    : tableId_(tableId),
      entityManager_(std::move(entityManager)),
      groupInterface_(std::move(groupInterface)),
      agentName_(std::move(agentName)) {
  if (groupInterface_) groupInterface_->entryLogIs(*this);
}
EntryLogBase::~EntryLogBase() {
  if (groupInterface_) groupInterface_->entryLogDel(*this);
}

TableInterfaceBase::TableInterfaceBase(Pivot::Ptr<OrderedTableInterface> orderedTableIntf)
    : orderedTableIntf_(std::move(orderedTableIntf)) {
  VEX_ASSERT(orderedTableIntf_ != nullptr, "orderedTableIntf");
}
TableInterfaceBase::~TableInterfaceBase() = default;

}  // namespace Asic
