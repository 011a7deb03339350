// Tells when the writer of the hardware has reported: a helper thread that waits on the table-version map and signals an
// eventfd. It reads nothing but the change counter of that map and touches no table state, so the agent stays a program of
// one thread. The host owns the one object.
#pragma once

#include <atomic>
#include <thread>

#include "Pivot/Status.h"

namespace LoamAgent {

class ReportWatch {
 public:
  ReportWatch() = default;
  ~ReportWatch();
  ReportWatch(ReportWatch const&) = delete;
  ReportWatch& operator=(ReportWatch const&) = delete;

  // Once; more calls do nothing. REQUIRES: signals that the loop takes are blocked already, so that the thread never gets
  // one.
  Pivot::Status start();
  // Becomes readable after a report.
  int descriptor() const { return descriptor_; }
  // Makes it unreadable again; to be called before the reports are looked at. Without a report it is one load.
  void take();

 private:
  void run();
  void signal();

  int descriptor_ = -1;
  // Spares take() the reading while there is nothing to read. The thread stores it with release after it has written to the
  // descriptor; take() clears it with acquire before it reads, so it finds what was written, and a report in between is read
  // the next time. In any other order the descriptor could stay readable with nobody to read it.
  std::atomic<bool> signalled_{false};
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace LoamAgent
