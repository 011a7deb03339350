#include "tools/torture/Repairs.h"

#include <fmt/format.h>

#include <fstream>

#include "tools/support/Tables.h"

namespace Inlif {

std::vector<std::string> repairTraces() {
  std::vector<std::string> arguments;
  for (TableInfo const& table : tables()) {
    arguments.push_back("--trace");
    arguments.push_back(fmt::format("{}EntryLog/2", table.name));
  }
  return arguments;
}

RepairCount::RepairCount(std::vector<std::string> const& logs, bool mayLackRoom, bool mayReset)
    : mayLackRoom_(mayLackRoom), mayReset_(mayReset) {
  for (std::string const& file : logs) {
    std::ifstream in(file, std::ios::ate);
    logs_.push_back({file, in ? static_cast<std::streamoff>(in.tellg()) : 0});
  }
}

void RepairCount::read() {
  for (Log& log : logs_) {
    std::ifstream in(log.file);
    in.seekg(log.at);
    for (std::string line; std::getline(in, line) && !in.eof();) {
      log.at += static_cast<std::streamoff>(line.size()) + 1;
      take(line);
    }
  }
}

void RepairCount::take(std::string const& line) {
  auto const has = [&line](char const* text) { return line.find(text) != std::string::npos; };
  if (has("died while publishing")) {
    ++(has("it is finished") ? repairs_.finished : repairs_.dropped);
    return;
  }
  // FACILITY LEVEL FILE:LINE FUNCTION: TEXT
  auto const space = line.find(' ');
  if (space == std::string::npos || line.compare(space, 3, " 1 ") != 0) return;
  if (has("Failed to commit entry")) return;  // a write that must fail
  if (mayLackRoom_ && (has("room") || has("No space left on device") || has("finds no value") ||
                       has("Failed dependent entry")))
    return;
  if (has("published anew") || has("rebuilt")) ++repairs_.other;
  if (mayReset_ && (has("the hardware was reset") || has("rebuilt at version"))) return;
  if (repairs_.losses.size() < 20) repairs_.losses.push_back(line);
}

}  // namespace Inlif
