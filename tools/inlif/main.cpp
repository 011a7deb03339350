// The command `inlif`: one program for the agent, the writer of the hardware, and whoever looks at what both
// left in shared memory.
//
// This file turns the command line into the options of a command and a refusal into one line on standard
// error. ExitStatus has the exit statuses.
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "Vex/PlainText.h"
#include "tools/inlif/CommandLines.h"
#include "tools/inlif/CommandShape.h"
#include "tools/inlif/Completion.h"
#include "tools/inlif/Manual.h"
#include "tools/support/Command.h"

namespace {

using namespace Inlif;

struct Command {
  CLI::App* line;
  std::function<Outcome()> run;
};

// What the parser does not say of an option that it does not know: it tells first what is missing, maybe since it was
// misspelt. Empty when every option is known.
std::string unknownOption(CommandShape const& command, std::vector<std::string> const& arguments) {
  std::vector<std::string> known{"--help"};
  for (Parameter const& parameter : command.parameters) known.push_back(parameter.name);
  for (std::string const& argument : arguments) {
    std::string const name = argument.substr(0, argument.find('='));
    if (name.starts_with("--") && name != "--" && std::ranges::find(known, name) == known.end())
      return fmt::format("{} is no option of inlif {}{}; try inlif {} --help", name, command.name,
                         didYouMean(name, known), command.name);
  }
  return {};
}

Outcome printed(std::string const& text) {
  fmt::print("{}", text);
  return Outcome::done();
}

int refused(std::string const& message, int status) {
  fmt::print(stderr, "inlif: {}\n", Vex::withoutControls(message));
  return status;
}

int ended(std::function<Outcome()> const& run) {
  Outcome const outcome = withWholeOutput(run);
  return outcome.status.isOk() ? outcome.exitStatus : refused(outcome.status.message(), outcome.exitStatus);
}

}  // namespace

int main(int argc, char** argv) {
  openStandardDescriptors();
  CLI::App app(
      "inlif: three ordered tables of ingress interfaces between an agent and the writer of its hardware",
      "inlif");
  app.require_subcommand(1);
  app.footer(kExitStatuses);  // of each command too
  app.set_version_flag("--version", kVersion);
  AgentOptions agent;
  WriterOptions writer;
  ShowOptions show;
  WhyOptions why;
  RetryOptions retry;
  LogOptions log;
  ConfigCommandOptions config;
  ShowOptions dump;
  LoadOptions load;
  MetricsOptions metrics;
  TraceOptions trace;
  TopOptions top;
  InspectOptions inspect;
  TypesOptions types;
  CheckOptions check;
  DemoOptions demo;
  TortureOptions torture;
  std::string shell, directory;
  std::vector<Command> const commands = {
      {addAgent(app, agent), [&] { return runAgent(agent); }},
      {addWriter(app, writer), [&] { return runWriter(writer); }},
      {addShow(app, show), [&] { return runShow(show); }},
      {addWhy(app, why), [&] { return runWhy(why); }},
      {addRetry(app, retry), [&] { return runRetry(retry); }},
      {addLog(app, log), [&] { return runLog(log); }},
      {addConfig(app, config), [&] { return runConfig(config); }},
      {addDump(app, dump), [&] { return runDump(dump); }},
      {addLoad(app, load), [&] { return runLoad(load); }},
      {addMetrics(app, metrics), [&] { return runMetrics(metrics); }},
      {addTraceCommand(app, trace), [&] { return runTrace(trace); }},
      {addTop(app, top), [&] { return runTop(top); }},
      {addInspect(app, inspect), [&] { return runInspect(inspect); }},
      {addTypes(app, types), [&] { return runTypes(types); }},
      {addCheck(app, check), [&] { return runCheck(check); }},
      {addDemo(app, demo), [&] { return runDemo(demo); }},
      {addTorture(app, torture), [&] { return runTorture(torture); }},
      {addCompletion(app, shell),
       [&] { return printed(shell == "bash" ? bashCompletion(app) : zshCompletion(app)); }},
      {addManual(app, directory), [&] { return writeManual(app, directory); }},
  };
  // The parser would only say that some command is missing.
  std::string const given = argc > 1 ? argv[1] : "";
  std::vector<std::string> names;
  for (Command const& command : commands) names.push_back(command.line->get_name());
  if (!given.starts_with('-') && std::ranges::find(names, given) == names.end()) {
    return refused(fmt::format("\"{}\" is no command{}; expected one of {}, or --help", given,
                               didYouMean(given, names), fmt::join(names, ", ")),
                   kWrongCommandLine);
  }
  try {
    app.parse(argc, argv);
  } catch (CLI::Success const& success) {  // --help, --version
    return ended([&] { return Outcome::done(app.exit(success)); });
  } catch (CLI::ParseError const& error) {
    auto const command = std::ranges::find(names, given);
    if (command == names.end())
      return refused(fmt::format("{}; try inlif --help", error.what()), kWrongCommandLine);
    CLI::App const& line = *commands[static_cast<std::size_t>(command - names.begin())].line;
    std::string const unknown = unknownOption(shapeOf(line), {argv + 2, argv + argc});
    return refused(unknown.empty() ? fmt::format("{}; try inlif {} --help", error.what(), given) : unknown,
                   kWrongCommandLine);
  }
  auto const command = std::ranges::find_if(commands, [](Command const& one) { return bool(*one.line); });
  return ended(command->run);
}
