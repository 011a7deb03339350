// A file system of a run's own for its store, which is full now and then.
//
// It is a tmpfs in a mount namespace of this process: its children see it, nobody else does, and it ends with them.
// It is full when its size is set to what is used at the moment. A thread does that at random moments for some
// milliseconds, between flow() and calm(); the owner does it for longer.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <random>
#include <string>
#include <thread>

#include "Pivot/Status.h"

namespace Inlif {

class TightSpace {
 public:
  TightSpace() = default;
  ~TightSpace();
  TightSpace(TightSpace const&) = delete;
  TightSpace& operator=(TightSpace const&) = delete;

  // Mounts it on the directory, which exists. Refused without the right to. REQUIRES: this process has one thread.
  Pivot::Status open(std::string const& directory);
  // Leaves so many bytes beyond what is used now.
  void tighten(std::uint64_t slack);
  void widen();
  // Short at random moments from here on, until calm(), which leaves it wide.
  void flow(std::uint64_t seed);
  void calm();
  // How often it was full.
  std::size_t times() const { return times_; }
  // Copies what is there, since it does not outlive this process. REQUIRES: calm.
  Pivot::Status copyTo(std::string const& directory) const;

 private:
  void run();
  bool rest(std::unique_lock<std::mutex>& lock);
  bool sizeIs(std::uint64_t bytes);

  std::string directory_;
  std::atomic<std::size_t> times_{0};
  std::mutex mutex_;
  std::condition_variable changed_;
  std::mt19937_64 random_;
  bool flows_ = false;
  bool stop_ = false;
  std::thread thread_;
};

}  // namespace Inlif
