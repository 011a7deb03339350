#include "tools/demo/WorkloadDemo.h"

#include <fmt/format.h>

#include <algorithm>

#include "tools/demo/DemoCommand.h"
#include "tools/demo/Killer.h"

namespace Inlif {
namespace {

constexpr UnitPlace kUnserved{1, 1};    // InLif1, unit 1
constexpr std::size_t kFirstShare = 6;  // tenths of the work before the first kill
constexpr std::uint32_t kForgottenIn = 10;
constexpr std::uint32_t kChangedIn = 20;
// Within the sweep of some thousand entries.
constexpr std::chrono::milliseconds kIntoSweep{3};
// Half of all bridged interfaces take this tag off.
Json const kSharedEdit = {{"customer", {{"action", "edit"}, {"tagsRemoved", 1}}}};
constexpr unsigned kOtherProfile = 200;

double atShare(std::vector<double>& sorted, double share) {
  if (sorted.empty()) return 0;
  std::ranges::sort(sorted);
  return sorted[static_cast<std::size_t>(static_cast<double>(sorted.size() - 1) * share)];
}

}  // namespace

WorkloadDemo::WorkloadDemo(Stage& stage, DemoPlan const& plan)
    : stage_(stage),
      workload_(plan.shape),
      random_(plan.shape.seed),
      units_(unitsOf(plan.shape)),
      operations_(workload_.operations()) {
  std::vector<std::size_t> moments;
  for (std::size_t i = 0; i < plan.writerKills; ++i) moments.push_back(random_() % operations_.size());
  std::ranges::sort(moments);
  writerKills_.assign(moments.begin(), moments.end());
}

Pivot::Status WorkloadDemo::run() {
  Pivot::Status status = firstLife();
  if (status.isOk()) status = secondLife();
  if (status.isOk()) status = thirdLife();
  if (!status.isOk()) return status;
  print();
  status = compareAndPrint(wants_.wishes(), "entries compared");
  if (status.isOk() && !surprises_.empty())
    status = Pivot::Status::refused(
        fmt::format("{} ended otherwise than they should: {}", surprises_.size(), surprises_.front()));
  return status;
}

Pivot::Status WorkloadDemo::begin() {
  life_ = std::make_unique<Life>(stage_, wants_, kDemoClient, units_);
  Pivot::Status status = life_->start();
  if (status.isOk()) status = life_->connect();
  return status.isOk() ? life_->makeUnits(workload_.preparation()) : status;
}

// Takes over what a life has come to, whether it goes on or not.
void WorkloadDemo::takeOver() {
  std::ranges::copy(life_->drive().ended(), std::back_inserter(ended_));
  std::ranges::copy(life_->drive().surprises(), std::back_inserter(surprises_));
  lives_.push_back(life_->figures());
}

void WorkloadDemo::endLife() {
  takeOver();
  life_.reset();
  stage_.killAgent();
}

// Works on until the given tenths of all operations have been sent, and kills the writer at its moments.
Pivot::Status WorkloadDemo::workUntil(std::size_t tenths) {
  auto const since = std::chrono::steady_clock::now();
  std::size_t const before = life_->drive().ended().size();
  std::size_t const begun = next_;
  std::size_t const end = operations_.size() * tenths / 10;
  life_->drive().showsProgress(true, end - begun);
  Pivot::Status status = Pivot::Status::ok();
  while (status.isOk() && !writerKills_.empty() && writerKills_.front() < end) {
    std::size_t const moment = writerKills_.front();
    writerKills_.pop_front();
    status = life_->drive().run(operations_, next_, before + (moment > begun ? moment - begun : 0));
    if (status.isOk()) status = stage_.restartWriter();
    ++killed_;
  }
  if (status.isOk()) status = life_->drive().run(operations_, next_, before + (end - begun));
  life_->drive().showProgress(true);
  life_->drive().showsProgress(false, 0);
  seconds_ += std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
  return status;
}

Pivot::Status WorkloadDemo::firstLife() {
  Pivot::Status status = begin();
  // Nothing was written before it.
  if (status.isOk()) status = life_->sweep();
  if (status.isOk()) status = workUntil(kFirstShare);
  if (status.isOk()) endLife();
  return status;
}

// Comes up again with what the client wants by now.
Pivot::Status WorkloadDemo::comeBack() {
  Pivot::Status status = begin();
  return status.isOk() ? life_->writeAgain() : status;
}

Pivot::Status WorkloadDemo::secondLife() {
  std::size_t const before = wants_.size();
  wants_.forgetUnit(kUnserved.first, kUnserved.second);
  units_.erase(kUnserved);
  wants_.forget(random_, kForgottenIn);
  forgotten_ = before - wants_.size();
  changed_ = wants_.change(random_, kChangedIn);
  Pivot::Status status = comeBack();
  if (status.isOk()) status = changeResource();
  if (!status.isOk()) return status;
  Killer killer;
  killer.arm(kIntoSweep, {stage_.agent().descriptor()});
  static_cast<void>(life_->sweep());
  killer.disarm();
  endLife();
  return status;
}

Pivot::Status WorkloadDemo::changeResource() {
  Json answer;
  Pivot::Status status = life_->records(followed_);
  std::size_t const records = followed_;
  if (status.isOk()) {
    status = life_->drive().ask({{"op", "resource"},
                                 {"resource", "vlanEditProfileKey"},
                                 {"key", kSharedEdit},
                                 {"value", kOtherProfile}},
                                answer);
  }
  if (status.isOk()) status = life_->drive().rest();
  if (status.isOk()) status = life_->records(followed_);
  followed_ -= records;
  return status;
}

Pivot::Status WorkloadDemo::thirdLife() {
  Pivot::Status status = comeBack();
  if (status.isOk()) status = life_->sweep();
  if (status.isOk()) status = life_->reconcile();
  std::vector<Json> const left(operations_.begin() + static_cast<std::ptrdiff_t>(next_), operations_.end());
  operations_ = life_->served(left);
  for (std::size_t& moment : writerKills_)
    moment = (std::max(moment, next_) - next_) * operations_.size() / std::max<std::size_t>(left.size(), 1);
  next_ = 0;
  if (status.isOk()) status = workUntil(10);
  if (status.isOk()) status = life_->drive().rest();
  if (!status.isOk()) return status;
  takeOver();
  return status;
}

void WorkloadDemo::printLife(LifeFigures const& life) const {
  printRow("  served again", fmt::format("after {:.0f} ms, with {} entries restored",
                                         1e3 * life.secondsToServe, life.restored));
  printRow("  written again",
           fmt::format("{}: {} identical at the cost of {} records, {} new or changed, {} failed, as they "
                       "should",
                       life.rewritten, life.identical,
                       life.records - (life.rewritten - life.identical - life.failed),
                       life.rewritten - life.identical - life.failed, life.failed));
}

void WorkloadDemo::print() {
  std::vector<double> seconds;
  std::size_t failed = 0;
  for (Ended const& end : ended_) {
    if (end.done && end.op == 'w') seconds.push_back(end.seconds);
    failed += end.done ? 0 : 1;
  }
  printRow("operations", fmt::format("{}", ended_.size()));
  printRow("failed, as they should", fmt::format("{}", failed));
  printRow("ended otherwise", fmt::format("{}", surprises_.size()));
  printRow("writer killed", fmt::format("{} times", killed_));
  printRow("rate", fmt::format("{:.0f} operations/s of new work",
                               static_cast<double>(workload_.operations().size()) / seconds_));
  printRow("write to acknowledgement",
           fmt::format("median {:.2f} ms, 99 % {:.2f} ms", 1e3 * atShare(seconds, 0.5),
                       1e3 * atShare(seconds, 0.99)));
  printRow("agent killed", "in the middle of its work");
  printRow("  client's mind", fmt::format("{} entries not wanted any more, {} with other contents, one unit "
                                          "not served",
                                          forgotten_, changed_));
  printLife(lives_[1]);
  printRow("  resource changed", fmt::format("{} entries follow", followed_));
  printRow("agent killed", "in its sweep");
  printLife(lives_[2]);
  printRow("  swept", fmt::format("{} entries that nobody wrote again", lives_[2].swept));
  printRow("  cleared", fmt::format("{} entries of the unit that is not served", lives_[2].cleared));
}

}  // namespace Inlif
