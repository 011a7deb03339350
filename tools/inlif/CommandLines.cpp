#include "tools/inlif/CommandLines.h"

#include <string>
#include <vector>

#include "tools/inlif/CommonOptions.h"

namespace Inlif {

CLI::App* addAgent(CLI::App& app, AgentOptions& options) {
  CLI::App* agent =
      app.add_subcommand("agent", "run an agent: take operations as JSON lines, answer in JSON lines");
  addStore(agent, options.store);
  agent->add_option("--input", options.input, "read operations from a file, or from standard input (-)")
      ->type_name("FILE|-");
  addTrace(agent, options.traces);
  agent
      ->add_option("--config", options.config.file,
                   "serve the interfaces of a switch configuration; SIGHUP reads it again")
      ->type_name("FILE");
  agent
      ->add_option_function<std::size_t>(
          "--config-size-limit",
          [&options](std::size_t mebibytes) { options.config.limits.mostBytes = mebibytes << 20; },
          "refuse a configuration that is larger (default: 64)")
      ->check(CLI::Range(1, 1024))
      ->type_name("MIB");
  agent
      ->add_option(
          "--config-remove-limit", options.config.limits.removePercent,
          "refuse a configuration that would remove more than so much of the interfaces of a table, if they "
          "are more than a few")
      ->capture_default_str()
      ->check(CLI::Range(0, 100))
      ->type_name("PERCENT");
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
  addFooter(agent,
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
      ->add_option(
          "--faults", options.faults,
          "for trials: the hardware refuses about one write in so many, puts off as many, completes late and "
          "is reset now and then")
      ->type_name("ONE-IN");
  CLI::Option* const hardware =
      writer
          ->add_option(
              "--hardware", options.hardware,
              "what to drive: memory, the image alone; or kernel, the data plane of this host (needs root)")
          ->check(CLI::IsMember({"memory", "kernel"}))
          ->capture_default_str()
          ->type_name("TARGET");
  CLI::Option_group* const kernel = writer->add_option_group("with kernel");
  kernel
      ->add_option(
          "--port", options.kernel.ports,
          "frames that come in on the interface are the port's, and go on to EGRESS if one is given; may "
          "be repeated")
      ->allow_extra_args(false)
      ->needs(hardware)
      ->type_name("PORT=INTERFACE[:EGRESS][,tpid=TPID]");
  kernel->add_option("--pins", options.kernel.pins, "where maps and attachments are pinned")
      ->needs(hardware)
      ->capture_default_str()
      ->type_name("DIR");
  kernel->add_option("--xdp", options.kernel.xdp, "where frames are met: generic or native")
      ->check(CLI::IsMember({"generic", "native"}))
      ->needs(hardware)
      ->capture_default_str()
      ->type_name("MODE");
  addTrace(writer, options.traces);
  return writer;
}

CLI::App* addShow(CLI::App& app, ShowOptions& options) {
  CLI::App* show = app.add_subcommand("show", "look at the store, read-only, beside running processes");
  show->add_option("what", options.what, "config, log, image, status, latency, failures, errors or interface")
      ->required()
      ->type_name("WHAT");
  show->add_option("name", options.interface,
                   "of an interface, such as Ethernet4, Ethernet4.10 or Vlan10|Ethernet4")
      ->type_name("NAME");
  addStore(show, options.store);
  addSelection(show, options);
  addFooter(show,
            "config, log and image take all of these; status and latency take no --key, failures takes no "
            "--follow; "
            "errors takes none of them; interface takes a name, --table and --unit. All take --json and "
            "--verbose.");
  return show;
}

CLI::App* addCheck(CLI::App& app, CheckOptions& options) {
  CLI::App* check = app.add_subcommand(
      "check", "verify every file of a store, and what log, configurations and image say of each other");
  addStore(check, options.store);
  check->add_flag(
      "--repair", options.repair,
      "move damaged collections aside, so that the next start makes them anew; nothing is deleted");
  check
      ->add_option("--pins", options.pins,
                   "compare the image with the kernel's maps too, which are pinned below this directory")
      ->type_name("DIR");
  addForms(check, options);
  return check;
}

CLI::App* addConfig(CLI::App& app, ConfigCommandOptions& options) {
  CLI::App* config = app.add_subcommand(
      "config", "have the running agent read a switch configuration, or tell what that would change");
  config->add_option("file", options.file, "the configuration")->required()->type_name("FILE");
  addStore(config, options.store);
  CLI::Option* const plan = config->add_flag(
      "--plan", options.plan,
      "change nothing: list what would be added, changed and removed; without an agent against the store");
  config
      ->add_flag("--force", options.force,
                 "remove whatever is not in the file, also beyond the limit of the agent")
      ->excludes(plan);
  addForms(config, options);
  return config;
}

CLI::App* addInspect(CLI::App& app, InspectOptions& options) {
  CLI::App* inspect =
      app.add_subcommand("inspect", "ask a running agent what it holds, by the records of its classes");
  inspect->add_option("path", options.path, "where to look: /ROOT/FIELD/KEY/...; / is all roots")
      ->required()
      ->type_name("PATH");
  addStore(inspect, options.store);
  inspect->add_option("--depth", options.depth, "levels to show below what was found")
      ->capture_default_str()
      ->type_name("N");
  addForms(inspect, options, "one JSON document instead of a tree");
  CLI::Option_group* action = inspect->add_option_group("instead of showing", "at most one of these");
  action->require_option(0, 1);
  action->add_flag("--count", options.count, "the number of members of a collection");
  action->add_flag("--has", options.has, "whether the last component is a member");
  action
      ->add_option("--write", options.write,
                   "CHANGE the agent: set an attribute or a member; for one that is made, its arguments")
      ->expected(1, -1)
      ->type_name("VALUE");
  action->add_flag("--remove", options.remove, "CHANGE the agent: take a member out of its collection");
  CLI::Option const* const call =
      action
          ->add_option("--call", options.arguments,
                       "CALL an operation in the agent, with its arguments if it has any")
          ->expected(0, -1)
          ->type_name("ARG");
  // Without values the option leaves a single empty one behind.
  inspect->callback([&options, call] {
    options.call = call->count() > 0;
    if (options.arguments == std::vector<std::string>{""}) options.arguments.clear();
  });
  addFooter(inspect,
            "A key or value is given as it prints, a struct as a JSON object of its fields, an object as its "
            "path.\n"
            "Example: inlif inspect /InLif1/units/3/qosProfileLinkage/entryUsageSm --depth 2 --store "
            "/dev/shm/loam");
  return inspect;
}

CLI::App* addTypes(CLI::App& app, TypesOptions& options) {
  CLI::App* types =
      app.add_subcommand("types", "list the modules, classes and fields that inspect knows; needs no agent");
  types
      ->add_option("name", options.name,
                   "a class by its full name or the end of it, or a module (default: list all)")
      ->type_name("NAME");
  addForms(types, options, "one JSON object a line and class");
  return types;
}

CLI::App* addDemo(CLI::App& app, DemoOptions& options) {
  CLI::App* demo = app.add_subcommand(
      "demo",
      "run an agent and a writer as two processes under the work of an edge switch, and compare at the end");
  CLI::Option* const hardware =
      demo->add_option(
              "--hardware", options.hardware,
              "what the writer drives: memory, or kernel, through which frames are sent (needs root)")
          ->check(CLI::IsMember({"memory", "kernel"}))
          ->capture_default_str()
          ->type_name("TARGET");
  CLI::Option_group* const memory = demo->add_option_group("with memory");
  memory->add_option("--config", options.config, "serve a switch configuration instead of the generated work")
      ->type_name("FILE");
  memory
      ->add_option("--kill-writer", options.writerKills,
                   "kill the writer so often at random moments, and start it again")
      ->type_name("N");
  memory->add_option("--entries", options.entries, "different entries that the generated work writes")
      ->type_name("N")
      ->capture_default_str();
  memory->add_option("--seed", options.seed, "seed of the generated work and of the random moments")
      ->type_name("N")
      ->capture_default_str();
  CLI::Option_group* const kernel = demo->add_option_group("with kernel");
  kernel->add_option("--rate", options.rate, "frames a second")
      ->needs(hardware)
      ->capture_default_str()
      ->type_name("FRAMES");
  kernel->add_flag("--json", options.json, "print the figures as one JSON object")->needs(hardware);
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
  torture->add_flag(
      "--full", options.full,
      "keep the store on a small file system that is full now and then (needs the right to mount one)");
  torture->add_flag("--damage", options.damage,
                    "lose files, flip single bits in them and put back older copies between lives as well");
  torture->add_flag("--refusals", options.refusals,
                    "with a hardware that refuses, puts off, completes late and is reset now and then");
  torture->add_flag("--json", options.json, "print the figures as one JSON object");
  addFooter(
      torture,
      "Every cycle compares store and image with what a fresh agent would hold, computed from the client's "
      "wishes and\nthe resource tables; every --cold-every cycles a real fresh agent and writer confirm the "
      "computation.");
  return torture;
}

CLI::App* addWhy(CLI::App& app, WhyOptions& options) {
  CLI::App* why =
      app.add_subcommand("why", "what the waiting operations wait for; alone, the causes that hold up most");
  addStore(why, options.place.store);
  addPlace(why, options.place, "each waiting operation of this table", "only those of this unit",
           "only those on this entry key");
  why->add_flag("--all", options.all, "each waiting operation of every table");
  addForms(why, options.place);
  return why;
}

CLI::App* addRetry(CLI::App& app, RetryOptions& options) {
  CLI::App* retry = app.add_subcommand(
      "retry", "have the running agent publish again what the hardware refused (see show failures)");
  addStore(retry, options.place.store);
  addPlace(retry, options.place, "only of this table", "only of this unit", "only this entry key");
  retry
      ->add_option("--class", options.why,
                   "only what is told as this: full, invalid, unsupported, other or need-refused")
      ->type_name("CLASS");
  retry->add_flag("--json", options.place.json, "one JSON object a line");
  return retry;
}

CLI::App* addCompletion(CLI::App& app, std::string& shell) {
  CLI::App* completion =
      app.add_subcommand("completion", "print what makes a shell complete the command lines of inlif");
  completion->add_option("shell", shell, "the shell")
      ->required()
      ->check(CLI::IsMember({"bash", "zsh"}))
      ->type_name("SHELL");
  addFooter(completion, "Example: inlif completion bash > ~/.local/share/bash-completion/completions/inlif");
  return completion;
}

CLI::App* addManual(CLI::App& app, std::string& directory) {
  CLI::App* manual = app.add_subcommand("manual", "write the manual pages of inlif and of its commands");
  manual->add_option("directory", directory, "where to write them")->required()->type_name("DIR");
  addFooter(manual, "Example: inlif manual man && man man/inlif-agent.1");
  return manual;
}

CLI::App* addLog(CLI::App& app, LogOptions& options) {
  CLI::App* log =
      app.add_subcommand("log", "the change log, with what each record changed against the one before it");
  addStore(log, options.show.store);
  log->add_option("--from", options.from, "begin with this version (default: with all that stands)")
      ->type_name("VERSION");
  addSelection(log, options.show);
  return log;
}

}  // namespace Inlif
