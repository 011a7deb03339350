// The command `inlif`: one program for the agent, the writer of the hardware, and whoever looks at what both
// left in shared memory.
//
// This file turns the command line into the options of a command and a refusal into one line on standard
// error. Exit status: 0 when all went well, 1 when the command refused or found a difference, 2 when the
// command line itself is wrong.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <string>

#include "tools/agent/AgentCommand.h"
#include "tools/check/CheckCommand.h"
#include "tools/demo/DemoCommand.h"
#include "tools/inlif/Inspecting.h"
#include "tools/show/ShowCommand.h"
#include "tools/support/Command.h"
#include "tools/torture/TortureCommand.h"
#include "tools/writer/WriterCommand.h"

namespace {

using namespace Inlif;

void addStore(CLI::App* command, std::string& store) {
  command->add_option("--store", store, "directory of the shared store, best on a tmpfs")
      ->required()
      ->type_name("DIR");
}

CLI::App* addAgent(CLI::App& app, AgentOptions& options) {
  CLI::App* agent =
      app.add_subcommand("agent", "run an agent: take operations as JSON lines, answer in JSON lines");
  addStore(agent, options.store);
  agent->add_option("--input", options.input, "read operations from a file, or from standard input (-)")
      ->type_name("FILE|-");
  agent
      ->add_option("--trace", options.traces,
                   "trace a facility (or *) up to a level, 0 to 9; may be repeated")
      ->type_name("FACILITY/LEVEL");
  agent
      ->add_option("--config", options.config,
                   "serve the interfaces of a switch configuration; SIGHUP reads it again")
      ->type_name("FILE");
  RestartOptions& restart = options.restart;
  agent
      ->add_option(
          "--client", restart.clients,
          "expect a client: nothing is swept or reconciled before it has said that it is ready; may be "
          "repeated. Registered clients are expected again by themselves")
      ->type_name("NAME")
      ->allow_extra_args(false);
  agent
      ->add_option("--sweep-limit", restart.sweepLimit,
                   "refuse a sweep that would remove more than so much of a unit (default: no limit)")
      ->check(CLI::Range(0, 100))
      ->type_name("PERCENT");
  agent
      ->add_option_function<std::uint64_t>(
          "--sweep-alarm",
          [&restart](std::uint64_t seconds) { restart.sweepAlarm = std::chrono::seconds(seconds); },
          "tell who is waited for when no sweep was possible for so long (default: 300; 0: never)")
      ->check(CLI::Range(0, 1'000'000))
      ->type_name("SECONDS");
  agent->add_flag("--suppress-initial-mark", restart.suppressInitialMark,
                  "tables do not begin to mark: the clients will not write again what they want");
  agent->footer(
      "Operations are also taken from the Unix socket DIR/agent.sock.\nExample: echo "
      "'{\"op\":\"status\",\"id\":1}' | inlif agent --store /dev/shm/loam --input -");
  return agent;
}

CLI::App* addWriter(CLI::App& app, WriterOptions& options) {
  CLI::App* writer = app.add_subcommand(
      "writer", "run the writer of the hardware: apply the change logs to the image, in order");
  addStore(writer, options.store);
  writer
      ->add_option("--rate", options.rate,
                   "apply at most so many records a second (default: as fast as it goes)")
      ->type_name("RECORDS");
  writer
      ->add_option("--trace", options.traces,
                   "trace a facility (or *) up to a level, 0 to 9; may be repeated")
      ->type_name("FACILITY/LEVEL");
  return writer;
}

CLI::App* addShow(CLI::App& app, ShowOptions& options) {
  CLI::App* show = app.add_subcommand("show", "look at the store, read-only, beside running processes");
  show->add_option("what", options.what, "config, log, status, image or latency")
      ->required()
      ->type_name("WHAT");
  addStore(show, options.store);
  show->add_option("--table", options.table, "only this table: InLif0, InLif1 or InLif23")
      ->type_name("TABLE");
  show->add_option("--unit", options.unit, "only this unit")->type_name("UNIT");
  show->add_option("--key", options.key, "only this entry key, decimal or 0x...")->type_name("KEY");
  show->add_flag("--follow", options.follow, "go on: print what is new, until interrupted");
  show->add_flag("--json", options.json, "one JSON object a line");
  return show;
}

CLI::App* addCheck(CLI::App& app, CheckOptions& options) {
  CLI::App* check = app.add_subcommand(
      "check", "verify every file of a store, and what log, configurations and image say of each other");
  addStore(check, options.store);
  check->add_flag(
      "--repair", options.repair,
      "move damaged collections aside, so that the next start makes them anew; nothing is deleted");
  check->add_flag("--json", options.json, "one JSON object a line");
  check->footer("Exit status: 0 nothing found, 1 findings, 2 the store could not be looked at.");
  return check;
}

CLI::App* addDemo(CLI::App& app, DemoOptions& options) {
  CLI::App* demo = app.add_subcommand(
      "demo",
      "run an agent and a writer as two processes under the work of an edge switch, and compare at the end");
  demo->add_option("--config", options.config, "serve a switch configuration instead of the generated work")
      ->type_name("FILE");
  demo->add_option("--kill-writer", options.writerKills,
                   "kill the writer so often at random moments, and start it again")
      ->type_name("N");
  demo->add_option("--entries", options.entries, "different entries that the generated work writes")
      ->type_name("N")
      ->capture_default_str();
  demo->add_option("--seed", options.seed, "seed of the generated work and of the random moments")
      ->type_name("N")
      ->capture_default_str();
  demo->add_option(
          "--dir", options.directory,
          "directory for store and logs, kept (default: a fresh one on /dev/shm, removed at the end)")
      ->type_name("DIR");
  return demo;
}

CLI::App* addTorture(CLI::App& app, TortureOptions& options) {
  CLI::App* torture = app.add_subcommand(
      "torture",
      "kill an agent and a writer at random moments of random work, and compare everything after each cycle");
  torture->add_option("--cycles", options.cycles, "cycles of work, kills and comparison")
      ->type_name("N")
      ->capture_default_str();
  torture->add_option("--seed", options.seed, "seed of the work and of the kills")
      ->type_name("N")
      ->capture_default_str();
  torture
      ->add_option("--cold-every", options.coldEvery,
                   "compare with a fresh agent and writer every so many cycles; 0: never")
      ->type_name("N")
      ->capture_default_str();
  torture
      ->add_option("--dir", options.directory,
                   "directory for store and logs, kept (default: a fresh one on /dev/shm, kept after a "
                   "difference)")
      ->type_name("DIR");
  torture->add_flag("--json", options.json, "print the figures as one JSON object");
  torture->footer(
      "Every cycle compares store and image with what a fresh agent would hold, computed from the client's "
      "wishes and\nthe resource tables; every --cold-every cycles a real fresh agent and writer confirm the "
      "computation.");
  return torture;
}

int refused(std::string const& message, int status) {
  fmt::print(stderr, "inlif: {}\n", message);
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app(
      "inlif: three ordered tables of ingress interfaces between an agent and the writer of its hardware",
      "inlif");
  app.require_subcommand(1);
  app.set_version_flag("--version", kVersion);
  AgentOptions agentOptions;
  WriterOptions writerOptions;
  ShowOptions showOptions;
  CheckOptions checkOptions;
  WhyOptions whyOptions;
  LogOptions logOptions;
  DemoOptions demoOptions;
  TortureOptions tortureOptions;
  CLI::App* agent = addAgent(app, agentOptions);
  CLI::App* writer = addWriter(app, writerOptions);
  CLI::App* show = addShow(app, showOptions);
  CLI::App* check = addCheck(app, checkOptions);
  CLI::App* demo = addDemo(app, demoOptions);
  CLI::App* torture = addTorture(app, tortureOptions);
  CLI::App* why = addWhy(app, whyOptions);
  addStore(why, whyOptions.store);
  CLI::App* log = addLog(app, logOptions);
  addStore(log, logOptions.show.store);
  // The parser would only say that some command is missing.
  std::string const command = argc > 1 ? argv[1] : "";
  bool const known = std::ranges::any_of(app.get_subcommands(nullptr),
                                         [&](CLI::App* one) { return one->get_name() == command; });
  if (!known && !command.starts_with('-')) {
    return refused(
        fmt::format(
            "\"{}\" is no command; expected agent, writer, show, why, log, check, demo or torture, or --help",
            command),
        2);
  }
  try {
    app.parse(argc, argv);
  } catch (CLI::Success const& success) {  // --help, --version
    return app.exit(success);
  } catch (CLI::ParseError const& error) {
    return refused(fmt::format("{}; try inlif --help", error.what()), 2);
  }
  Outcome outcome;
  if (*agent) outcome = runAgent(agentOptions);
  if (*writer) outcome = runWriter(writerOptions);
  if (*show) outcome = runShow(showOptions);
  if (*check) outcome = runCheck(checkOptions);
  if (*demo) outcome = runDemo(demoOptions);
  if (*torture) outcome = runTorture(tortureOptions);
  if (*why) outcome = runWhy(whyOptions);
  if (*log) outcome = runLog(logOptions);
  return outcome.status.isOk() ? outcome.exitStatus : refused(outcome.status.message(), 1);
}
