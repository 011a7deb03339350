// The loop of a process that has none of its own: gives a host and its restart their turns, waits in between, and calls what
// was registered for a descriptor or posted.
//
// The agent owns one beside its host and its restart, which outlive it. A process with a loop of its own needs none: it
// waits for Host::watch() and Host::nextDeadline(), as this one does. Everything is called on the thread that made the
// host, but post() and stop(), which any thread may call.
//
// L1. What is registered or posted is called between turns, never within one, and may register, post and stop. An exception
//     that leaves it leaves run().
// L2. What was posted before run() returns is called or dropped with the loop, and never called twice.
#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "agent/Restart.h"

namespace LoamAgent {

class Loop {
 public:
  // Something of the agent's to be called.
  using Work = std::function<void()>;

  // Without a restart nothing is swept by the loop.
  explicit Loop(Host& host) : host_(host) {}
  Loop(Host& host, Restart& restart) : host_(host), restart_(&restart) {}
  ~Loop();
  Loop(Loop const&) = delete;
  Loop& operator=(Loop const&) = delete;

  // Begins to watch the host. Refused: the process has no descriptors left. REQUIRES: as for Host::watch().
  Pivot::Status open();
  // Calls `work` whenever the descriptor is readable, its end and its failure too, until it is taken out. The descriptor
  // stays the caller's; it is taken out before it is closed. Refused: it is one that cannot be waited for, a file for
  // instance, or is there already. REQUIRES: open() was well.
  Pivot::Status descriptorAdd(int descriptor, Work work);
  // One that is not there is passed over.
  void descriptorDel(int descriptor);
  // Calls `work` after each turn, for who looks whether something has come about; empty: nothing more.
  void afterTurn(Work work) { afterTurn_ = std::move(work); }
  // Has `work` called once, on the agent's thread. Any thread. REQUIRES: open() was well.
  void post(Work work);

  // Runs until stop(). May be called again. Refused: the wait failed.
  Pivot::Status run();
  // Ends run() after what is being called and the turn that follows. Any thread, and within a handler of a signal.
  void stop();

 private:
  Pivot::Status waitFor(int descriptor) const;
  Pivot::Status wait(bool busy);
  void callPosted();

  Host& host_;
  Restart* restart_ = nullptr;
  int epoll_ = -1;
  int wake_ = -1;
  std::map<int, Work> works_;
  Work afterTurn_;
  std::mutex mutex_;
  std::vector<Work> posted_;  // under mutex_
  std::atomic<bool> stop_{false};
};

}  // namespace LoamAgent
