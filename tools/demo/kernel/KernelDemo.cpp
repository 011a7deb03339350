#include "tools/demo/kernel/KernelDemo.h"

#include <fmt/format.h>

#include <algorithm>

#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/SteadyReader.h"
#include "hardware/kernel/KernelMaps.h"
#include "tools/demo/Killer.h"
#include "tools/demo/Life.h"
#include "tools/demo/RunDirectory.h"
#include "tools/demo/kernel/DemoInterfaces.h"
#include "tools/demo/kernel/FrameAccount.h"
#include "tools/demo/kernel/OwnNetwork.h"
#include "tools/kernel/KernelTarget.h"

namespace Inlif {
namespace {

using Pivot::Status;

constexpr char const* kUplink = "up";
constexpr char const* kBehind = "behind";
constexpr std::uint64_t kLeastFrameRate = 1000, kMostFrameRate = 50'000;
constexpr std::size_t kKilledIn = 4;
constexpr std::size_t kMostExamples = 10;
constexpr unsigned kRoundsBetween = 6;

// What happened first is what counts.
void keepFirst(Status& status, Status next) {
  if (status.isOk()) status = std::move(next);
}

std::string portInterface(std::size_t port) {
  return fmt::format("port{}", port);
}

std::string hostInterface(std::size_t port) {
  return fmt::format("host{}", port);
}

std::vector<OwnNetwork::Pair> pairs() {
  std::vector<OwnNetwork::Pair> pairs{{kUplink, kBehind}};
  for (std::size_t port = 0; port < kDemoPorts; ++port)
    pairs.push_back({portInterface(port), hostInterface(port)});
  return pairs;
}

std::vector<std::string> writerArguments(std::string const& pins) {
  std::vector<std::string> arguments{"--hardware", "kernel", "--pins", pins};
  for (std::size_t port = 0; port < kDemoPorts; ++port) {
    arguments.push_back("--port");
    arguments.push_back(fmt::format("{}={}:{}", demoPort(port).name(), portInterface(port), kUplink));
  }
  return arguments;
}

class KernelDemo {
 public:
  KernelDemo(Stage& stage, OwnNetwork& network, std::uint32_t rate)
      : stage_(stage),
        network_(network),
        rate_(rate),
        interfaces_(demoInterfaces()),
        changed_(interfaces_.size()) {}

  Status run();
  Status judge(std::string const& pins);
  void print(bool json) const;

 private:
  Status begin();
  Status startStream();
  Status qosProfileOf(DemoInterface const& one, std::uint8_t& profile) const;
  Status treatmentOf(std::size_t interface, Treatment& treatment) const;
  Status changeEach(bool isChanged, bool killsWriter);
  Status changeWhileAway();
  Status comeBack();
  Status noteChange(std::size_t interface, FrameAccount::Time asked, FrameAccount::Time acknowledged);
  Status kernelAgrees(std::string const& pins);
  Json figures() const;

