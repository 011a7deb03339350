// The operations that take the clients through a restart: `client`, `unitsMade`, `replayed`, `sweep`, `reconcile`
// and `mark`; and the sweep that the agent does by itself. docs/json-protocol.md is the protocol.
//
// The operations of the agent own one. It decides when a sweep or a reconciliation may be done, plans it and does
// it through the host. On the agent's one thread.
//
// S1. Nothing is swept while a known client has not said `replayed`, whatever the time: the alarm only tells.
// S2. A limit is checked with a plan that was made in the same turn, so what is refused or let go is what the
//     sweep does.
// S3. A unit is cleared only when each known client has said `unitsMade`, and at least one is known.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "tools/agent/ConfigClient.h"
#include "tools/agent/Host.h"
#include "tools/agent/Outlet.h"
#include "tools/agent/RestartClients.h"
#include "tools/agent/SteppedAnswer.h"

namespace Inlif {

struct RestartOptions {
  std::vector<std::string> clients;         // expected from the start
  std::optional<std::uint64_t> sweepLimit;  // percent of a unit
  std::chrono::seconds sweepAlarm{300};
  bool suppressInitialMark = false;
};

class RestartOperations {
 public:
  using Clock = std::chrono::steady_clock;

  // What an operation that was not refused gives: members of its answer, or one in steps.
  struct Result {
    Json members = Json::object();
    std::unique_ptr<SteppedAnswer> answer;
  };

  // All four outlive the operations.
  RestartOperations(Host& host, RestartClients& clients, ConfigClient& config, Outlet& outlet,
                    RestartOptions const& options)
      : host_(host), clients_(clients), config_(config), outlet_(outlet), options_(options) {}

  // Does an operation by its name. False when it is none of these; otherwise it has filled the result, or
  // left a refusal in the reader.
  bool execute(std::string_view name, SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result);
  // A unit that a client has made begins to mark entries of an earlier life: the client that speaks through the
  // channel has not finished any more.
  void markingUnitMade(ChannelNumber channel);
  void channelGone(ChannelNumber channel) { speakers_.erase(channel); }

  // Does the sweep that has become due, and raises the alarm. Returns whether it has swept.
  bool turn();
  // When the alarm is due; the far future when nobody is waited for, or it has been raised.
  Clock::time_point nextDeadline() const;

  // What `status` tells beside tables: `clients` and `sweep`.
  void addStatus(Json& report) const;

 private:
  using Doing = void (RestartOperations::*)(SteppedAnswer::Asker const&, ObjectReader&, Result&);
  struct Name {
    char const* name;
    Doing doing;
  };
  static Name const kNames[];

  void client(SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result);
  void unitsMade(SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result);
  void replayed(SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result);
  void sweep(SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result);
  void reconcile(SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result);
  void mark(SteppedAnswer::Asker const& asker, ObjectReader& in, Result& result);

  void say(Pivot::Status (RestartClients::*what)(std::string const&), SteppedAnswer::Asker const& asker,
           ObjectReader& in, Result& result);
  Pivot::Status limitCheck(std::optional<std::uint64_t> limit) const;
  Json sweepNow();

  Host& host_;
  RestartClients& clients_;
  ConfigClient& config_;
  Outlet& outlet_;
  RestartOptions const options_;
  std::map<ChannelNumber, std::string> speakers_;  // which client a channel has spoken for last
  std::optional<Clock::time_point> waitingSince_;  // somebody has been waited for since then
  bool alarmed_ = false;
  std::uint64_t sweeps_ = 0;
};

}  // namespace Inlif
