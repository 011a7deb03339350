#include "tools/demo/DemoCommand.h"

#include <fmt/format.h>

#include <cstdlib>
#include <fstream>

#include "tools/check/StoreCheck.h"
#include "tools/config/InterfaceMapping.h"
#include "tools/demo/RunDirectory.h"
#include "tools/demo/WorkloadDemo.h"
#include "tools/demo/kernel/KernelDemo.h"

namespace Inlif {
namespace {

constexpr std::uint64_t kLeastEntries = 288;     // three interfaces on every port of every unit
constexpr std::uint64_t kMostEntries = 600'000;  // what twelve units hold, with room
constexpr std::uint64_t kMostKills = 1000;

Pivot::Status planFrom(DemoOptions const& options, DemoPlan& plan) {
  std::uint64_t entries = 0;
  std::uint64_t seed = 0;
  std::uint64_t kills = 0;
  Pivot::Status status = numberOption("entries", options.entries, kLeastEntries, kMostEntries, entries);
  if (status.isOk()) status = numberOption("seed", options.seed, 0, UINT32_MAX, seed);
  if (status.isOk()) status = numberOption("kill-writer", options.writerKills, 0, kMostKills, kills);
  plan.shape.entries = static_cast<std::uint32_t>(entries);
  plan.shape.seed = static_cast<std::uint32_t>(seed);
  plan.writerKills = kills;
  return status;
}

// Each hardware has a demo, and options, of its own.
Pivot::Status fitsTheHardware(DemoOptions const& options) {
  DemoOptions const none;
  bool const hasMemorys = options.config != none.config || options.writerKills != none.writerKills ||
                          options.entries != none.entries || options.seed != none.seed;
  bool const hasKernels = options.rate != none.rate || options.json;
  if (options.hardware == "kernel" ? !hasMemorys : !hasKernels) return Pivot::Status::ok();
  return Pivot::Status::refused(
      fmt::format("--hardware {}: {} mean nothing there; expected {}", options.hardware,
                  hasMemorys ? "--config, --kill-writer, --entries and --seed" : "--rate and --json",
                  hasMemorys ? "--rate and --json" : "--config, --kill-writer, --entries and --seed"));
}

// Records written and writes suppressed, from the agent's own status.
Pivot::Status printAgentFigures(Stage& stage) {
  Json status;
  Pivot::Status asked =
      stage.client().ask({{"op", "status"}, {"id", "status"}}, status, AgentClient::kLongPatience);
  if (!asked.isOk()) return asked;
  AgentCounts const counts = AgentCounts::of(status);
  printRow("records", fmt::format("{}", counts.records));
  printRow("suppressed", fmt::format("{}", counts.identical));
  return asked;
}

// Reads the file as the agent does, has the agent read it, and compares.
Pivot::Status serve(Stage& stage, std::string const& file, char const* when) {
  SwitchConfig config;
  Json answer;
  Pivot::Status status = SwitchConfig::read(file, config);
  if (status.isOk())
    status = stage.client().ask({{"op", "config"}, {"id", when}, {"file", file}}, answer,
                                AgentClient::kLongPatience);
  if (!status.isOk()) return status;
  std::size_t const interfaces = answer["writes"].get<std::size_t>() + answer["unchanged"].get<std::size_t>();
  std::string const change =
      fmt::format("{} interfaces: {} written, {} removed, {} unchanged", interfaces,
                  jsonText(answer["writes"]), jsonText(answer["removed"]), jsonText(answer["unchanged"]));
  printRow(when, change);
  status = stage.client().ask({{"op", "wait"}, {"id", "wait"}, {"timeoutMs", 60'000}}, answer,
                              2 * AgentClient::kLongPatience);
  if (!status.isOk()) return status;
  Wishes wishes;
  for (WantedInterface const& wanted : wantedInterfaces(config))
    wishes[{wanted.place.table, kConfigUnit, wanted.place.key}] = wanted.entry();
  return compareAndPrint(wishes, "  compared");
}

// The file with every third sub-interface, member and port taken out: what an operator's change looks like.
Pivot::Status thinnedOut(std::string const& file, std::string const& out) {
  Document whole;
  Pivot::Status status = whole.read(file);
  if (!status.isOk()) return status;
  Json config = jsonOf(whole.root());
  for (char const* table : {"VLAN_SUB_INTERFACE", "VLAN_MEMBER"}) {
    if (!config.contains(table)) continue;
    Json kept = Json::object();
    std::size_t number = 0;
    for (auto const& [key, value] : config[table].items()) {
      if (number++ % 3 != 2) addMember(kept, key, value);
    }
    config[table] = std::move(kept);
  }
  std::ofstream(out) << config.dump(1) << "\n";
  return status;
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

// Looks through the files that both processes have left.
Pivot::Status checkAndPrint(std::string const& store) {
  CheckResult const result = checkStore(store);
  std::string const found =
      result.findings.empty() ? "nothing found" : fmt::format("{} findings", result.findings.size());
  printRow("store checked", result.problem.empty() ? fmt::format("{} collections, {} records: {}",
                                                                 result.collections, result.records, found)
                                                   : result.problem);
  for (CheckFinding const& finding : result.findings) fmt::print("  {}\n", finding.text());
  return result.clean() ? Pivot::Status::ok()
                        : Pivot::Status::refused(fmt::format(
                              "the store was checked: {}", result.problem.empty() ? found : result.problem));
}

}  // namespace

Pivot::Status compareAndPrint(Wishes const& wishes, char const* row) {
  ComparisonResult const result = compareAll(wishes);
  printRow(row, fmt::format("client {}, store {}, image {}: {}", result.wanted, result.stored, result.inImage,
                            result.equal() ? "equal" : fmt::format("{} differences", result.differences)));
  for (std::string const& example : result.examples) fmt::print("  {}\n", example);
  return result.equal() ? Pivot::Status::ok()
                        : Pivot::Status::refused(fmt::format("{} differences between client, store and image",
                                                             result.differences));
}

Outcome runDemo(DemoOptions const& options) {
  if (Pivot::Status status = fitsTheHardware(options); !status.isOk())
    return Outcome::wrong(std::move(status));
  if (options.hardware == "kernel") return runKernelDemo(options);
  DemoPlan plan;
  Pivot::Status status = planFrom(options, plan);
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  SwitchConfig config;
  if (!options.config.empty()) status = SwitchConfig::read(options.config, config);
  RunDirectory directory;
  if (status.isOk()) status = directory.open(options.directory, "demo");
  if (!status.isOk()) return Outcome::refused(std::move(status));
  std::vector<std::string> agentArguments;
  if (!options.config.empty()) agentArguments = {"--config", options.config};
  Stage stage(directory.path(), agentArguments);
  status = stage.open();
  if (status.isOk()) {
    status = options.config.empty() ? WorkloadDemo(stage, plan).run()
                                    : runConfig(stage, options.config, directory.path(), plan.writerKills);
  }
  // Also after a difference the two processes are ended in good order and the store is looked through; what
  // went wrong first is what counts.
  Pivot::Status const closed = stage.close();
  Pivot::Status const checked = checkAndPrint(stage.store());
  if (status.isOk()) status = closed;
  if (status.isOk()) status = checked;
  if (status.isOk()) {
    printRow("ended", "both processes, everything freed");
    return Outcome::done();
  }
  directory.keep();
  printAside("{}", stage.lastWords());
  return Outcome::found(Pivot::Status::refused(
      fmt::format("demo: {}; store and logs are in {}", status.message(), directory.path())));
}

}  // namespace Inlif
