// Judges the frames of a stream: for each, whether it was treated as its interface stood when it was sent.
//
// Of each interface it is told how it stands at the beginning, and of each change when it was asked for, when it was
// acknowledged, and how frames are to be treated from then on. A frame that was sent before a change was asked for must be
// treated in the old way, one sent after the acknowledgement in the new one; in between either is right.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/demo/kernel/FrameStream.h"

namespace Inlif {

// Of a set of interfaces, all their frames.
struct FrameCounts {
  std::size_t interfaces = 0;
  std::size_t sent = 0;
  std::size_t delivered = 0;
  std::size_t dropped = 0;  // as they should be
  std::size_t lost = 0;     // dropped, and should not be
  std::size_t wrong = 0;    // delivered, and should not be, or not so
};

struct FrameVerdict {
  FrameCounts unchanged;
  FrameCounts changed;
  // For each change, milliseconds from the acknowledgement to the first frame that was treated anew; below 0 when that
  // frame was sent before. Ascending.
  std::vector<double> delays;
  std::size_t neverAnew = 0;          // changes that no frame has shown
  std::vector<std::size_t> sentOf;    // by interface
  std::vector<std::string> examples;  // of what was lost or wrong, at most ten

  bool holds() const { return lostOrWrong() == 0 && neverAnew == 0; }
  std::size_t lostOrWrong() const { return unchanged.lost + unchanged.wrong + changed.lost + changed.wrong; }
};

class FrameAccount {
 public:
  using Time = FrameStream::Time;

  // How each interface is treated at the beginning.
  explicit FrameAccount(std::vector<Treatment> const& standing);

  // REQUIRES: the times of an interface ascend.
  void change(std::size_t interface, Time asked, Time acknowledged, Treatment treatment);
  bool isChanged(std::size_t interface) const { return spans_[interface].size() > 1; }

  // REQUIRES: frame n belongs to interface n modulo the number of interfaces.
  FrameVerdict judge(std::span<FrameStream::Record const> frames) const;

 private:
  struct Span {
    Time asked;
    Time acknowledged;
    std::uint32_t fate;
  };

  bool mayBe(std::vector<Span> const& spans, Time sent, std::uint32_t fate) const;
  void delaysInto(std::span<FrameStream::Record const> frames, std::size_t interface,
                  FrameVerdict& verdict) const;

  std::vector<std::vector<Span>> spans_;
};

}  // namespace Inlif
