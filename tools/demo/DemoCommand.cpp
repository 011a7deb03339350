#include "tools/demo/DemoCommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "tools/config/InterfaceMapping.h"
#include "tools/demo/Drive.h"

namespace Inlif {
namespace {

constexpr std::uint64_t kLeastEntries = 288;     // three interfaces on every port of every unit
constexpr std::uint64_t kMostEntries = 600'000;  // what twelve units hold, with room
constexpr std::uint64_t kMostKills = 1000;

struct DemoPlan {
  WorkloadShape shape;
  std::size_t kills = 0;
};

Pivot::Status numberOption(char const* name, std::string const& text, std::uint64_t least, std::uint64_t most,
                           std::uint64_t& out) {
  if (numberFrom(std::string_view(text), out) && out >= least && out <= most) return Pivot::Status::ok();
  return Pivot::Status::refused(
      fmt::format("--{} {}: expected a whole number from {} to {}", name, text, least, most));
}

Pivot::Status planFrom(DemoOptions const& options, DemoPlan& plan) {
  std::uint64_t entries = 0;
  std::uint64_t seed = 0;
  std::uint64_t kills = 0;
  Pivot::Status status = numberOption("entries", options.entries, kLeastEntries, kMostEntries, entries);
  if (status.isOk()) status = numberOption("seed", options.seed, 0, UINT32_MAX, seed);
  if (status.isOk()) status = numberOption("kill-writer", options.writerKills, 0, kMostKills, kills);
  plan.shape.entries = static_cast<std::uint32_t>(entries);
  plan.shape.seed = static_cast<std::uint32_t>(seed);
  plan.kills = kills;
  return status;
}

// A directory of the demo's own, removed at the end unless the demo failed or somebody asked for it.
class Directory {
 public:
  Pivot::Status open(std::string const& wanted) {
    if (!wanted.empty()) {
      path_ = wanted;
      keep_ = true;
      std::error_code error;
      std::filesystem::create_directories(path_, error);
      return error ? Pivot::Status::refused(fmt::format("--dir {}: {}; expected a directory that may be made",
                                                        wanted, error.message()))
                   : Pivot::Status::ok();
    }
    std::string path =
        (std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp") + std::string("/inlif-demo-XXXXXX");
    if (!mkdtemp(path.data()))
      return Pivot::Status::refused(fmt::format("{}: {}", path, std::strerror(errno)));
    path_ = path;
    return Pivot::Status::ok();
  }
  ~Directory() {
    std::error_code ignored;
    if (!keep_ && !path_.empty()) std::filesystem::remove_all(path_, ignored);
  }
  std::string const& path() const { return path_; }
  void keep() { keep_ = true; }

 private:
  std::string path_;
  bool keep_ = false;
};

double atShare(std::vector<double>& sorted, double share) {
  if (sorted.empty()) return 0;
  std::ranges::sort(sorted);
  return sorted[static_cast<std::size_t>(static_cast<double>(sorted.size() - 1) * share)];
}

void row(char const* name, std::string const& value) {
  fmt::print("{:<26} {}\n", name, value);
}

// Records written and writes suppressed, from the agent's own status.
Pivot::Status printAgentFigures(Stage& stage) {
  Json status;
  Pivot::Status asked = stage.client().ask({{"op", "status"}, {"id", "status"}}, status);
  if (!asked.isOk()) return asked;
  std::uint64_t records = 0;
  std::uint64_t suppressed = 0;
  for (Json const& table : status["tables"]) {
    records += table["written"].get<std::uint64_t>();
    for (Json const& unit : table["units"]) {
      if (unit.contains("statistics")) suppressed += unit["statistics"]["suppressed"].get<std::uint64_t>();
    }
  }
  row("records", fmt::format("{}", records));
  row("suppressed", fmt::format("{}", suppressed));
  return asked;
}

void printDriveFigures(DriveFigures figures) {
  row("operations", fmt::format("{}", figures.operations));
  row("failed, as they should", fmt::format("{}", figures.failed));
  row("ended otherwise", fmt::format("{}", figures.surprises));
  row("writer killed", fmt::format("{} times", figures.writerKills));
  row("rate", fmt::format("{:.0f} operations/s", static_cast<double>(figures.operations) / figures.seconds));
  row("write to acknowledgement",
      fmt::format("median {:.2f} ms, 99 % {:.2f} ms", 1e3 * atShare(figures.acknowledgeSeconds, 0.5),
                  1e3 * atShare(figures.acknowledgeSeconds, 0.99)));
}

Pivot::Status compare(Wishes const& wishes, char const* when) {
  ComparisonResult const result = compareAll(wishes);
  row(when, fmt::format("client {}, store {}, image {}: {}", result.wanted, result.stored, result.inImage,
                        result.equal() ? "equal" : fmt::format("{} differences", result.differences)));
  for (std::string const& example : result.examples) fmt::print("  {}\n", example);
  return result.equal() ? Pivot::Status::ok()
                        : Pivot::Status::refused(fmt::format("{} differences between client, store and image",
                                                             result.differences));
}

Pivot::Status runWorkload(Stage& stage, DemoPlan const& plan) {
  Workload const workload(plan.shape);
  Drive drive(stage, workload, plan.kills, plan.shape.seed);
  Pivot::Status status = drive.run();
  if (!status.isOk()) return status;
  printDriveFigures(drive.figures());
  status = printAgentFigures(stage);
  Pivot::Status const compared = compare(drive.wishes(), "entries compared");
  if (status.isOk()) status = compared;
  if (status.isOk() && drive.figures().surprises > 0) {
    status = Pivot::Status::refused(
        fmt::format("{} operations ended otherwise than they should", drive.figures().surprises));
  }
  return status;
}

// Reads the file as the agent does, has the agent read it, and compares.
Pivot::Status serve(Stage& stage, std::string const& file, char const* when) {
  SwitchConfig config;
  Json answer;
  Pivot::Status status = SwitchConfig::read(file, config);
  if (status.isOk()) status = stage.client().ask({{"op", "config"}, {"id", when}, {"file", file}}, answer);
  if (!status.isOk()) return status;
  std::size_t const interfaces =
      answer["written"].get<std::size_t>() + answer["unchanged"].get<std::size_t>();
  std::string const change =
      fmt::format("{} interfaces: {} written, {} removed, {} unchanged", interfaces, answer["written"].dump(),
                  answer["removed"].dump(), answer["unchanged"].dump());
  row(when, change);
  status = stage.client().ask({{"op", "wait"}, {"id", "wait"}, {"timeoutMs", 60'000}}, answer, 70'000);
  if (!status.isOk()) return status;
  Wishes wishes;
  for (auto const& [place, wanted] : wantedEntries(config))
    wishes[{place.table, kConfigUnit, place.key}] = wanted.entry;
  return compare(wishes, "  compared");
}

// The file with every third sub-interface, member and port taken out: what an operator's change looks like.
Pivot::Status thinnedOut(std::string const& file, std::string const& out) {
  std::ifstream in(file);
  Json config = Json::parse(in, nullptr, false);
  if (config.is_discarded()) return Pivot::Status::refused(fmt::format("{}: not JSON", file));
  for (char const* table : {"VLAN_SUB_INTERFACE", "VLAN_MEMBER"}) {
    if (!config.contains(table)) continue;
    Json kept = Json::object();
    std::size_t number = 0;
    for (auto const& [key, value] : config[table].items()) {
      if (number++ % 3 != 2) kept[key] = value;
    }
    config[table] = std::move(kept);
  }
  std::ofstream(out) << config.dump(1) << "\n";
  return Pivot::Status::ok();
}

Pivot::Status runConfig(Stage& stage, std::string const& file, std::string const& directory,
                        std::size_t kills) {
  std::string const thinned = directory + "/changed-config.json";
  Pivot::Status status = serve(stage, file, "configuration");
  if (status.isOk()) status = serve(stage, file, "read again");
  if (status.isOk()) status = thinnedOut(file, thinned);
  for (std::size_t i = 0; status.isOk() && i <= kills; ++i) {
    if (i > 0) status = stage.restartWriter();
    if (status.isOk()) status = serve(stage, thinned, "with rows taken out");
    if (status.isOk() && i < kills) status = stage.restartWriter();
    if (status.isOk()) status = serve(stage, file, "as it was");
  }
  return status.isOk() ? printAgentFigures(stage) : status;
}

}  // namespace

Outcome runDemo(DemoOptions const& options) {
  DemoPlan plan;
  Pivot::Status status = planFrom(options, plan);
  SwitchConfig config;
  if (status.isOk() && !options.config.empty()) status = SwitchConfig::read(options.config, config);
  Directory directory;
  if (status.isOk()) status = directory.open(options.directory);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  std::signal(SIGPIPE, SIG_IGN);
  Stage stage(directory.path(), options.config);
  status = stage.open();
  if (status.isOk()) {
    status = options.config.empty() ? runWorkload(stage, plan)
                                    : runConfig(stage, options.config, directory.path(), plan.kills);
  }
  // Also after a difference the two processes are ended in good order, and the difference is what counts.
  Pivot::Status const closed = stage.close();
  if (status.isOk()) status = closed;
  if (status.isOk()) {
    row("ended", "both processes, everything freed");
    return Outcome::done();
  }
  directory.keep();
  fmt::print(stderr, "{}", stage.lastWords());
  return Outcome::refused(Pivot::Status::refused(
      fmt::format("demo: {}; store and logs are in {}", status.message(), directory.path())));
}

}  // namespace Inlif
