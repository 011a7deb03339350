#include "tools/demo/kernel/FrameAccount.h"

#include <fmt/format.h>

#include <algorithm>

namespace Inlif {
namespace {

// A frame counts as sent when the sender began with it; on a busy machine it can meet the switch so much later.
constexpr FrameAccount::Time kHeldUp = 50'000'000;

std::string textOf(std::uint32_t fate) {
  if (fate == 0) return "not delivered";
  if (fate == FrameStream::kMalformed) return "delivered damaged, or twice";
  return fmt::format("delivered with VLAN {} and code point {}", fate >> 8 & 0xfff, fate & 0xff);
}

}  // namespace

FrameAccount::FrameAccount(std::vector<Treatment> const& standing) {
  for (Treatment const& treatment : standing) spans_.push_back({{0, 0, treatment.word()}});
}

void FrameAccount::change(std::size_t interface, Time asked, Time acknowledged, Treatment treatment) {
  spans_[interface].push_back({asked, acknowledged, treatment.word()});
}

bool FrameAccount::mayBe(std::vector<Span> const& spans, Time sent, std::uint32_t fate) const {
  for (std::size_t i = spans.size(); i-- > 0;) {
    if (sent + kHeldUp < spans[i].asked) continue;
    if (fate == spans[i].fate) return true;
    if (sent >= spans[i].acknowledged) return false;  // what stood before it counts no more
  }
  return false;
}

void FrameAccount::delaysInto(std::span<FrameStream::Record const> frames, std::size_t interface,
                              FrameVerdict& verdict) const {
  std::vector<Span> const& spans = spans_[interface];
  for (std::size_t i = 1; i < spans.size(); ++i) {
    if (spans[i].fate == spans[i - 1].fate) continue;
    Time const end = i + 1 < spans.size() ? spans[i + 1].asked : INT64_MAX;
    Time first = 0;
    for (std::size_t n = interface; n < frames.size() && first == 0; n += spans_.size()) {
      Time const sent = frames[n].sent;
      if (sent == 0 || sent + kHeldUp < spans[i].asked) continue;
      if (sent >= end) break;
      if (frames[n].fate == spans[i].fate) first = sent;
    }
    if (first == 0)
      ++verdict.neverAnew;
    else
      verdict.delays.push_back(static_cast<double>(first - spans[i].acknowledged) / 1e6);
  }
}

FrameVerdict FrameAccount::judge(std::span<FrameStream::Record const> frames) const {
  FrameVerdict verdict;
  verdict.sentOf.resize(spans_.size());
  for (std::size_t i = 0; i < spans_.size(); ++i) {
    (isChanged(i) ? verdict.changed : verdict.unchanged).interfaces += 1;
    delaysInto(frames, i, verdict);
  }
  for (std::size_t n = 0; n < frames.size(); ++n) {
    std::size_t const interface = n % spans_.size();
    Time const sent = frames[n].sent;
    std::uint32_t const fate = frames[n].fate;
    if (sent == 0) continue;
    FrameCounts& counts = isChanged(interface) ? verdict.changed : verdict.unchanged;
    ++counts.sent;
    ++verdict.sentOf[interface];
    bool const isRight = mayBe(spans_[interface], sent, fate);
    ++(fate != 0 ? isRight ? counts.delivered : counts.wrong : isRight ? counts.dropped : counts.lost);
    if (!isRight && verdict.examples.size() < 10)
      verdict.examples.push_back(fmt::format("frame {} of interface {}: {}", n, interface, textOf(fate)));
  }
  std::ranges::sort(verdict.delays);
  return verdict;
}

}  // namespace Inlif
