// Numbered frames through the switch at a steady rate, round and round over its logical interfaces, and what became of each.
//
// One thread sends, one receives; both work on the same row of records, one for each frame by its number. The sender writes
// when a frame went, the receiver how it came out. Read them after stop().
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <thread>
#include <vector>

#include "Pivot/Status.h"

namespace Inlif {

// How a frame comes out of the switch.
struct Treatment {
  bool delivered = false;
  std::uint16_t vlan = 0;      // of its tag; 0 without one
  std::uint8_t codePoint = 0;  // of its IP header

  static constexpr std::uint32_t kDelivered = 1U << 31;
  // In one word; 0 when it does not come out.
  std::uint32_t word() const { return delivered ? kDelivered | std::uint32_t{vlan} << 8 | codePoint : 0; }
};

class FrameStream {
 public:
  using Clock = std::chrono::steady_clock;
  using Time = std::int64_t;  // nanoseconds of Clock

  // One logical interface, as its frames go in: at which host, and with which tag, 0 without.
  struct Source {
    std::size_t host = 0;
    std::uint16_t vlan = 0;
  };
  struct Record {
    Time sent = 0;  // 0: not sent
    std::atomic<std::uint32_t> fate{0};
  };
  // The fate of a frame that came out and cannot be right: damaged, or twice.
  static constexpr std::uint32_t kMalformed = 1U << 30;

  // Takes the sockets over: one for each host, and the one at which everything comes out.
  FrameStream(std::vector<Source> sources, std::vector<int> hosts, int out, std::uint32_t rate);
  ~FrameStream();

  static Time now() { return Clock::now().time_since_epoch().count(); }

  Pivot::Status start();
  // Ends the sending, and then the receiving when nothing more can be on its way.
  void stop();
  // Lets so many rounds over all interfaces go.
  void rounds(unsigned count) const;

  std::size_t sources() const { return sources_.size(); }
  // All frames by their numbers; frame n belongs to interface n modulo sources(). REQUIRES: stop() was called.
  std::span<Record const> records() const { return {records_.get(), next_}; }

 private:
  void send();
  void receive();
  bool receiveOne();

  std::vector<Source> const sources_;
  std::vector<int> const hosts_;
  int const out_;
  std::uint32_t const rate_;
  std::size_t const most_;
  std::unique_ptr<Record[]> records_;
  std::atomic<std::size_t> next_{0};
  std::atomic<bool> sending_{false};
  std::atomic<bool> receiving_{false};
  std::thread sender_;
  std::thread receiver_;
};

}  // namespace Inlif
