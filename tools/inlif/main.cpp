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
#include <optional>
#include <sstream>
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

// An option or argument that was given as nothing would count as not given, and widen what is asked for.
std::string emptyValue(CLI::App const& line) {
  for (CLI::Option const* option : line.get_options()) {
    auto const& values = option->results();
    if (option->get_items_expected_max() == 0 || std::ranges::find(values, "") == values.end()) continue;
    return fmt::format("{} is empty; expected a value, or none given; try inlif {} --help",
                       option->get_name(), line.get_name());
  }
  return {};
}

Outcome printed(std::string const& text) {
  fmt::print("{}", text);
  return Outcome::done();
}

int refused(std::string const& message, int status) {
  printAside("inlif: {}\n", Vex::withoutControls(message));
  return status;
}

int ended(std::function<Outcome()> const& run) {
  Outcome const outcome = withWholeOutput(run);
  return outcome.status.isOk() ? outcome.exitStatus : refused(outcome.status.message(), outcome.exitStatus);
}

// Parses the command line. The exit status where that is the end: of --help, or of a line that cannot be taken. What the
// parser would say of a command or an option that it does not know does not name it.
std::optional<int> endedByLine(CLI::App& app, std::vector<Command> const& commands, int argc, char** argv) {
  std::string const given = argc > 1 ? argv[1] : "";
  std::vector<std::string> names;
  for (Command const& command : commands) names.push_back(command.line->get_name());
  auto const named = std::ranges::find(names, given);
  std::string const all = fmt::format("expected one of {}, or --help", fmt::join(names, ", "));
  if (argc <= 1) return refused("no command; " + all, kWrongCommandLine);
  if (named == names.end() && !given.starts_with('-')) {
    return refused(fmt::format("\"{}\" is no command{}; {}", given, didYouMean(given, names), all),
                   kWrongCommandLine);
  }
  try {
    app.parse(argc, argv);
  } catch (CLI::Success const& success) {  // --help, --version
    std::ostringstream text;
    app.exit(success, text, text);
    return ended([&] { return printed(text.str()); });
  } catch (CLI::ParseError const& error) {
    if (named == names.end())
      return refused(fmt::format("\"{}\" is no option of inlif; {}", given, all), kWrongCommandLine);
    CLI::App const& line = *commands[static_cast<std::size_t>(named - names.begin())].line;
    std::string const unknown = unknownOption(shapeOf(line), {argv + 2, argv + argc});
    return refused(
        unknown.empty() ? fmt::format("{}: {}; try inlif {} --help", given, error.what(), given) : unknown,
        kWrongCommandLine);
  }
  return std::nullopt;
}

}  // namespace

int main(int argc, char** argv) {
  openStandardDescriptors();
  letOutputFail();
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
  if (std::optional<int> const status = endedByLine(app, commands, argc, argv)) return *status;
  auto const command = std::ranges::find_if(commands, [](Command const& one) { return bool(*one.line); });
  if (std::string const empty = emptyValue(*command->line); !empty.empty())
    return refused(empty, kWrongCommandLine);
  return ended(command->run);
}
