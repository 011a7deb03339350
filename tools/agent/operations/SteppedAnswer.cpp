#include "tools/agent/operations/SteppedAnswer.h"

#include <algorithm>

namespace Inlif {
namespace {

// What all answers together take of one turn.
constexpr std::chrono::microseconds kSlice{1000};
// What one of them has at least before the next has its part.
constexpr std::chrono::microseconds kLeastPart{50};
// How long one rests before its channel is looked at again.
constexpr std::chrono::milliseconds kPause{10};

}  // namespace

bool SteppedAnswer::turn(Clock::time_point until) {
  until_ = until;
  return turn();
}

void SteppedAnswers::add(std::unique_ptr<SteppedAnswer> answer) {
  if (!answer) return;
  ChannelNumber const channel = answer->channel();
  answers_[channel] = std::move(answer);
}

bool SteppedAnswers::turn() {
  if (answers_.empty()) return false;
  auto const end = Clock::now() + kSlice;
  auto const part = std::max<Clock::duration>(kSlice / answers_.size(), kLeastPart);
  bool more = false;
  auto at = answers_.upper_bound(last_);
  for (std::size_t left = answers_.size(); left > 0; --left) {
    if (at == answers_.end()) at = answers_.begin();
    SteppedAnswer& one = *at->second;
    if (one.rests()) {
      ++at;
      continue;
    }
    // Whoever was answered may have more to say.
    more = true;
    if (Clock::now() >= end) break;
    last_ = at->first;
    at = one.turn(Clock::now() + part) ? answers_.erase(at) : std::next(at);
  }
  return more;
}

SteppedAnswers::Clock::time_point SteppedAnswers::nextDeadline() const {
  bool const waits = std::ranges::any_of(answers_, [](auto const& one) { return one.second->rests(); });
  return waits ? Clock::now() + kPause : Clock::time_point::max();
}

}  // namespace Inlif
