// The command lines of `why` and `log`. Part of main.cpp, which includes it once.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/show/LogCommand.h"
#include "tools/show/WhyCommand.h"

namespace Inlif {

inline CLI::App* addWhy(CLI::App& app, WhyOptions& options) {
  CLI::App* why =
      app.add_subcommand("why", "what the waiting operations wait for; alone, the causes that hold up most");
  why->add_option("table", options.table, "each waiting operation of this table: InLif0, InLif1 or InLif23")
      ->type_name("TABLE");
  why->add_option("unit", options.unit, "only those of this unit")->type_name("UNIT");
  why->add_option("key", options.key, "only those on this entry key, decimal or 0x...")->type_name("KEY");
  why->add_flag("--all", options.all, "each waiting operation of every table");
  why->add_flag("--json", options.json, "one JSON object a line");
  return why;
}

inline CLI::App* addLog(CLI::App& app, LogOptions& options) {
  CLI::App* log =
      app.add_subcommand("log", "the change log, with what each record changed against the one before it");
  log->add_option("--from", options.from, "begin with this version (default: with all that stands)")
      ->type_name("VERSION");
  log->add_option("--table", options.show.table, "only this table: InLif0, InLif1 or InLif23")
      ->type_name("TABLE");
  log->add_option("--unit", options.show.unit, "only this unit")->type_name("UNIT");
  log->add_option("--key", options.show.key, "only this entry key, decimal or 0x...")->type_name("KEY");
  log->add_flag("--follow", options.show.follow, "go on: print what is new, until interrupted");
  log->add_flag("--json", options.show.json, "one JSON object a line");
  return log;
}

}  // namespace Inlif
