// The command lines of those who take entries and figures out of a store, or entries into one.
#include "tools/inlif/CommandLines.h"
#include "tools/inlif/CommonOptions.h"

namespace Inlif {

CLI::App* addDump(CLI::App& app, ShowOptions& options) {
  CLI::App* dump = app.add_subcommand(
      "dump", "print the entries of a store as sorted JSON lines, which load takes; needs no agent");
  addStore(dump, options.store);
  addTable(dump, options.table);
  addUnit(dump, options.unit);
  addFooter(dump,
            "A line is an operation of the agent's protocol, but for its id. Example: inlif dump --store "
            "/dev/shm/loam > loam.jsonl");
  return dump;
}

CLI::App* addLoad(CLI::App& app, LoadOptions& options) {
  CLI::App* load = app.add_subcommand(
      "load", "write the lines of a dump into the running agent, or without one into an empty store");
  load->add_option("file", options.file, "the dump, or standard input (-)")->required()->type_name("FILE|-");
  addStore(load, options.store);
  load->add_flag("--json", options.json,
                 "one JSON object for each line that failed, and one with the counts");
  addFooter(
      load,
      "Each line is looked at before the first one is written. What stands and is not in the file stays.");
  return load;
}

CLI::App* addMetrics(CLI::App& app, MetricsOptions& options) {
  CLI::App* metrics = app.add_subcommand(
      "metrics", "what store and agent tell of themselves, as text for Prometheus; also without an agent");
  addStore(metrics, options.store);
  CLI::Option* const output =
      metrics
          ->add_option("--output", options.output,
                       "write into this file, which is whole at any time: for a collector of text files")
          ->type_name("FILE");
  metrics
      ->add_flag(
          "--http", options.http,
          "answer one request that comes on standard input, as a socket's service or socat hands it over")
      ->excludes(output);
  return metrics;
}

CLI::App* addTraceCommand(CLI::App& app, TraceOptions& options) {
  CLI::App* trace =
      app.add_subcommand("trace", "what the running agent traces; with arguments, change that at once");
  trace
      ->add_option("levels", options.levels,
                   "trace a facility (or *, all) up to a level, 0 to 9; 1 is errors alone, 0 is silence")
      ->type_name("FACILITY/LEVEL");
  addStore(trace, options.store);
  trace
      ->add_option("--lines", options.lines,
                   "print so many lines of a kind of error, then their number alone (at first: 10)")
      ->type_name("N");
  trace->add_option("--seconds", options.seconds, "in so many seconds (at first: 10)")->type_name("N");
  addForms(trace, options, "one JSON object");
  return trace;
}

CLI::App* addTop(CLI::App& app, TopOptions& options) {
  CLI::App* top = app.add_subcommand("top", "how agent and writer stand, live on one screen; q ends it");
  addStore(top, options.store);
  top->add_option("--seconds", options.seconds, "between two looks")->capture_default_str()->type_name("N");
  CLI::Option* const once =
      top->add_flag("--once", options.once, "look once; also where there is no terminal");
  addForms(top, options, "one JSON object")->needs(once);
  return top;
}

}  // namespace Inlif
