// What a shell completes after `inlif`: `inlif completion bash|zsh` prints the script, made from the command lines.
#pragma once

#include <string>

#include "tools/inlif/CommandShape.h"

namespace Inlif {

std::string bashCompletion(CLI::App const& program);
std::string zshCompletion(CLI::App const& program);

}  // namespace Inlif
