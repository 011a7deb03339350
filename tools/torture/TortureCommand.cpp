#include "tools/torture/TortureCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <filesystem>

#include "tools/demo/RunDirectory.h"
#include "tools/torture/Torture.h"

namespace Inlif {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::uint64_t kMostCycles = 10'000'000;

struct TorturePlan {
  std::uint64_t cycles = 0;
  std::uint64_t seed = 0;
  std::uint64_t coldEvery = 0;
};

Pivot::Status planFrom(TortureOptions const& options, TorturePlan& plan) {
  Pivot::Status status = numberOption("cycles", options.cycles, 1, kMostCycles, plan.cycles);
  if (status.isOk()) status = numberOption("seed", options.seed, 0, UINT32_MAX, plan.seed);
  if (status.isOk()) status = numberOption("cold-every", options.coldEvery, 0, kMostCycles, plan.coldEvery);
  return status;
}

std::size_t killsOf(TortureFigures const& figures, Place place) {
  std::size_t count = 0;
  for (std::size_t kills : figures.kills[static_cast<std::size_t>(place)]) count += kills;
  return count;
}

std::size_t allKills(TortureFigures const& figures) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < kPlaces; ++i) count += killsOf(figures, static_cast<Place>(i));
  return count;
}

Pivot::Status makeStoreIn(TightSpace& space, std::string const& store) {
  std::error_code error;
  std::filesystem::create_directories(store, error);
  return error ? Pivot::Status::refused(fmt::format("{}: {}", store, error.message())) : space.open(store);
}

class TortureProgress {
 public:
  void show(Torture const& torture, std::uint64_t cycles, bool last) {
    auto const now = Clock::now();
    if (!last && now - shown_ < std::chrono::milliseconds(terminal_ ? 200 : 5000)) return;
    shown_ = now;
    TortureFigures const& figures = torture.figures();
    Repairs const& repairs = torture.repairs();
    printAside("{}{:>6} of {} cycles, {} kills, {} publications finished, {} dropped{}",
               terminal_ ? "\r" : "", figures.cycles, cycles, allKills(figures), repairs.finished,
               repairs.dropped, terminal_ && !last ? "" : "\n");
    std::fflush(stderr);
  }

 private:
  Clock::time_point shown_;
  bool terminal_ = isatty(STDERR_FILENO) == 1;
};

void printTable(Torture const& torture, double seconds) {
  TortureFigures const& figures = torture.figures();
  Repairs const& repairs = torture.repairs();
  double const starts = static_cast<double>(figures.agentStarts);
  printRow("cycles", fmt::format("{} in {:.1f} s", figures.cycles, seconds));
  for (std::size_t i = 0; i < kPlaces; ++i) {
    Place const place = static_cast<Place>(i);
    auto const& kills = figures.kills[i];
    printRow(fmt::format("killed during {}", nameOf(place)).c_str(),
             fmt::format("{:>5}: agent {}, writer {}, both {}", killsOf(figures, place), kills[0], kills[1],
                         kills[2]));
  }
  printRow("kills", fmt::format("{}", allKills(figures)));
  for (std::size_t i = 0; i < kStrikes; ++i)
    if (figures.strikes[i] != 0)
      printRow(fmt::format("struck by {}", nameOf(static_cast<Strike>(i))).c_str(),
               fmt::format("{:>5}", figures.strikes[i]));
  printRow("agent started", fmt::format("{} times, served after {:.1f} ms", figures.agentStarts,
                                        1e3 * figures.secondsToServe / starts));
  printRow("operations", fmt::format("{}", figures.operations));
  printRow("entries restored", fmt::format("{}", figures.restored));
  printRow("written again", fmt::format("{}, of which identical {}", figures.rewritten, figures.identical));
  printRow("swept, cleared", fmt::format("{}, {}", figures.swept, figures.cleared));
  printRow("repaired", fmt::format("{} publications finished, {} dropped, {} other", repairs.finished,
                                   repairs.dropped, repairs.other));
  printRow("versions seen", fmt::format("{}, each with one content", torture.versions()));
  if (figures.timesFull != 0) {
    printRow("store full", fmt::format("{} times, {} publications set aside, {} writes asked for again",
                                       figures.timesFull, figures.setAside, figures.askedAgain));
  }
  printRow("entries compared", fmt::format("{}, with {} cold agents", figures.compared, figures.coldAgents));
  if (figures.refused != 0) printRow("of these refused", fmt::format("{}", figures.refused));
}

