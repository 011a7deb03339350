#include "tools/torture/Torture.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <thread>

#include "LoamTunnelNiLib/InLifImage.h"
#include "Shoal/CollectionAudit.h"
#include "tools/demo/RunDirectory.h"
#include "tools/json/EntryJson.h"

namespace Inlif {
namespace {

constexpr char const* kTortureClient = "torture";
// Small enough for a cycle of a fraction of a second, large enough that each step lasts some milliseconds.
constexpr std::uint32_t kEntries = 240;
constexpr std::uint32_t kUnits = 3;
constexpr std::uint32_t kPorts = 4;
constexpr std::uint64_t kMostSteered = 40;
// One write in so many is refused, where the hardware is to make trouble.
constexpr char const* kFaults = "20";
// A step takes about so long before it was ever measured.
constexpr double kFirstGuess = 30'000;

// Resources whose value may change under the entries that use them, and the highest value of each. The shared
// ones come first: one change of them publishes an entry after the other, with nothing in between, so that
// most kills there fall into a publication.
struct Steered {
  char const* key;
  std::uint64_t most;
};
constexpr Steered kSteered[] = {{"vlanEditProfileKey", 255},
                                {"qosProfileKey", 255},
                                {"learnEnableVlanKey", 1},
                                {"inLifDataKey", 1'000'000},
                                {"l3CounterRequestKey", 1'000'000}};

constexpr Place kWorkPlaces[] = {Place::work, Place::work, Place::resources, Place::resources,
                                 Place::cleanUp};
constexpr Place kRecoveryPlaces[] = {Place::launch, Place::units, Place::replay, Place::sweep,
                                     Place::reconcile};

}  // namespace

char const* nameOf(Place place) {
  constexpr char const* kNames[] = {"launch",    "units", "replay",    "sweep",
                                    "reconcile", "work",  "resources", "clean-up"};
  return kNames[static_cast<std::size_t>(place)];
}

char const* nameOf(Victim victim) {
  constexpr char const* kNames[] = {"agent", "writer", "both"};
  return kNames[static_cast<std::size_t>(victim)];
}

Torture::Torture(std::string directory, std::uint64_t seed, std::uint64_t coldEvery, Trouble trouble)
    : directory_(std::move(directory)),
      seed_(seed),
      coldEvery_(coldEvery),
      space_(trouble.space),
      stage_(directory_, repairTraces(),
             trouble.refusals ? std::vector<std::string>{"--faults", kFaults} : std::vector<std::string>{}),
      damages_(trouble.damage),
      refusals_(trouble.refusals),
      damage_(stage_.store(), directory_ + "/copies"),
      repairs_({directory_ + "/agent.log", directory_ + "/writer.log"}, trouble.space != nullptr,
               trouble.refusals) {
  shape_.entries = kEntries;
  shape_.units = kUnits;
  shape_.portsPerUnit = kPorts;
  allUnits_ = served_ = unitsOf(shape_);
  microseconds_.fill(kFirstGuess);
  if (refusals_) postMortem_.mayRebuild();
  stage_.reviveWriter([this] {
    if (damages_ && oneIn(4)) strikeUnderAgent();
  });
}

Pivot::Status Torture::open() {
  Pivot::Status status = stage_.nameStore();
  if (status.isOk()) status = recover();
  return status.isOk() ? rest() : status;
}

Pivot::Status Torture::close() {
  endLife();
  return stage_.close();
}

// --- kills ---

Victim Torture::anyVictim() {
  std::uint64_t const share = below(10);
  return share < 5 ? Victim::agent : share < 7 ? Victim::writer : Victim::both;
}

void Torture::planKills() {
  plan_ = {{kWorkPlaces[below(std::size(kWorkPlaces))], anyVictim()}};
  // Whether they come to pass depends on whether the agent dies of the first.
  for (std::uint64_t more = below(4); more > 1; --more)
    plan_.push_back({kRecoveryPlaces[below(std::size(kRecoveryPlaces))], anyVictim()});
  plan_.push_back({kRecoveryPlaces[below(std::size(kRecoveryPlaces))], anyVictim()});
}

// Half of the kills fall anywhere in the step, half near its beginning, where the short windows are.
void Torture::arm(Place place, Victim victim) {
  double const most = 1.2 * microseconds_[static_cast<std::size_t>(place)];
  double const share = static_cast<double>(below(1U << 20)) / (1U << 20);
  double const delay = oneIn(2) ? most * share : std::pow(most, share);
  std::vector<int> victims;
  if (victim != Victim::writer) victims.push_back(stage_.agent().descriptor());
  if (victim != Victim::agent) victims.push_back(stage_.writer().descriptor());
  victim_ = victim;
  killer_.arm(std::chrono::microseconds(static_cast<long>(delay)), victims);
}

void Torture::countKill() {
  if (killer_.disarm())
    ++figures_.kills[static_cast<std::size_t>(killer_.placeOfKill())][static_cast<std::size_t>(victim_)];
}

template <class F>
Pivot::Status Torture::step(Place place, F f) {
  killer_.placeIs(static_cast<int>(place));
  auto const planned = std::ranges::find(plan_, place, &Kill::place);
  if (planned != plan_.end()) {
    countKill();
    arm(place, planned->victim);
    plan_.erase(planned);
  }
  auto const begin = std::chrono::steady_clock::now();
  Pivot::Status status = f();
  double const took =
      std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
  double& average = microseconds_[static_cast<std::size_t>(place)];
  if (status.isOk()) average = 0.5 * average + 0.5 * took;
  return status;
}

// --- the steps ---

Pivot::Status Torture::work() {
  shape_.seed = static_cast<std::uint32_t>(random_());
  ++shape_.generation;
  Workload const workload(shape_);
  Drive& drive = life_->drive();
  if (space_ != nullptr) drive.compareEndsWith(&reports_);
  Pivot::Status status = step(
      Place::work, [&] { return tight([&] { return drive.runAll(life_->served(workload.operations())); }); });
  return status.isOk() ? askAgain() : status;
}

// Changes of resources that wanted entries use.
std::vector<Json> Torture::steerings(std::uint64_t count) {
  std::vector<Json> operations;
  std::vector<Json> const writes = wants_.writes();
  for (; count > 0 && !writes.empty(); --count) {
    Json const& write = writes[below(writes.size())];
    Steered const& steered = kSteered[below(std::size(kSteered))];
    if (!write.contains(steered.key) || Workload::mustFail(write)) continue;
    operations.push_back({{"op", "resource"},
                          {"resource", steered.key},
                          {"key", write[steered.key]},
                          {"value", below(steered.most + 1)}});
  }
  return operations;
}

// A storm of changes, of which only the last one is waited for.
Pivot::Status Torture::steerResources() {
  std::vector<Json> operations = steerings(wants_.size() == 0 ? 0 : below(kMostSteered));
  if (operations.empty()) return Pivot::Status::ok();
  return step(Place::resources, [&] {
    Json const last = std::move(operations.back());
    operations.pop_back();
    for (Json const& operation : operations) life_->drive().send(operation);
    Json answer;
    return life_->drive().ask(last, answer);
  });
}

void Torture::newLife() {
  life_ = std::make_unique<Life>(stage_, wants_, kTortureClient, served_);
  tellsOfLosses_ = struck_;
  ++figures_.agentStarts;
}

// Takes over what a life has come to, whether it goes on or not.
void Torture::endLife() {
  LifeFigures const& life = life_->figures();
  figures_.restored += life.restored;
  figures_.rewritten += life.rewritten;
  figures_.identical += life.identical;
  figures_.swept += life.swept;
  figures_.cleared += life.cleared;
  figures_.secondsToServe += life.secondsToServe;
  if (life_->connected()) figures_.operations += life_->drive().ended().size();
}

// From the start of what does not run until nothing is left of what nobody wants. A unit that finds no room in a
// store that is full is made, or cleared, when there is some.
Pivot::Status Torture::recover() {
  newLife();
  bool const reconcileFirst = oneIn(3);
  auto const reconcile = [&] {
    return step(Place::reconcile, [&] {
      Pivot::Status status = tight([&] { return life_->reconcile(); });
      return status.isOk() || space_ == nullptr ? status : life_->reconcile();
    });
  };
  Pivot::Status status = life_->start();
  if (status.isOk()) status = step(Place::launch, [&] { return life_->connect(); });
  if (status.isOk() && space_ != nullptr) life_->drive().mayFail();
  if (status.isOk())
    status = step(Place::units, [&] { return life_->makeUnits(Workload(shape_).preparation()); });
  if (status.isOk() && reconcileFirst) status = reconcile();
  if (status.isOk()) status = step(Place::replay, [&] { return tight([&] { return life_->writeAgain(); }); });
  if (status.isOk()) status = askAgain();
  if (status.isOk()) status = step(Place::sweep, [&] { return tight([&] { return life_->sweep(); }); });
  if (status.isOk() && !reconcileFirst) status = reconcile();
  return status;
}

Pivot::Status Torture::rest() {
  return step(Place::cleanUp, [&] { return life_->drive().rest(); });
}

void Torture::changeMind() {
  if (oneIn(2)) wants_.forget(random_, 10);
  if (oneIn(2)) wants_.change(random_, 10);
  served_ = allUnits_;
  if (!oneIn(3)) return;
  auto gone = served_.begin();
  std::advance(gone, static_cast<std::ptrdiff_t>(below(served_.size())));
  wants_.forgetUnit(gone->first, gone->second);
  served_.erase(gone);
}

// --- a store that is full ---

template <class F>
Pivot::Status Torture::tight(F f) {
  if (space_ == nullptr) return f();
  space_->flow(random_());
  Pivot::Status status = f();
  space_->calm();
  return status;
}

// After a step that was refused: the agent has died of a kill, or something is wrong. Examines what it left.
Pivot::Status Torture::bury(Pivot::Status const& why) {
  countKill();
  for (int i = 0; i < 200 && stage_.agent().running(); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  if (stage_.agent().running() || !stage_.agent().killed()) return found({why.message()});
  if (!stage_.writer().running() && !stage_.writer().killed()) return found({stage_.writer().end()});
  if (life_->connected()) {
    if (!struck_) postMortem_.acknowledged(life_->drive().ended());
    if (Pivot::Status status = surprises(); !status.isOk()) return status;
  }
  endLife();
  if (!struck_) {
    // A writer that lives would change the store under the examination.
    stage_.writer().freeze(true);
    postMortem_.examine(false);
    stage_.writer().freeze(false);
  }
  if (Pivot::Status status = found(postMortem_.problems()); !status.isOk()) return status;
  changeMind();
  if (damages_ && oneIn(3)) strikeBetweenLives();
  return Pivot::Status::ok();
}

// --- a cycle ---

// Lets everything come to rest, through all the deaths that fall into it.
Pivot::Status Torture::settle(Pivot::Status status) {
  for (;;) {
    if (status.isOk()) status = rest();
    // A kill that is late falls into the rest.
    if (status.isOk()) {
      killer_.await();
      countKill();
      status = stage_.check();
    }
    if (status.isOk()) status = life_->drive().rest();
    if (status.isOk()) return status;
    status = bury(status);
    if (!status.isOk()) return status;
    status = recover();
  }
}

Pivot::Status Torture::cycle() {
  random_.seed(seed_ * 1'000'003 + figures_.cycles);
  strikes_.clear();
  planKills();
  Pivot::Status status = work();
  if (damages_ && status.isOk() && oneIn(2)) keepCopy();
  if (status.isOk()) status = steerResources();
  if (status.isOk() && space_ != nullptr) {
    status = step(Place::resources, [&] { return drought(); });
    if (status.isOk()) status = askAgain();
  }
  status = settle(status);
  while (damages_ && status.isOk() && (!struck_ || struckUnder_)) status = strikeAtRest();
  if (damages_ && status.isOk()) status = throughTheWriter();
  if (status.isOk() && !struck_) postMortem_.acknowledged(life_->drive().ended());
  if (status.isOk()) status = surprises();
  if (status.isOk()) status = compareWarm();
  ++figures_.cycles;
  if (space_ != nullptr) figures_.timesFull = space_->times();
  if (status.isOk() && coldEvery_ > 0 && figures_.cycles % coldEvery_ == 0) status = compareCold();
  return status;
}

// After a reset of the hardware a table is rebuilt, although everything of it was reported before.
Pivot::Status Torture::awaitImages() {
  for (TableInfo const& table : tables()) {
    for (int i = 0;; ++i) {
      auto const image = Shoal::Audited<LoamTunnelNiLib::InLifImageEntry>::of(
          {table.imagePath, 0, LoamTunnelNiLib::InLifImage::kMaxEntries,
           VexSharedMem::StoreRoot::Role::writer});
      if (!image.report.wiped) break;
      if (i == 1000) return found({fmt::format("the image of {} does not become complete", table.name)});
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }
  return Pivot::Status::ok();
}

Pivot::Status Torture::compareWarm() {
  endStrikes();
  if (refusals_) {
    if (Pivot::Status status = awaitImages(); !status.isOk()) return status;
  }
  stage_.writer().freeze(true);
  postMortem_.examine(true);
  stage_.writer().freeze(false);
  std::vector<std::string> problems = postMortem_.problems();
  repairs_.read();
  if (!damages_) std::ranges::copy(repairs_.repairs().losses, std::back_inserter(problems));
  ComparisonResult const result = compareAll(wants_.wishes());
  std::ranges::copy(result.examples, std::back_inserter(problems));
  figures_.compared += result.stored;
  figures_.refused += result.refused;
  return found(problems);
}

// A fresh agent and a fresh writer are given the same wishes.
Pivot::Status Torture::compareCold() {
  RunDirectory directory;
  std::string const path = directory_ + "/cold";
  Pivot::Status status = directory.open(path, "");
  Stage cold(path);
  Wants wants;
  if (status.isOk()) status = cold.open();
  if (status.isOk()) {
    Life life(cold, wants, kTortureClient, served_);
    status = life.connect();
    if (status.isOk()) status = life.makeUnits(Workload(shape_).preparation());
    if (status.isOk()) status = life.drive().runAll(wants_.writes());
    if (status.isOk()) status = life.drive().rest();
  }
  if (status.isOk()) status = found(compareAll(wants_.wishes()).examples);
  Pivot::Status const closed = cold.close();
  if (status.isOk()) status = closed;
  if (!status.isOk()) return found({fmt::format("cold agent: {}", status.message())});
  ++figures_.coldAgents;
  std::error_code none;
  std::filesystem::remove_all(path, none);
  return stage_.nameStore();
}

Pivot::Status Torture::found(std::vector<std::string> const& problems) {
  std::ranges::copy(problems, std::back_inserter(findings_));
  return findings_.empty() ? Pivot::Status::ok() : Pivot::Status::refused(findings_.front());
}

}  // namespace Inlif
