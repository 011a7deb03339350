#include "tools/inlif/Completion.h"

#include <fmt/format.h>

#include <vector>

namespace Inlif {
namespace {

bool isFile(Parameter const& parameter) {
  return parameter.type.starts_with("FILE");
}
bool isDirectory(Parameter const& parameter) {
  return parameter.type == "DIR";
}

std::string words(std::vector<std::string> const& values) {
  return CLI::detail::join(values, " ");
}

// What bash offers as the value of a parameter, for its compgen; empty where it offers nothing.
std::string bashValues(Parameter const& parameter) {
  if (isDirectory(parameter)) return "-d";
  if (isFile(parameter)) return "-f";
  if (!parameter.values.empty()) return "-W '" + words(parameter.values) + "'";
  return {};
}

// Within single quotes and brackets of zsh.
std::string quoted(std::string const& text) {
  std::string out;
  for (char const letter : text) {
    if (letter == '\'')
      out += "'\\''";
    else if (letter == '[' || letter == ']' || letter == ':')
      out += std::string("\\") + letter;
    else
      out += letter;
  }
  return out;
}

// ":NAME:ACTION" of a parameter that takes a value.
std::string zshAction(Parameter const& parameter) {
  if (parameter.type.empty()) return {};
  std::string action = " ";
  if (isDirectory(parameter)) action = "_files -/";
  if (isFile(parameter)) action = "_files";
  if (!parameter.values.empty()) action = "(" + words(parameter.values) + ")";
  return ":" + quoted(parameter.type) + ":" + action;
}

}  // namespace

std::string bashCompletion(CLI::App const& program) {
  std::vector<std::string> names;
  std::string values, options;
  // Names with spaces are one word each.
  auto const offer = [](std::string const& what) {
    return "mapfile -t COMPREPLY < <(compgen " + what + " -- \"$current\")";
  };
  for (CommandShape const& command : shapesOf(program)) {
    names.push_back(command.name);
    std::vector<std::string> offered, valued;
    std::string positional;
    for (Parameter const& parameter : command.parameters) {
      std::string const value = bashValues(parameter);
      if (!parameter.isPositional) offered.push_back(parameter.name);
      if (!parameter.letter.empty()) offered.push_back(parameter.letter);
      if (parameter.isPositional && positional.empty()) positional = value;
      if (parameter.isPositional || parameter.type.empty()) continue;
      valued.push_back(parameter.name);
      values += fmt::format("    '{} {}') {}return ;;\n", command.name, parameter.name,
                            value.empty() ? "" : offer(value) + "; ");
    }
    options += fmt::format("    {}) options='{}' valued=' {} ' arguments=\"{}\" ;;\n", command.name,
                           words(offered), words(valued), positional);
  }
  return fmt::format(R"(# bash completion for inlif, as `inlif completion bash` prints it
_inlif() {{
  local current=${{COMP_WORDS[COMP_CWORD]}} previous=${{COMP_WORDS[COMP_CWORD-1]}} command=${{COMP_WORDS[1]}}
  local options= valued= arguments= i
  COMPREPLY=()
  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W '{} --help --version' -- "$current")
    return
  fi
  case "$command $previous" in
{}  esac
  case "$command" in
{}  esac
  # What is offered is the first argument: behind one there is nothing to offer.
  for ((i = 2; i < COMP_CWORD; ++i)); do
    case "$valued" in *" ${{COMP_WORDS[i]}} "*) ((++i)); continue ;; esac
    [[ ${{COMP_WORDS[i]}} == -* ]] || arguments=
  done
  case "$current" in
    -*) mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current") ;;
    *) [ -z "$arguments" ] || mapfile -t COMPREPLY < <(eval "compgen $arguments -- \"\$current\"") ;;
  esac
}}
complete -o filenames -F _inlif inlif
)",
                     words(names), values, options);
}

std::string zshCompletion(CLI::App const& program) {
  std::string names, cases;
  for (CommandShape const& command : shapesOf(program)) {
    names += fmt::format("    '{}:{}'\n", command.name, quoted(command.description));
    cases += fmt::format("    {}) _arguments", command.name);
    for (Parameter const& parameter : command.parameters) {
      std::string const action = zshAction(parameter);
      if (parameter.isPositional)
        cases += fmt::format(" \\\n      '{}{}'", parameter.isRequired ? "" : ":", action);
      else
        for (std::string const& name : {parameter.name, parameter.letter})
          if (!name.empty())
            cases += fmt::format(" \\\n      '*{}[{}]{}'", name, quoted(parameter.description), action);
    }
    cases += " ;;\n";
  }
  return fmt::format(R"(#compdef inlif
# zsh completion for inlif, as `inlif completion zsh` prints it
_inlif() {{
  local -a commands=(
{}  )
  if (( CURRENT == 2 )); then
    _describe command commands
    return
  fi
  shift words
  (( CURRENT-- ))
  case $words[1] in
{}  esac
}}
_inlif "$@"
)",
                     names, cases);
}

}  // namespace Inlif
