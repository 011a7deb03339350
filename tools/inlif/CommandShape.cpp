#include "tools/inlif/CommandShape.h"

#include <algorithm>

#include "LoamInLif/Tables.h"
#include "tools/json/FailureJson.h"
#include "tools/json/NearName.h"
#include "tools/show/ShowCommand.h"
#include "tools/support/Command.h"

namespace Inlif {
namespace {

// "{a,b}" as its members; empty for any other text.
std::vector<std::string> choices(std::string const& text) {
  if (!text.starts_with('{') || !text.ends_with('}')) return {};
  return CLI::detail::split(text.substr(1, text.size() - 2), ',');
}

// The types of which there are only some values that no check of the parser knows.
std::vector<std::string> valuesOfType(std::string const& type) {
  std::vector<std::string> values;
  if (type == "TABLE")
    for (Asic::TableInfo const& table : LoamInLif::groupInfo().tables) values.push_back(table.name);
  if (type == "WHAT") values = viewNames();
  if (type == "CLASS") values = retryClasses();
  return values;
}

Parameter parameterOf(CLI::Option const& option) {
  Parameter parameter;
  parameter.isPositional = !option.nonpositional();
  parameter.isRequired = option.get_required();
  parameter.name = parameter.isPositional ? option.get_name(true) : "--" + option.get_lnames().front();
  if (!option.get_snames().empty()) parameter.letter = "-" + option.get_snames().front();
  parameter.defaultValue = option.get_default_str();
  parameter.environment = option.get_envname();
  parameter.description = option.get_description();
  if (option.get_items_expected_max() == 0) return parameter;  // a flag
  // The parser hangs what its checks say on the type: "MIB:INT in [1 - 1024]", "MODE:{generic,native}". A type may have a
  // colon of its own: "PORT=INTERFACE[:EGRESS]".
  std::string const type = option.get_type_name();
  std::size_t const choice = type.find(":{"), range = type.find(" in [");
  std::size_t const colon = choice != std::string::npos  ? choice
                            : range != std::string::npos ? type.rfind(':', range)
                                                         : std::string::npos;
  parameter.type = type.substr(0, colon);
  if (colon != std::string::npos) {
    std::string const check = type.substr(colon + 1);
    parameter.values = choices(check);
    std::size_t const open = check.find('['), middle = check.find(" - "), close = check.find(']');
    if (open < middle && middle < close && close != std::string::npos)
      parameter.bounds = "from " + check.substr(open + 1, middle - open - 1) + " to " +
                         check.substr(middle + 3, close - middle - 3);
  }
  if (parameter.values.empty()) parameter.values = valuesOfType(parameter.type);
  return parameter;
}

// The parameters of a group stand with those of its command, behind them; each group has a --help of the parser's, too.
void addParameters(CLI::App const& app, std::vector<Parameter>& parameters) {
  bool const isGroup = app.get_name().empty();
  for (CLI::Option const* const option : app.get_options()) {
    if (isGroup && option == app.get_help_ptr()) continue;
    if (!option->get_lnames().empty() || !option->nonpositional()) parameters.push_back(parameterOf(*option));
  }
  for (CLI::App const* const group : app.get_subcommands({}))
    if (group->get_name().empty()) addParameters(*group, parameters);
}

}  // namespace

CommandShape shapeOf(CLI::App const& command) {
  CommandShape shape{command.get_name(), command.get_description(), command.get_footer(), {}};
  if (shape.footer.ends_with(kExitStatuses))
    shape.footer.resize(shape.footer.size() - std::string(kExitStatuses).size());
  addParameters(command, shape.parameters);
  return shape;
}

std::vector<CommandShape> shapesOf(CLI::App const& program) {
  std::vector<CommandShape> shapes;
  for (CLI::App const* const command : program.get_subcommands({}))
    if (!command->get_name().empty()) shapes.push_back(shapeOf(*command));
  return shapes;
}

std::string didYouMean(std::string const& given, std::vector<std::string> const& known) {
  auto const near = std::ranges::find_if(known, [&](std::string const& name) { return isNear(given, name); });
  return near == known.end() ? std::string() : " (did you mean " + *near + "?)";
}

}  // namespace Inlif
