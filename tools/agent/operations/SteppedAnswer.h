// Answers that are given in steps, since they can be long: those of `walk`, `why`, `inspect` and `reconcile`, and
// the plan of a sweep.
//
// An operation that has been read and not refused hands its answer to the one SteppedAnswers, which Operations
// owns. Each turn of the agent's loop gives all answers under way together one slice of time, one after the other
// from where the turn before ended, so that neither a large table nor many askers keep the others waiting. An
// answer holds its channel until it is complete, rests while the channel has much unsent, and goes with all that it
// holds when the channel goes. Between two slices anything may have changed; what an answer points to it keeps
// alive. On the agent's one thread.
#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>

#include "tools/agent/operations/Outlet.h"

namespace Inlif {

class SteppedAnswer {
 public:
  using Clock = std::chrono::steady_clock;

  virtual ~SteppedAnswer() = default;
  SteppedAnswer(SteppedAnswer const&) = delete;
  SteppedAnswer& operator=(SteppedAnswer const&) = delete;

  ChannelNumber channel() const { return asker_.channel; }
  // Whether the channel has so much unsent that the answer rests.
  bool rests() const { return asker_.outlet.isFull(asker_.channel); }
  // Goes on until about `until`. Returns whether the answer is complete.
  bool turn(Clock::time_point until);

 protected:
  explicit SteppedAnswer(Asker asker) : asker_(std::move(asker)) {}

  // Takes at least one step, and more until sliceIsOver(). Returns whether the answer is complete.
  virtual bool turn() = 0;
  bool sliceIsOver() const { return Clock::now() >= until_ || rests(); }

  // One line of the answer.
  void send(Json const& members) const { asker_.send(members); }
  // The last line, of either kind; both return true.
  bool complete(Json const& members) const {
    asker_.answer(members);
    return true;
  }
  bool refuse(std::string const& message) const {
    asker_.refuse(message);
    return true;
  }

 private:
  Asker const asker_;
  Clock::time_point until_;
};

class SteppedAnswers {
 public:
  using Clock = SteppedAnswer::Clock;

  // Null, of an operation that was refused, adds nothing. REQUIRES: none of its channel is under way.
  void add(std::unique_ptr<SteppedAnswer> answer);
  // One slice for all. Returns whether there is more to do at once.
  bool turn();
  // Whether an answer of the channel is under way.
  bool holds(ChannelNumber channel) const { return answers_.contains(channel); }
  void channelGone(ChannelNumber channel) { answers_.erase(channel); }
  void clear() { answers_.clear(); }
  // When one that rests is to be looked at again; the far future without one.
  Clock::time_point nextDeadline() const;

 private:
  std::map<ChannelNumber, std::unique_ptr<SteppedAnswer>> answers_;
  ChannelNumber last_ = 0;  // the one that had its part last
};

}  // namespace Inlif
