// What operations wait for, as the operation `why` tells it; docs/json-protocol.md has the members. On the agent's one
// thread.
#pragma once

#include <memory>
#include <vector>

#include "agent/WaitReport.h"
#include "tools/json/Json.h"

namespace Inlif {

class WaitJson {
 public:
  // One operation: its name, age, how often it was asked, and under "waitsFor" each cause with what would end it.
  Json operation(LoamAgent::WaitingOperation const& operation);
  Json causes(std::vector<LoamAgent::CauseCounts::Cause> const& causes);

 private:
  Json cause(LoamAgent::WaitCause const& cause);
  Json const& head(std::shared_ptr<LoamAgent::WaitingOperation const> const& head);

  // The head that was told last: it is the same for all that stand behind it.
  std::shared_ptr<LoamAgent::WaitingOperation const> last_;
  Json lastJson_;
};

}  // namespace Inlif
