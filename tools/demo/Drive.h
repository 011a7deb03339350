// One life of the agent as its client sees it: sends operations over the connection, keeps a window of them
// under way and follows how each ends. Demo and torture drive the agent through it; a new one is made for
// each life, since what was under way when an agent died has no end.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "Asic/GroupShoal.h"
#include "Shoal/SteadyReader.h"
#include "tools/demo/Stage.h"
#include "tools/demo/Wants.h"

namespace Inlif {

// How a write, remove or remove-all ended.
struct Ended {
  WantedPlace place;
  char op = 'w';  // write, (r)emove or remove-(a)ll
  bool done = false;
  std::uint64_t version = 0;
  double seconds = 0;  // since it was sent
};

// What the writer of the hardware has reported.
class Reports {
 public:
  std::uint64_t version(std::size_t table);

 private:
  Shoal::SteadyReader<Asic::TableVersion> rows_{tableVersionPath()};
};

class Drive {
 public:
  // `wants` learns each operation that is sent. Both outlive the drive. REQUIRES: the stage is connected.
  Drive(Stage& stage, Wants& wants) : stage_(stage), wants_(wants) {}

  // Sends one operation under a number of its own; what it depends on is found again by its place.
  void send(Json operation);
  // Sends operations from `next` on and moves it, until so many of this drive have ended. Refused when the
  // agent refuses one, or a process ends and is not to be started again.
  Pivot::Status run(std::vector<Json> const& operations, std::size_t& next, std::size_t untilEnded);
  // The same for all operations and all ends.
  Pivot::Status runAll(std::vector<Json> const& operations);
  // Sends an operation that is answered at once, or by its event alone, and waits for that. Refused with the
  // agent's own words.
  Pivot::Status ask(Json operation, Json& answer);
  // Waits for the next event of this name, or takes one that came since clearEvents().
  Pivot::Status await(std::string const& name, Json& event);
  void clearEvents() { events_.clear(); }
  // Waits until nothing is on its way to the hardware.
  Pivot::Status rest();

  std::vector<Ended> const& ended() const { return ended_; }
  // Operations that ended otherwise than they should, or lost earlier contents that were told of.
  std::vector<std::string> const& surprises() const { return surprises_; }

  // From here on each end is compared with what the hardware has: an operation that is done has a version, which
  // the hardware had not taken when it was asked for and has taken now. REQUIRES: no write is identical to what
  // stands while the agent marks. Null ends it; the reports outlive that.
  void compareEndsWith(Reports* reports) { reports_ = reports; }
  // A store that is full fails writes whose resources find no room in it. With this they are no surprise;
  // failed() are the places whose last write failed so.
  void mayFail() { mayFail_ = true; }
  std::set<WantedPlace> const& failed() const { return failed_; }
  // Prints on standard error now and then how many of the operations from here on have ended.
  void showsProgress(bool shows, std::size_t of) {
    shows_ = shows;
    shownFrom_ = ended_.size();
    of_ = of;
  }
  void showProgress(bool last);

 private:
  using Clock = std::chrono::steady_clock;
  struct UnderWay {
    WantedPlace place;
    char op;
    bool mustFail;
    Clock::time_point sent;
    std::uint64_t reported;  // when it was sent, if ends are compared
  };

  // Takes what comes until `isMet` says so.
  template <class Met>
  Pivot::Status takeUntil(Met isMet);
  Pivot::Status take(Json const& message);
  void takeEnd(std::uint64_t id, Json const& message);
  bool hadItsVersion(UnderWay const& operation, Ended const& end);

  Stage& stage_;
  Wants& wants_;
  std::uint64_t nextId_ = 1;
  std::unordered_map<std::uint64_t, UnderWay> underWay_;
  std::map<WantedPlace, std::uint64_t> lastWrite_;  // the id by which each place was written last
  Json answer_;                                     // of the operation that ask() waits for
  std::uint64_t asked_ = 0;
  std::map<std::string, Json> events_;
  std::vector<Ended> ended_;
  std::vector<std::string> surprises_;
  Reports* reports_ = nullptr;
  bool mayFail_ = false;
  std::set<WantedPlace> failed_;
  bool shows_ = false;
  std::size_t shownFrom_ = 0;
  std::size_t of_ = 0;
  Clock::time_point shown_;
};

}  // namespace Inlif
