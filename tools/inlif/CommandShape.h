// What the command line of a command takes, as the parser knows it: the one source of its help, its manual page and its
// completion. Manual and Completion ask; the parser's objects are only read.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace Inlif {

// An option or a positional argument.
struct Parameter {
  std::string name;                 // "--store", or "path" of a positional one
  std::string letter;               // "-v"; empty without one
  std::string type;                 // "DIR"; empty for a flag
  std::string bounds;               // "from 1 to 1024"; may be empty
  std::vector<std::string> values;  // where there is only a choice among them
  std::string defaultValue;         // may be empty
  std::string environment;          // the variable that stands in for it; may be empty
  std::string description;
  bool isPositional = false;
  bool isRequired = false;
};

struct CommandShape {
  std::string name;         // "agent"; "inlif" of the program itself
  std::string description;  // one line
  std::string footer;       // without what stands below every command
  std::vector<Parameter> parameters;
};

CommandShape shapeOf(CLI::App const& command);
// Of every command of the program, in the order in which its help lists them.
std::vector<CommandShape> shapesOf(CLI::App const& program);

// What the person who typed an unknown word among `known` may have meant, as " (did you mean X?)"; empty when none is near.
std::string didYouMean(std::string const& given, std::vector<std::string> const& known);

}  // namespace Inlif
