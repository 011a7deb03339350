#include "agent/Backlog.h"

#include <algorithm>

namespace LoamAgent {

void Backlog::look(std::uint64_t announced, std::uint64_t reported, Clock::time_point now) {
  std::erase_if(moments_, [reported](Moment const& moment) { return moment.announced <= reported; });
  if (announced <= reported) return;
  if (moments_.empty()) step_ = kLeastStep;
  if (!moments_.empty() && (announced == moments_.back().announced || now - moments_.back().at < step_))
    return;
  if (moments_.size() == kMostMoments) {
    // The first stays: it is the age.
    std::size_t place = 0;
    std::erase_if(moments_, [&place](Moment const&) { return place++ % 2 == 1; });
    step_ *= 2;
  }
  moments_.push_back({announced, now});
}

Backlog::Clock::duration Backlog::age(Clock::time_point now) const {
  return moments_.empty() ? Clock::duration::zero() : now - moments_.front().at;
}

}  // namespace LoamAgent
