// Reads a configuration on a thread of its own, while the agent goes on with its turns: a large file takes longer than
// anybody should wait for a turn. The thread touches the file and the store, nothing of the agent; it ends with the
// reading. The agent's thread starts it and takes what it has found.
#pragma once

#include <atomic>
#include <thread>

#include "tools/config/ConfigChange.h"

namespace Inlif {

class ConfigReader {
 public:
  ConfigReader() = default;
  ~ConfigReader();
  ConfigReader(ConfigReader const&) = delete;
  ConfigReader& operator=(ConfigReader const&) = delete;

  Pivot::Status open();
  // Becomes readable when a reading is done.
  int descriptor() const { return descriptor_; }

  // REQUIRES: none is under way. Signals that the agent takes are blocked already, so that the thread gets none.
  void start(ConfigQuestion question);
  // Whether the reading is done; then `status` and `change` are what came of it, and the next may be started.
  bool take(Pivot::Status& status, ConfigChange& change);

 private:
  void run(ConfigQuestion const& question);

  int descriptor_ = -1;
  std::thread thread_;
  std::atomic<bool> done_{false};
  // The thread's until done_ is stored with release; take() loads it with acquire.
  Pivot::Status status_ = Pivot::Status::ok();
  ConfigChange change_;
};

}  // namespace Inlif
