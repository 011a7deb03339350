// The operations of the agent: reads one JSON line, does what it says or refuses it, and answers.
// docs/json-protocol.md is the protocol. Operations.cpp has the table of their names; those on entries and those around a
// restart lie in files of their own.
//
// The event loop owns one and gives it each line. An operation is read to its end before anything is touched,
// so a refused one has changed nothing. Handlers of operations run later, inside the host's turn, and send
// the events. On the agent's one thread.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Pivot/Publisher.h"
#include "agent/Restart.h"
#include "tools/agent/operations/ConfigClient.h"
#include "tools/agent/operations/HardwareFailures.h"
#include "tools/agent/operations/Limits.h"
#include "tools/agent/operations/LogHighWater.h"
#include "tools/agent/operations/Outlet.h"
#include "tools/agent/operations/Receipts.h"
#include "tools/agent/operations/SteppedAnswer.h"
#include "tools/agent/operations/TurnTime.h"

namespace Inlif {

class Operations {
 public:
  using Clock = std::chrono::steady_clock;

  // All five outlive the operations.
  Operations(LoamAgent::Host& host, LoamAgent::Restart& restart, ConfigClient& config, Outlet& outlet,
             Pools& pools);
  ~Operations();
  Operations(Operations const&) = delete;
  Operations& operator=(Operations const&) = delete;

  // False: the operation cannot begin before hasRoom(), and has to come again.
  [[nodiscard]] bool execute(ChannelNumber channel, std::string_view line, bool tooLong);
  // Whether one more write, remove or removeAll of the channel may be under way.
  bool hasRoom(ChannelNumber channel) const { return receipts_.hasRoom(channel); }
  void channelGone(ChannelNumber channel);
  // Ends the long answers of a channel whose peer takes none any more.
  void dropAnswers(ChannelNumber channel) { answers_.channelGone(channel); }
  // Whether the channel's next operation has to wait until a stepped answer or a wait of it is complete.
  bool holds(ChannelNumber channel) const;
  // Whether anything is still to be sent to a channel whose peer says nothing more.
  bool owes(ChannelNumber channel) const;
  // Goes on with stepped answers, waits and what is due around a restart, and tells of losses. Returns whether there is
  // more to do at once.
  bool turn();
  // Told by the loop how long its turns take; the operation `status` answers with the longest.
  TurnTime& turnTime() { return turnTime_; }
  // When the next wait ends without success; the far future without one.
  Clock::time_point nextDeadline() const;

  // Whether somebody said `quit`, and who.
  bool quitAsked() const { return quit_.has_value(); }
  // Answers the quit after everything has been freed.
  void answerQuit(std::vector<std::string> const& leaks);
  // Drops handles and subscriptions; to be called before the host closes.
  void close();

 private:
  // An operation that is being read.
  struct Request {
    ChannelNumber channel;
    Json id;
    ObjectReader& in;
    bool postponed = false;  // there is no room for it now
  };
  struct Wait {
    Asker asker;
    Clock::time_point since;
    Clock::time_point deadline;
  };
  // Follows the pending state of one table instance.
  struct PendingWatch : Pivot::Subscriber {
    Operations* operations = nullptr;
    std::size_t table = 0;
  };
  using Doing = void (Operations::*)(Request&);
  struct Name {
    std::string_view name;
    Doing doing;
    bool onlyAsks = false;  // changes nothing: not done for who does not take the answer
  };
  static Name const kNames[];

  // Null for a name that is none of these.
  static Name const* find(std::string_view name);
  static void idFrom(ObjectReader& in, Json& id);
  // The operations. Each answers, or leaves a refusal in the reader. Those on entries:
  void unit(Request& request);
  void write(Request& request);
  void remove(Request& request);
  void removeAll(Request& request);
  void read(Request& request);
  void has(Request& request);
  void count(Request& request);
  void walk(Request& request);
  // Those around a restart:
  void client(Request& request);
  void unitsMade(Request& request);
  void replayed(Request& request);
  void sweep(Request& request);
  void reconcile(Request& request);
  void mark(Request& request);
  // Those on the agent as a whole:
  void resource(Request& request);
  void status(Request& request);
  void wait(Request& request);
  void why(Request& request);
  void latency(Request& request);
  void config(Request& request);
  void errors(Request& request);
  void trace(Request& request);
  void failures(Request& request);
  void retry(Request& request);
  void inspect(Request& request);
  void quit(Request& request);

  Receipts::Handle dependency(Request& request);
  // Whether a write, remove or removeAll is good to be done and may be under way; if so it has begun, and is answered.
  // Null otherwise.
  Receipts::Receipt* begin(Request& request);
  // Whether the operation is good to be done: no refusal, and no member that nobody asked for.
  static bool complete(Request& request);

  Asker asker(Request const& request) { return {outlet_, request.channel, request.id}; }
  void answer(Request const& request, Json const& members = Json::object()) {
    asker(request).answer(members);
  }
  Asic::OrderedSwTable::ResponseHandler handler(Receipts::Receipt& receipt);
  void ended(Receipts::Receipt& receipt, Asic::OrderedSwTable::EntryHandle const& handle);
  // What a client says of itself: `change` is what it does to the clients that the agent knows.
  void clientSays(Request& request, std::string const& name,
                  Pivot::Status (LoamAgent::RestartClients::*change)(std::string const&));
  Json tellSwept(std::vector<LoamAgent::Host::Swept> const& swept);
  // Does what is due around a restart. Returns whether it has swept.
  bool turnRestart();
  bool turnWaits();
  void pendingChanged(std::size_t table);
  static void pendingDispatch(Pivot::Publisher*, Pivot::Subscriber* subscriber, Pivot::FieldId field,
                              void const*, void const*);

  LoamAgent::Host& host_;
  LoamAgent::Restart& restart_;
  ConfigClient& config_;
  Outlet& outlet_;
  Document line_;  // the one that is being executed
  LogHighWater logHighWater_;
  FailureEvents failureEvents_;
  Receipts receipts_;
  SteppedAnswers answers_;
  std::map<ChannelNumber, Wait> waits_;            // each holds its channel
  std::map<ChannelNumber, std::string> speakers_;  // which client a channel has spoken for last
  std::array<PendingWatch, LoamInLif::kTables> watches_;
  bool watching_ = false;
  TurnTime turnTime_;
  std::optional<Asker> quit_;
};

}  // namespace Inlif