  Stage& stage_;
  OwnNetwork& network_;
  std::uint32_t const rate_;
  std::vector<DemoInterface> const interfaces_;
  std::vector<bool> changed_;  // as each stands now
  Wants wants_;
  std::set<UnitPlace> units_{{0, kConfigUnit}, {1, kConfigUnit}, {2, kConfigUnit}};
  std::unique_ptr<Life> life_;
  std::unique_ptr<FrameStream> stream_;
  std::unique_ptr<FrameAccount> account_;
  FrameVerdict verdict_;
  std::size_t agentKills_ = 0, writerKills_ = 0, swept_ = 0;
  std::size_t inKernel_ = 0, miscounted_ = 0, learned_ = 0;
  std::vector<std::string> differences_;
};

// A life of the agent, up to where its client has said that the units are made.
Status KernelDemo::begin() {
  life_ = std::make_unique<Life>(stage_, wants_, kDemoClient, units_);
  Status status = life_->start();
  if (status.isOk()) status = life_->connect();
  std::vector<Json> preparation;
  for (auto const& [table, unit] : units_)
    preparation.push_back({{"op", "unit"}, {"table", tables()[table].name}, {"unit", unit}});
  return status.isOk() ? life_->makeUnits(preparation) : status;
}

Status KernelDemo::qosProfileOf(DemoInterface const& one, std::uint8_t& profile) const {
  Shoal::SteadyReader<LoamTunnelNiLib::InLifModelConfigShoalEntry> config(
      tables()[one.wanted.place.table].configPath(kConfigUnit));
  LoamTunnelNiLib::InLifModelConfigShoalEntry record;
  auto const key = LoamTunnelNiLib::InLifModelEntryKey(one.wanted.place.key);
  if (!config.ready() || config.lookup(key, record) != Shoal::Read::found)
    return Status::refused(fmt::format("{} is not in the store: {}", one.wanted.name(), config.problem()));
  profile = record.tableEntry.qosProfile;
  return Status::ok();
}

Status KernelDemo::treatmentOf(std::size_t interface, Treatment& treatment) const {
  DemoInterface const& one = interfaces_[interface];
  std::uint8_t profile = 0;
  bool const isGone = changed_[interface] && one.change == Change::removed;
  Status status = isGone ? Status::ok() : qosProfileOf(one, profile);
  treatment = one.treatment(changed_[interface], profile);
  return status;
}

Status KernelDemo::startStream() {
  std::vector<Treatment> standing;
  std::vector<FrameStream::Source> sources;
  Status status = Status::ok();
  for (std::size_t i = 0; i < interfaces_.size() && status.isOk(); ++i) {
    status = treatmentOf(i, standing.emplace_back());
    sources.push_back(interfaces_[i].source());
  }
  std::vector<int> hosts(kDemoPorts, -1);
  int behind = -1;
  for (std::size_t port = 0; port < kDemoPorts && status.isOk(); ++port)
    status = network_.hostSocket(hostInterface(port), hosts[port]);
  if (status.isOk()) status = network_.hostSocket(kBehind, behind);
  account_ = std::make_unique<FrameAccount>(standing);
  stream_ = std::make_unique<FrameStream>(std::move(sources), std::move(hosts), behind, rate_);
  return status.isOk() ? stream_->start() : status;
}

Status KernelDemo::noteChange(std::size_t interface, FrameAccount::Time asked,
                              FrameAccount::Time acknowledged) {
  Treatment treatment;
  Status status = treatmentOf(interface, treatment);
  account_->change(interface, asked, acknowledged, treatment);
  return status;
}

// Changes the interfaces that are changed, or puts them back, one after the other, each until it is acknowledged.
Status KernelDemo::changeEach(bool isChanged, bool killsWriter) {
  Killer killer;
  std::size_t count = 0;
  Status status = Status::ok();
  for (std::size_t i = 0; i < interfaces_.size() && status.isOk(); ++i) {
    if (interfaces_[i].change == Change::none || changed_[i] == isChanged) continue;
    // The later ones of these kills fall when the change has been acknowledged, and are called off.
    if (killsWriter && ++count % kKilledIn == 0)
      killer.arm(std::chrono::microseconds(100 * count), {stage_.writer().descriptor()});
    auto const asked = FrameStream::now();
    status = life_->drive().runAll({interfaces_[i].operation(isChanged)});
    auto const acknowledged = FrameStream::now();
    if (killer.disarm()) ++writerKills_;
    if (status.isOk()) status = stage_.check();
    changed_[i] = isChanged;
    if (status.isOk()) status = noteChange(i, asked, acknowledged);
  }
  return status;
}

// Comes up again with what the client wants by now; what it does not want any more is swept.
Status KernelDemo::comeBack() {
  Status status = begin();
  if (status.isOk()) status = life_->writeAgain();
  if (status.isOk()) status = life_->sweep();
  if (status.isOk()) status = life_->drive().rest();
  swept_ += life_->figures().swept;
  return status;
}

// The agent is killed, its client changes its mind meanwhile, and the writer is killed as well.
Status KernelDemo::changeWhileAway() {
  auto const asked = FrameStream::now();
  stage_.killAgent();
  ++agentKills_;
  std::vector<std::size_t> changes;
  for (std::size_t i = 0; i < interfaces_.size(); ++i) {
    if (interfaces_[i].change == Change::none) continue;
    changed_[i] = !changed_[i];
    wants_.take(interfaces_[i].operation(changed_[i]));
    changes.push_back(i);
  }
  stream_->rounds(2);
  stage_.writer().kill();
  ++writerKills_;
  stream_->rounds(2);
  Status status = comeBack();
  auto const acknowledged = FrameStream::now();
  for (std::size_t const i : changes)
    if (status.isOk()) status = noteChange(i, asked, acknowledged);
  return status;
}

Status KernelDemo::run() {
  Status status = begin();
  if (status.isOk()) status = life_->sweep();  // nothing was written before it
  std::vector<Json> writes;
  for (DemoInterface const& one : interfaces_) writes.push_back(one.operation(false));
  if (status.isOk()) status = life_->drive().runAll(writes);
  if (status.isOk()) status = startStream();
  auto const go = [&](auto const& step) {
    if (!status.isOk()) return;
    status = step();
    stream_->rounds(kRoundsBetween);
  };
  go([&] { return Status::ok(); });
  for (int i = 0; i < 3; ++i) {
    go([&] { return ++writerKills_, stage_.restartWriter(); });
  }
  go([&] { return changeEach(true, false); });
  go([&] { return changeEach(false, true); });
  go([&] { return changeWhileAway(); });
  go([&] { return changeWhileAway(); });
  go([&] { return changeEach(true, true); });
  go([&] { return life_->drive().rest(); });
  if (stream_) stream_->stop();
  if (status.isOk() && !life_->drive().surprises().empty())
    status =
        Status::refused("an operation ended otherwise than it should: " + life_->drive().surprises().front());
  return status;
}

// Holds the kernel's maps against the image, and its counters against what was sent.
Status KernelDemo::kernelAgrees(std::string const& pins) {
  LoamHardware::KernelMaps maps;
  Status status = maps.open(pins);
  std::vector<CheckFinding> findings;
  if (status.isOk()) status = comparePinned(pins, inKernel_, findings);
  for (CheckFinding const& finding : findings) differences_.push_back(finding.text());
  if (!status.isOk()) return status;
  for (std::size_t i = 0; i < interfaces_.size(); ++i) {
    EntryPlace const place = interfaces_[i].wanted.place;
    InlifCounter const counter =
        maps.counter({static_cast<std::uint16_t>(place.table), kConfigUnit, place.key});
    if (account_->isChanged(i) || counter.frames == verdict_.sentOf[i]) continue;
    ++miscounted_;
    differences_.push_back(fmt::format("{} has counted {} frames of {}", interfaces_[i].wanted.name(),
                                       counter.frames, verdict_.sentOf[i]));
  }
  learned_ = maps.learned().size();
  return status;
}

Status KernelDemo::judge(std::string const& pins) {
  verdict_ = account_->judge(stream_->records());
  Status status = kernelAgrees(pins);
  ComparisonResult const compared = compareAll(wants_.wishes());
  differences_.insert(differences_.end(), compared.examples.begin(), compared.examples.end());
  if (!status.isOk()) return status;
  if (!verdict_.holds())
    return Status::refused(
        fmt::format("{} frames were lost or treated wrongly, and {} changes were never seen; first: {}",
                    verdict_.lostOrWrong(), verdict_.neverAnew,
                    verdict_.examples.empty() ? "none" : verdict_.examples.front()));
  if (!differences_.empty())
    return Status::refused(fmt::format("{} differences between client, store, image and kernel; first: {}",
                                       std::max(differences_.size(), compared.differences),
                                       differences_.front()));
  return status;
}

double atShare(std::vector<double> const& sorted, double share) {
  return sorted.empty() ? 0
                        : sorted[static_cast<std::size_t>(static_cast<double>(sorted.size() - 1) * share)];
}

Json countsJson(FrameCounts const& counts) {
  return {{"interfaces", counts.interfaces}, {"sent", counts.sent}, {"delivered", counts.delivered},
          {"dropped", counts.dropped},       {"lost", counts.lost}, {"wrong", counts.wrong}};
}

Json KernelDemo::figures() const {
  return {{"framesPerSecond", rate_},
          {"agentKills", agentKills_},
          {"writerKills", writerKills_},
          {"swept", swept_},
          {"framesOfUnchanged", countsJson(verdict_.unchanged)},
          {"framesOfChanged", countsJson(verdict_.changed)},
          {"changes", verdict_.delays.size()},
          {"changesNeverSeen", verdict_.neverAnew},
          {"anewAfterAcknowledgementMs",
           {{"least", atShare(verdict_.delays, 0)},
            {"median", atShare(verdict_.delays, 0.5)},
            {"most", atShare(verdict_.delays, 1)}}},
          {"entriesInKernel", inKernel_},
          {"addressesLearned", learned_},
          {"countersOff", miscounted_},
          {"differences", differences_}};
}

void KernelDemo::print(bool json) const {
  if (json) return fmt::print("{}\n", jsonText(figures()));
  printRow("logical interfaces", fmt::format("{} on {} ports", interfaces_.size(), kDemoPorts));
  printRow("frames", fmt::format("{} a second, one of each interface every {:.0f} ms", rate_,
                                 1e3 * static_cast<double>(interfaces_.size()) / rate_));
  printRow("killed", fmt::format("the agent {} times, the writer {} times", agentKills_, writerKills_));
  printRow("swept", fmt::format("{} interfaces that nobody wrote again", swept_));
  fmt::print("\n{:<24}{:>10}{:>10}{:>11}{:>10}{:>8}{:>8}\n", "", "interfaces", "sent", "delivered", "dropped",
             "lost", "wrong");
  for (auto const& [name, counts] :
       {std::pair{"interfaces unchanged", &verdict_.unchanged}, {"interfaces changed", &verdict_.changed}})
    fmt::print("{:<24}{:>10}{:>10}{:>11}{:>10}{:>8}{:>8}\n", name, counts->interfaces, counts->sent,
               counts->delivered, counts->dropped, counts->lost, counts->wrong);
  fmt::print("\n");
  printRow("changes", fmt::format("{}, from the acknowledgement to the first frame treated anew:",
                                  verdict_.delays.size()));
  printRow("", fmt::format("least {:.1f} ms, median {:.1f} ms, most {:.1f} ms", atShare(verdict_.delays, 0),
                           atShare(verdict_.delays, 0.5), atShare(verdict_.delays, 1)));
  printRow("in the kernel", fmt::format("{} entries, {} addresses learned, {} differences", inKernel_,
                                        learned_, differences_.size()));
  for (std::string const& example : verdict_.examples) fmt::print("  {}\n", example);
  for (std::size_t i = 0; i < std::min(differences_.size(), kMostExamples); ++i)
    fmt::print("  {}\n", differences_[i]);
}

}  // namespace

Outcome runKernelDemo(DemoOptions const& options) {
  std::uint64_t rate = 0;
  Status status = numberOption("rate", options.rate, kLeastFrameRate, kMostFrameRate, rate);
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  RunDirectory directory;
  status = directory.open(options.directory, "demo");
  OwnNetwork network;
  std::string const pins = directory.path() + "/bpf/inlif";
  if (status.isOk()) status = network.open(directory.path() + "/bpf", pairs());
  if (!status.isOk()) return Outcome::refused(Status::refused("demo: " + status.message()));
  Stage stage(directory.path(), {}, writerArguments(pins));
  KernelDemo demo(stage, network, static_cast<std::uint32_t>(rate));
  stage.reviveWriter([] {});
  status = stage.open();
  if (status.isOk()) status = demo.run();
  if (status.isOk()) {
    status = demo.judge(pins);
    demo.print(options.json);
  }
  keepFirst(status, stage.close());
  if (status.isOk()) return Outcome::done();
  directory.keep();
  printAside("{}", stage.lastWords());
  return Outcome::found(
      Status::refused(fmt::format("demo: {}; store and logs are in {}", status.message(), directory.path())));
}

}  // namespace Inlif
