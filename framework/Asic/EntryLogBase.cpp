#include "Asic/EntryLogBase.h"

#include <utility>

#include "Asic/GroupInterface.h"
#include "Statehub/EntityManager.h"

namespace Asic {

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

}  // namespace Asic
