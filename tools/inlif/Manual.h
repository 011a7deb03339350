// Manual pages, made from the command lines themselves: `inlif manual DIR` writes them, and the build installs what it writes.
#pragma once

#include <string>

#include "tools/inlif/CommandShape.h"

namespace Inlif {

// The page of the program, which lists the commands, and the page of a command; as roff with the man macros.
std::string programPage(CLI::App const& program);
std::string commandPage(CommandShape const& command);

// Writes inlif.1 and a page inlif-COMMAND.1 for each command into a directory, which is made when it is missing.
Outcome writeManual(CLI::App const& program, std::string const& directory);

}  // namespace Inlif
