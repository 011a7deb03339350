#include "tools/agent/operations/RestartAnswers.h"

#include "agent/RestartPlans.h"
#include "tools/agent/operations/Target.h"

namespace Inlif {
namespace {

using namespace LoamAgent;

// Goes through units by a walk of the agent's, and ends with its end.
template <class Walk>
class UnitsAnswer : public SteppedAnswer {
 public:
  UnitsAnswer(Asker asker, Host& host, Restart& restart)
      : SteppedAnswer(std::move(asker)), restart_(restart), walk_(host) {}

 protected:
  // All of a unit has been looked at.
  virtual void looked(Walk const& walk) = 0;
  virtual bool ended() = 0;

  Restart& restart_;

 private:
  bool turn() override {
    do {
      PlanStep const step = walk_.step();
      if (step == PlanStep::end) return ended();
      if (step == PlanStep::unit) looked(walk_);
    } while (!sliceIsOver());
    return false;
  }

  Walk walk_;
};

// Null when the entries cannot be read.
Json entriesOf(UnservedWalk const& walk) {
  auto const entries = walk.entries();
  return entries ? Json(*entries) : Json(nullptr);
}

class SweepPlan final : public UnitsAnswer<SweepPlanWalk> {
 public:
  using UnitsAnswer::UnitsAnswer;

 private:
  void looked(SweepPlanWalk const& walk) override {
    units_.push_back(placeJson(walk.place()));
    TableFront::SweepPlan const& plan = walk.plan();
    units_.back().update({{"removed", plan.go}, {"kept", plan.stay}, {"sample", plan.sample}});
  }
  bool ended() override {
    return complete({{"units", std::move(units_)}, {"waitingFor", restart_.clients().withoutReplay()}});
  }

  Json units_ = Json::array();
};

class ReconcilePlan final : public UnitsAnswer<UnservedWalk> {
 public:
  using UnitsAnswer::UnitsAnswer;

 private:
  void looked(UnservedWalk const& walk) override {
    units_.push_back(placeJson(walk.place()));
    units_.back()["entries"] = entriesOf(walk);
  }
  bool ended() override {
    return complete({{"units", std::move(units_)}, {"waitingFor", restart_.clients().withoutUnits()}});
  }

  Json units_ = Json::array();
};

// One that cannot be mounted holds up no other, and stays unserved.
class Reconcile final : public UnitsAnswer<UnservedWalk> {
 public:
  using UnitsAnswer::UnitsAnswer;

 private:
  void looked(UnservedWalk const& walk) override {
    Json one = placeJson(walk.place());
    Pivot::Status const status = restart_.reconcileUnit(walk.place());
    if (status.isOk())
      one["entries"] = entriesOf(walk);
    else
      one["refused"] = status.message();
    (status.isOk() ? cleared_ : notCleared_).push_back(std::move(one));
  }
  bool ended() override {
    restart_.reconcileRest();
    return complete({{"cleared", std::move(cleared_)}, {"notCleared", std::move(notCleared_)}});
  }

  Json cleared_ = Json::array();
  Json notCleared_ = Json::array();
};

}  // namespace

Json clientsJson(RestartClients const& clients) {
  Json all = Json::array();
  for (auto const& [name, client] : clients.all()) {
    all.push_back({{"name", name},
                   {"registered", client.registered},
                   {"unitsMade", client.unitsMade},
                   {"replayed", client.replayed}});
  }
  return all;
}

std::unique_ptr<SteppedAnswer> sweepPlanAnswer(Asker asker, Host& host, Restart& restart) {
  return std::make_unique<SweepPlan>(std::move(asker), host, restart);
}

std::unique_ptr<SteppedAnswer> reconcilePlanAnswer(Asker asker, Host& host, Restart& restart) {
  return std::make_unique<ReconcilePlan>(std::move(asker), host, restart);
}

std::unique_ptr<SteppedAnswer> reconcileAnswer(Asker asker, Host& host, Restart& restart) {
  return std::make_unique<Reconcile>(std::move(asker), host, restart);
}

}  // namespace Inlif
