// Counts what agent and writer repaired after deaths, from the traces that they leave in their logs, and
// finds what no death may cause: a loss.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Inlif {

struct Repairs {
  std::size_t finished = 0;         // publications that a death had cut short
  std::size_t dropped = 0;          // publications of which nothing was visible yet
  std::size_t other = 0;            // units published anew, images rebuilt
  std::vector<std::string> losses;  // traces of level 1: contents lost, damage
};

// What the agent must trace for it.
std::vector<std::string> repairTraces();

class RepairCount {
 public:
  // Logs are read to their present ends; they may be absent yet. `mayLackRoom`: the store is full now and then, so
  // that what tells of it is no loss. `mayReset`: the hardware is reset now and then, and that is none either.
  RepairCount(std::vector<std::string> const& logs, bool mayLackRoom, bool mayReset);
  // Reads on from where it came to last.
  void read();
  Repairs const& repairs() const { return repairs_; }

 private:
  struct Log {
    std::string file;
    std::streamoff at = 0;
  };
  void take(std::string const& line);

  std::vector<Log> logs_;
  bool mayLackRoom_;
  bool mayReset_;
  Repairs repairs_;
};

}  // namespace Inlif
