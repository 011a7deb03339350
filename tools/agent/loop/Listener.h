// The agent's Unix socket in the store directory: readable and writable by its owner alone.
#pragma once

#include <chrono>
#include <string>

#include "Pivot/Status.h"

namespace Inlif {

class Listener {
 public:
  Listener() = default;
  ~Listener();
  Listener(Listener const&) = delete;
  Listener& operator=(Listener const&) = delete;

  // REQUIRES: the agent's role of the store is held, so a socket that stands there was left by a dead agent
  // and may be replaced.
  Pivot::Status open(std::string const& path);
  int descriptor() const { return descriptor_; }
  // The next connection, or -1, with errno, when none waits or none can be had.
  int accept() const;
  // Whether accept() has just failed for want of descriptors or memory: the connection still waits.
  static bool outOfDescriptors();
  // Tells a connection why it is not served, in one line of the protocol, and closes it.
  static void refuse(int connection, std::string const& why);

  // Connects to an agent: the other end, for programs that drive one. An agent that takes no connections is
  // waited for, at most so long.
  static Pivot::Status connect(std::string const& path, int& descriptor, std::chrono::milliseconds patience);

 private:
  std::string path_;
  int descriptor_ = -1;
};

// Where the agent of a store listens.
std::string socketPath(std::string const& store);

}  // namespace Inlif
