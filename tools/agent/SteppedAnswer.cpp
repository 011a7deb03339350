#include "tools/agent/SteppedAnswer.h"

#include <algorithm>

namespace Inlif {
namespace {

// What all answers together take of one turn.
constexpr std::chrono::microseconds kSlice{1000};
// How long one rests before its channel is looked at again.
constexpr std::chrono::milliseconds kPause{10};

}  // namespace

bool SteppedAnswer::turn(Clock::time_point until) {
  until_ = until;
  return goOn();
}

void SteppedAnswer::send(Json const& members) const {
  Json message = {{"id", asker_.id}};
  message.update(members);
  asker_.outlet.send(asker_.channel, message);
}

bool SteppedAnswer::complete(Json const& members) const {
  Json message = {{"ok", true}};
  message.update(members);
  send(message);
  return true;
}

bool SteppedAnswer::refuse(std::string const& message) const {
  send({{"ok", false}, {"error", message}});
  return true;
}

void SteppedAnswers::add(std::unique_ptr<SteppedAnswer> answer) {
  if (answer) answers_.push_back(std::move(answer));
}

bool SteppedAnswers::turn() {
  if (answers_.empty()) return false;
  auto const share = kSlice / answers_.size();
  std::size_t const ended = answers_.remove_if(
      [share](auto const& one) { return !one->rests() && one->turn(Clock::now() + share); });
  // Whoever was answered may have more to say.
  return ended > 0 || std::ranges::any_of(answers_, [](auto const& one) { return !one->rests(); });
}

bool SteppedAnswers::holds(ChannelNumber channel) const {
  return std::ranges::any_of(answers_, [channel](auto const& one) { return one->channel() == channel; });
}

void SteppedAnswers::channelGone(ChannelNumber channel) {
  answers_.remove_if([channel](auto const& one) { return one->channel() == channel; });
}

SteppedAnswers::Clock::time_point SteppedAnswers::nextDeadline() const {
  bool const waits = std::ranges::any_of(answers_, [](auto const& one) { return one->rests(); });
  return waits ? Clock::now() + kPause : Clock::time_point::max();
}

}  // namespace Inlif
