#include "agent/RestartPlans.h"

#include <algorithm>

#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/SteadyReader.h"

namespace LoamAgent {
namespace {

using LoamTunnelNiLib::InLifModelConfigShoalEntry;

}  // namespace

SweepPlanWalk::SweepPlanWalk(Host& host) : host_(host) {
  for (std::size_t table = 0; table < LoamInLif::kTables; ++table)
    for (Asic::UnitId const unit : host.front(table).units()) left_.push_back({table, unit});
  std::ranges::reverse(left_);
}

PlanStep SweepPlanWalk::step() {
  if (left_.empty()) return PlanStep::end;
  if (!walk_) walk_ = host_.front(left_.back().table).sweepWalk(left_.back().unit);
  if (walk_->step()) return PlanStep::goesOn;
  place_ = left_.back();
  plan_ = walk_->plan();
  walk_.reset();
  left_.pop_back();
  return PlanStep::unit;
}

// The live entries of a unit that has no table, a record in a step.
class UnservedWalk::Count {
 public:
  explicit Count(UnitPlace const& place)
      : config_(LoamInLif::groupInfo().tables[place.table].configPath(place.unit)),
        readable_(config_.ready()) {}

  // Returns whether there is more.
  bool step() {
    if (!readable_) return false;
    InLifModelConfigShoalEntry record;
    Shoal::Read const read = config_.next(last_ ? &*last_ : nullptr, record);
    readable_ = read == Shoal::Read::found || read == Shoal::Read::absent;
    if (read != Shoal::Read::found) return false;
    last_ = record.key();
    live_ += record.isDeleted ? 0 : 1;
    return true;
  }
  std::optional<std::uint64_t> entries() const { return readable_ ? std::optional(live_) : std::nullopt; }

 private:
  Shoal::SteadyReader<InLifModelConfigShoalEntry> config_;
  bool readable_;
  std::optional<LoamTunnelNiLib::InLifModelEntryKey> last_;
  std::uint64_t live_ = 0;
};

UnservedWalk::UnservedWalk(Host& host) : host_(host), left_(host.unserved()) {
  std::ranges::reverse(left_);
}

UnservedWalk::~UnservedWalk() = default;

PlanStep UnservedWalk::step() {
  if (left_.empty()) return PlanStep::end;
  if (!count_) count_ = std::make_unique<Count>(left_.back());
  if (count_->step()) return PlanStep::goesOn;
  place_ = left_.back();
  entries_ = count_->entries();
  count_.reset();
  left_.pop_back();
  return host_.front(place_.table).table(place_.unit) ? PlanStep::goesOn : PlanStep::unit;
}

}  // namespace LoamAgent
