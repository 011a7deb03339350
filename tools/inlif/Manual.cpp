#include "tools/inlif/Manual.h"

#include <fmt/format.h>
#include <sys/stat.h>

#include <algorithm>
#include <cctype>
#include <fstream>

namespace Inlif {
namespace {

// Text as roff takes it: no letter of it is a command.
std::string plain(std::string const& text) {
  std::string out;
  bool atBegin = true;
  for (char const letter : text) {
    if (atBegin && (letter == '.' || letter == '\'')) out += "\\&";
    if (letter == '\\')
      out += "\\e";
    else if (letter == '-')
      out += "\\-";
    else
      out += letter;
    atBegin = letter == '\n';
  }
  return out;
}

// A text of lines that stay lines.
std::string lines(std::string const& text) {
  return ".nf\n" + plain(text) + "\n.fi\n";
}

std::string head(std::string const& page, std::string const& description) {
  std::string title = page;
  std::ranges::transform(title, title.begin(), [](unsigned char c) { return std::toupper(c); });
  return fmt::format(".TH {} 1 \"\" \"{}\" \"inlif\"\n.SH NAME\n{} \\- {}\n", plain(title), kVersion,
                     plain(page), plain(description));
}

std::string exitStatus() {
  std::string text = kExitStatuses;
  std::string const name = "Exit status: ";
  if (text.starts_with(name)) text.erase(0, name.size());
  return ".SH EXIT STATUS\n" + plain(text) + "\n";
}

std::string marked(Parameter const& parameter) {
  if (parameter.isPositional) return "\\fI" + plain(parameter.type) + "\\fR";
  std::string text = "\\fB" + plain(parameter.name) + "\\fR";
  if (!parameter.letter.empty()) text = "\\fB" + plain(parameter.letter) + "\\fR, " + text;
  if (!parameter.type.empty()) text += " \\fI" + plain(parameter.type) + "\\fR";
  return text;
}

std::string synopsis(CommandShape const& command) {
  std::string text = ".SH SYNOPSIS\n.B inlif " + plain(command.name) + "\n";
  for (Parameter const& parameter : command.parameters)
    text += (parameter.isRequired ? "" : "[") + marked(parameter) + (parameter.isRequired ? "\n" : "]\n");
  return text;
}

std::string described(Parameter const& parameter) {
  std::string text = ".TP\n" + marked(parameter) + "\n" + plain(parameter.description);
  bool const namesThem =
      !parameter.values.empty() && parameter.description.find(parameter.values.front()) != std::string::npos;
  if (!parameter.values.empty() && !namesThem)
    text += fmt::format(" (one of {})", plain(CLI::detail::join(parameter.values, ", ")));
  if (!parameter.bounds.empty()) text += fmt::format(" ({})", parameter.bounds);
  if (!parameter.defaultValue.empty()) text += fmt::format(" (default: {})", plain(parameter.defaultValue));
  if (!parameter.environment.empty())
    text += fmt::format(". Without it, the environment variable \\fB{}\\fR is asked", parameter.environment);
  return text + "\n";
}

Pivot::Status written(std::string const& path, std::string const& text) {
  std::ofstream file(path);
  file << text << std::flush;
  return file ? Pivot::Status::ok() : systemFailure(path, "cannot be written");
}

}  // namespace

std::string commandPage(CommandShape const& command) {
  std::string page = head("inlif-" + command.name, command.description) + synopsis(command) + ".SH OPTIONS\n";
  for (Parameter const& parameter : command.parameters) page += described(parameter);
  if (!command.footer.empty()) page += ".SH NOTES\n" + lines(command.footer);
  return page + exitStatus() + ".SH SEE ALSO\n.BR inlif (1)\n";
}

std::string programPage(CLI::App const& program) {
  CommandShape const shape = shapeOf(program);
  std::string description = shape.description;
  if (description.starts_with("inlif: ")) description.erase(0, 7);
  std::string page =
      head("inlif", description) + ".SH SYNOPSIS\n.B inlif\n.I COMMAND\n[\\fIOPTION\\fR]...\n.SH COMMANDS\n";
  std::string also;
  for (CommandShape const& command : shapesOf(program)) {
    page += fmt::format(".TP\n.B {}\n{}\n", plain(command.name), plain(command.description));
    also += fmt::format("{}.BR {} (1)", also.empty() ? "" : ",\n", plain("inlif-" + command.name));
  }
  page += ".SH OPTIONS\n";
  for (Parameter const& parameter : shape.parameters) page += described(parameter);
  return page + exitStatus() + ".SH SEE ALSO\n" + also + "\n";
}

Outcome writeManual(CLI::App const& program, std::string const& directory) {
  if (mkdir(directory.c_str(), 0755) != 0 && errno != EEXIST)
    return Outcome::refused(systemFailure(directory, "cannot be made"));
  Pivot::Status status = written(directory + "/inlif.1", programPage(program));
  for (CommandShape const& command : shapesOf(program))
    if (status.isOk()) status = written(directory + "/inlif-" + command.name + ".1", commandPage(command));
  return status.isOk() ? Outcome::done() : Outcome::refused(std::move(status));
}

}  // namespace Inlif
