// A process of this same program that demo and torture start, kill and wait for. It dies with its parent,
// however that ends.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "Pivot/Status.h"

namespace Inlif {

class Process {
 public:
  // `name` is for refusals; what the process says goes to the end of `logFile`.
  Process(std::string name, std::vector<std::string> arguments, std::string logFile);
  // Kills it if it runs.
  ~Process();
  Process(Process const&) = delete;
  Process& operator=(Process const&) = delete;

  Pivot::Status start();
  bool running();
  // How the last run ended, as far as running() or a wait has seen: empty while it runs and after a good end.
  std::string const& end() const { return end_; }
  // Whether the last run ended by SIGKILL.
  bool killed() const { return killed_; }
  // A descriptor of the present run by which another thread may kill it; -1 when there is none. It is closed
  // by the next start() and names no other process before that.
  int descriptor() const { return descriptor_; }
  // Kills it with SIGKILL, at whatever it is doing.
  void kill();
  // Stops it where it is, or lets it go on.
  void freeze(bool stopped);
  // Asks it to end and waits; refused when it does not end with status 0.
  Pivot::Status terminate();
  // Waits for its own end; refused when that is not status 0.
  Pivot::Status join();
  // The last lines that it said.
  std::string lastWords() const;

 private:
  Pivot::Status ended(int status);

  std::string name_;
  std::vector<std::string> arguments_;
  std::string logFile_;
  pid_t pid_ = -1;
  int descriptor_ = -1;
  bool killed_ = false;
  std::string end_;
};

}  // namespace Inlif
