// Tells the event loop when the writer of the hardware has reported: a helper thread that waits on the
// table-version map and signals an eventfd. It reads nothing but the change counter of that map and touches
// no table state, so the agent stays a program of one thread.
#pragma once

#include <atomic>
#include <thread>

#include "Pivot/Status.h"

namespace Inlif {

class ReportWatch {
 public:
  ReportWatch() = default;
  ~ReportWatch();
  ReportWatch(ReportWatch const&) = delete;
  ReportWatch& operator=(ReportWatch const&) = delete;

  // REQUIRES: signals that the loop takes are blocked already, so that the thread never gets one.
  Pivot::Status start();
  // Becomes readable after a report.
  int descriptor() const { return descriptor_; }
  // Makes it unreadable again; to be called before the reports are looked at.
  void taken();

 private:
  void run();
  void signal() const;

  int descriptor_ = -1;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

}  // namespace Inlif
