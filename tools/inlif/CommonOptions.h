// Options that several commands have, so that each is called and explained alike everywhere.
#pragma once

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "tools/show/ShowCommand.h"

namespace Inlif {

inline void addStore(CLI::App* command, std::string& store) {
  command->add_option("--store", store, "directory of the shared store, best on a tmpfs")
      ->envname("LOAM_STORE")
      ->required()
      ->type_name("DIR");
}

inline void addTable(CLI::App* command, std::string& table) {
  command->add_option("--table", table, "only this table: InLif0, InLif1 or InLif23")->type_name("TABLE");
}

inline void addUnit(CLI::App* command, std::string& unit) {
  command->add_option("--unit", unit, "only this unit")->type_name("UNIT");
}

// TABLE [UNIT [KEY]], which narrow down what the texts tell.
inline void addPlace(CLI::App* command, ShowOptions& options, char const* table, char const* unit,
                     char const* key) {
  command->add_option("table", options.table, fmt::format("{}: InLif0, InLif1 or InLif23", table))
      ->type_name("TABLE");
  command->add_option("unit", options.unit, unit)->type_name("UNIT");
  command
      ->add_option("key", options.key, fmt::format("{}, decimal or 0x..., or the name of its interface", key))
      ->type_name("KEY");
}

// In which form it is printed; returns the one for programs.
template <class Options>
CLI::Option* addForms(CLI::App* command, Options& options,
                      std::string const& json = "one JSON object a line") {
  command->add_flag("-v,--verbose", options.verbose,
                    "leave nothing out, and cut no line to the width of the terminal");
  return command->add_flag("--json", options.json, json);
}

inline void addSelection(CLI::App* command, ShowOptions& options) {
  addTable(command, options.table);
  addUnit(command, options.unit);
  command
      ->add_option("--key", options.key,
                   "only this entry key, decimal or 0x..., or the interface that it is of")
      ->type_name("KEY");
  command->add_flag("--follow", options.follow, "go on: print what is new, until interrupted");
  addForms(command, options);
}

inline void addTrace(CLI::App* command, std::vector<std::string>& traces) {
  command->add_option("--trace", traces, "trace a facility (or *) up to a level, 0 to 9; may be repeated")
      ->type_name("FACILITY/LEVEL");
}

// What is worth telling below the options, beside what stands below those of every command.
inline void addFooter(CLI::App* command, std::string const& text) {
  command->footer(text + "\n" + command->get_footer());
}

}  // namespace Inlif
