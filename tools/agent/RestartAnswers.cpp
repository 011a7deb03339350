#include "tools/agent/RestartAnswers.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <optional>

#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Vex/Trace.h"
#include "tools/support/SteadyReader.h"

namespace Inlif {
namespace {

using LoamTunnelNiLib::InLifModelConfigShoalEntry;

Vex::TraceHandle const reconcileTrace("Restart");

std::vector<Host::UnitPlace> served(Host& host) {
  std::vector<Host::UnitPlace> places;
  for (std::size_t table = 0; table < kTables; ++table)
    for (Asic::UnitId const unit : host.front(table).units()) places.push_back({table, unit});
  return places;
}

class SweepPlan final : public SteppedAnswer {
 public:
  SweepPlan(Asker asker, Host& host, RestartClients const& clients)
      : SteppedAnswer(std::move(asker)), host_(host), clients_(clients), left_(served(host)) {
    std::ranges::reverse(left_);
  }

 private:
  bool goOn() override {
    do {
      if (left_.empty())
        return complete({{"units", std::move(units_)}, {"waitingFor", clients_.withoutReplay()}});
      Host::UnitPlace const place = left_.back();
      if (!walk_) walk_ = host_.front(place.table).sweepWalk(place.unit);
      if (walk_->step()) continue;
      TableFront::SweepPlan const plan = walk_->plan();
      Json one = placeJson(place);
      one.update({{"go", plan.go}, {"stay", plan.stay}, {"sample", plan.sample}});
      units_.push_back(std::move(one));
      walk_.reset();
      left_.pop_back();
    } while (!sliceIsOver());
    return false;
  }

  Host& host_;
  RestartClients const& clients_;
  std::vector<Host::UnitPlace> left_;  // the present one last
  std::unique_ptr<TableFront::SweepWalk> walk_;
  Json units_ = Json::array();
};

// Counts the live entries of a unit that has no table, a record in a step.
class StoreCount {
 public:
  explicit StoreCount(Host::UnitPlace const& place)
      : config_(tables()[place.table].configPath(place.unit)), readable_(config_.ready()) {}

  // Returns whether there is more.
  bool step() {
    if (!readable_) return false;
    InLifModelConfigShoalEntry record;
    Read const read = config_.next(last_ ? &*last_ : nullptr, record);
    readable_ = read == Read::found || read == Read::absent;
    if (read != Read::found) return false;
    last_ = record.key();
    live_ += record.isDeleted ? 0 : 1;
    return true;
  }
  // Null when they cannot be read.
  Json entries() const { return readable_ ? Json(live_) : Json(nullptr); }

 private:
  SteadyReader<InLifModelConfigShoalEntry> config_;
  bool readable_;
  std::optional<LoamTunnelNiLib::InLifModelEntryKey> last_;
  std::uint64_t live_ = 0;
};

// Goes through the units that nobody has made and counts their entries.
class Unserved : public SteppedAnswer {
 protected:
  Unserved(Asker asker, Host& host, RestartClients const& clients)
      : SteppedAnswer(std::move(asker)), host_(host), clients_(clients), left_(host.unserved()) {
    std::ranges::reverse(left_);
  }

  virtual void counted(Host::UnitPlace const& place, Json entries) = 0;
  virtual bool ended() = 0;

  Host& host_;
  RestartClients const& clients_;

 private:
  bool goOn() override {
    do {
      if (left_.empty()) return ended();
      Host::UnitPlace const place = left_.back();
      if (!count_) count_ = std::make_unique<StoreCount>(place);
      if (count_->step()) continue;
      // Somebody may have made it meanwhile.
      if (!host_.front(place.table).table(place.unit)) counted(place, count_->entries());
      count_.reset();
      left_.pop_back();
    } while (!sliceIsOver());
    return false;
  }

  std::vector<Host::UnitPlace> left_;  // the present one last
  std::unique_ptr<StoreCount> count_;
};

class ReconcilePlan final : public Unserved {
 public:
  ReconcilePlan(Asker asker, Host& host, RestartClients const& clients)
      : Unserved(std::move(asker), host, clients) {}

 private:
  void counted(Host::UnitPlace const& place, Json entries) override {
    units_.push_back(placeJson(place));
    units_.back()["entries"] = std::move(entries);
  }
  bool ended() override {
    return complete({{"units", std::move(units_)}, {"waitingFor", clients_.withoutUnits()}});
  }

  Json units_ = Json::array();
};

// One that cannot be mounted holds up no other, and stays unserved.
class Reconcile final : public Unserved {
 public:
  Reconcile(Asker asker, Host& host, RestartClients const& clients)
      : Unserved(std::move(asker), host, clients) {}

 private:
  void counted(Host::UnitPlace const& place, Json entries) override {
    Json one = placeJson(place);
    Pivot::Status const status = clear(place);
    if (status.isOk()) {
      one["entries"] = std::move(entries);
      cleared_.push_back(std::move(one));
      return;
    }
    VEX_TRACE(reconcileTrace, 1, "{} unit {} is not cleared: {}", tables()[place.table].name, place.unit,
              status.message());
    one["error"] = status.message();
    failed_.push_back(std::move(one));
  }
  Pivot::Status clear(Host::UnitPlace const& place) const {
    std::vector<std::string> const waitingFor = clients_.withoutUnits();
    if (waitingFor.empty()) return host_.reconcileUnit(place);
    return Pivot::Status::refused(
        fmt::format("waits for {}, which has come meanwhile; expected each known client to "
                    "have said unitsMade",
                    fmt::join(waitingFor, ", ")));
  }
  // The reconciliation of the interfaces themselves ends it: what is left for it are units that cannot be mounted.
  bool ended() override {
    if (clients_.withoutUnits().empty()) host_.reconcile();
    return complete({{"cleared", std::move(cleared_)}, {"failed", std::move(failed_)}});
  }

  Json cleared_ = Json::array();
  Json failed_ = Json::array();
};

}  // namespace

Json placeJson(Host::UnitPlace const& place) {
  return {{"table", tables()[place.table].name}, {"unit", place.unit}};
}

std::unique_ptr<SteppedAnswer> sweepPlanAnswer(SteppedAnswer::Asker asker, Host& host,
                                               RestartClients const& clients) {
  return std::make_unique<SweepPlan>(std::move(asker), host, clients);
}

std::unique_ptr<SteppedAnswer> reconcilePlanAnswer(SteppedAnswer::Asker asker, Host& host,
                                                   RestartClients const& clients) {
  return std::make_unique<ReconcilePlan>(std::move(asker), host, clients);
}

std::unique_ptr<SteppedAnswer> reconcileAnswer(SteppedAnswer::Asker asker, Host& host,
                                               RestartClients const& clients) {
  return std::make_unique<Reconcile>(std::move(asker), host, clients);
}

}  // namespace Inlif
