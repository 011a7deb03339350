// A process of this same program that the demo starts, kills and waits for. It dies with the demo, however
// that ends.
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
  // Kills it with SIGKILL, at whatever it is doing.
  void kill();
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
};

}  // namespace Inlif