void printJson(Torture const& torture, TorturePlan const& plan, double seconds) {
  TortureFigures const& figures = torture.figures();
  Repairs const& repairs = torture.repairs();
  Json kills = Json::object();
  for (std::size_t i = 0; i < kPlaces; ++i) {
    Json& place = kills[nameOf(static_cast<Place>(i))];
    for (std::size_t j = 0; j < kVictims; ++j) place[nameOf(static_cast<Victim>(j))] = figures.kills[i][j];
  }
  Json strikes = Json::object();
  for (std::size_t i = 0; i < kStrikes; ++i) strikes[nameOf(static_cast<Strike>(i))] = figures.strikes[i];
  Json const all = {{"equal", torture.findings().empty()},
                    {"seed", plan.seed},
                    {"cycles", figures.cycles},
                    {"durationSeconds", seconds},
                    {"kills", allKills(figures)},
                    {"killsByPlace", kills},
                    {"strikes", strikes},
                    {"agentStarts", figures.agentStarts},
                    {"operations", figures.operations},
                    {"restored", figures.restored},
                    {"writtenAgain", figures.rewritten},
                    {"suppressed", figures.identical},
                    {"swept", figures.swept},
                    {"entriesCleared", figures.cleared},
                    {"publicationsFinished", repairs.finished},
                    {"publicationsDropped", repairs.dropped},
                    {"otherRepairs", repairs.other},
                    {"versions", torture.versions()},
                    {"timesFull", figures.timesFull},
                    {"setAside", figures.setAside},
                    {"askedAgain", figures.askedAgain},
                    {"entriesCompared", figures.compared},
                    {"entriesRefused", figures.refused},
                    {"coldAgents", figures.coldAgents},
                    {"differences", torture.findings()}};
  fmt::print("{}\n", jsonText(all));
}

}  // namespace

Outcome runTorture(TortureOptions const& options) {
  TorturePlan plan;
  Pivot::Status status = planFrom(options, plan);
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  RunDirectory directory;
  status = directory.open(options.directory, "torture");
  if (!status.isOk()) return Outcome::refused(std::move(status));
  TightSpace space;
  if (options.full) {
    status = makeStoreIn(space, directory.path() + "/store");
    if (!status.isOk()) return Outcome::refused(std::move(status));
  }
  auto const begin = Clock::now();
  Torture torture(directory.path(), plan.seed, plan.coldEvery,
                  {options.full ? &space : nullptr, options.damage, options.refusals});
  TortureProgress progress;
  status = torture.open();
  while (status.isOk() && torture.figures().cycles < plan.cycles) {
    status = torture.cycle();
    progress.show(torture, plan.cycles, !status.isOk() || torture.figures().cycles == plan.cycles);
  }
  if (status.isOk()) status = torture.close();
  double const seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  if (options.json)
    printJson(torture, plan, seconds);
  else
    printTable(torture, seconds);
  if (status.isOk()) return Outcome::done();
  directory.keep();
  if (options.full) {
    space.calm();
    Pivot::Status const copied = space.copyTo(directory.path() + "/store.left");
    if (!copied.isOk()) printAside("{}\n", copied.message());
  }
  for (std::string const& strike : torture.lastStrikes()) printAside("  {}\n", strike);
  for (std::string const& finding : torture.findings()) printAside("  {}\n", finding);
  printAside("{}", torture.lastWords());
  return Outcome::found(Pivot::Status::refused(
      fmt::format("torture: cycle {}: {}; store and logs are in {}; again with: inlif torture --seed {} "
                  "--cycles {} --cold-every {}{}",
                  torture.figures().cycles + 1, status.message(), directory.path(), plan.seed,
                  torture.figures().cycles + 1, plan.coldEvery,
                  std::string(options.full ? " --full" : "") + (options.damage ? " --damage" : "") +
                      (options.refusals ? " --refusals" : ""))));
}

}  // namespace Inlif
