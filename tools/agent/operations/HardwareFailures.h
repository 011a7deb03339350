// What the hardware did not take, over the protocol: the events that tell of it, and the operations
// `failures` and `retry`.
#pragma once

#include <memory>

#include "agent/Host.h"
#include "tools/agent/operations/Outlet.h"
#include "tools/agent/operations/SteppedAnswer.h"

namespace Inlif {

// Tells every channel `hardwareFailed` and `hardwareRecovered`. Both outlive it.
class FailureEvents final : public LoamAgent::FailureObserver {
 public:
  FailureEvents(LoamAgent::Host& host, Outlet& outlet) : host_(host), outlet_(outlet) {
    host_.failures().observerAdd(this);
  }
  ~FailureEvents() override { host_.failures().observerDel(this); }
  FailureEvents(FailureEvents const&) = delete;
  FailureEvents& operator=(FailureEvents const&) = delete;

  void failed(LoamAgent::HardwareFailure const& failure) override;
  void recovered(LoamAgent::HardwareFailure const& failure) override;

 private:
  LoamAgent::Host& host_;
  Outlet& outlet_;
};

// A line for each failure, of all or of a table, unit or key. Reads the rest of the operation; null when something in it was
// refused. `host` outlives the answer.
std::unique_ptr<SteppedAnswer> failuresAnswer(Asker asker, ObjectReader& in, LoamAgent::Host& host);
// Publishes refused entries again, of all or of a table, unit, key or class. The same.
std::unique_ptr<SteppedAnswer> retryAnswer(Asker asker, ObjectReader& in, LoamAgent::Host& host);

}  // namespace Inlif
