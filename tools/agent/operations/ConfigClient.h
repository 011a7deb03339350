// The agent as a client of its own tables: serves the interfaces of a switch configuration.
//
// Each reading is compared with what the client wants already; only the difference is written and removed. A file that
// is refused, a store that cannot hold the unit, or a difference that would remove too much changes nothing. An
// operation that fails is told, and its interface counts as not written, so that the next reading tries again. The
// event loop owns the client. On the agent's one thread.
//
// A reading takes as long as its file is large, so it is done beside the turns of the loop: read and compared on a
// thread of its own, then removed and written for a moment in each turn. Readings are done one after the other, in the
// order in which they were asked for, and each is answered when its operations have been committed or have failed, or
// some of them have waited for a while.
//
// K1. `wanted_` changes only when a reading begins to remove and write; while a thread compares with it, it stands.
// K2. The client has replayed only after it has written all that it wants since the tables began to mark: a mark lets
//     it write again after the reading that is under way, and that one does not speak for it.
#pragma once

#include <list>
#include <optional>
#include <string>

#include "agent/Host.h"
#include "agent/RestartClients.h"
#include "tools/agent/operations/ConfigFailures.h"
#include "tools/agent/operations/ConfigReader.h"
#include "tools/agent/operations/Outlet.h"
#include "tools/agent/operations/SteppedAnswer.h"

namespace Inlif {

struct ConfigOptions {
  std::string file;  // to serve from the start, or empty
  ConfigLimits limits;
};

class ConfigClient {
 public:
  using Clock = std::chrono::steady_clock;

  // The name under which the client speaks for itself: after each reading it has made its units and written all
  // that it wants, so that a sweep takes what an earlier life has left.
  static constexpr char const* kName = "config";

  // All three outlive the client.
  ConfigClient(LoamAgent::Host& host, LoamAgent::RestartClients& clients, Outlet& outlet,
               ConfigOptions options)
      : host_(host),
        clients_(clients),
        outlet_(outlet),
        ownFile_(std::move(options.file)),
        file_(ownFile_),
        limits_(options.limits) {}

  Pivot::Status open() { return reader_.open(); }
  // Becomes readable when turn() has something to do.
  int descriptor() const { return reader_.descriptor(); }

  // The file named at the start; without one the file that was read last, empty for none.
  std::string const& file() const { return ownFile_.empty() ? file_ : ownFile_; }
  // Serves what was read before the start of the loop. Refused when a unit cannot be made.
  Pivot::Status serve(ConfigChange change);
  // An operation, which is answered in the end: `plan` only tells, `force` removes whatever there is to remove.
  void ask(Asker asker, std::string file, bool plan, bool force);
  // Reads the file again, and tells every channel. REQUIRES: there is a file.
  void readAgain();
  // Writes again what is wanted in the tables that mark, since one has begun to.
  void replay() { replayed_ = 0; }

  // Goes on with what is under way. Returns whether there is more to do at once.
  bool turn();
  // Whether operations of the client are still to be begun.
  bool busy() const { return reading_ || !waiting_.empty() || replayed_; }
  bool holds(ChannelNumber channel) const;
  // Who has gone gets no answer; what has begun to change the tables is done to its end.
  void channelGone(ChannelNumber channel);
  Clock::time_point nextDeadline() const;

  // For `status`: file, interfaces served, those whose last operation failed, and the last refusal. Null without a
  // configuration.
  Json statusJson() const;

 private:
  enum class Stage { reading, listing, removing, writing, settling };
  struct Reading {
    std::optional<Asker> asker;  // none: every channel is told
    std::string file;
    bool plan = false;
    bool force = false;
    bool wasServing = false;  // what stood was compared with, so only the difference is written
    Stage stage = Stage::reading;
    ConfigChange change;
    std::size_t next = 0;            // of the list that the stage goes through
    std::uint64_t lastSequence = 0;  // of its operations, in the resolver
    Clock::time_point settledBy;
  };

  void begin(Reading reading);
  void beginSlice();
  // To be asked once after each operation or line.
  bool sliceIsOver();
  bool continueReading();
  void decide();
  Pivot::Status makeUnits();
  bool list();
  bool remove();
  bool write();
  void continueReplay();
  bool settled() const;
  void complete();
  void refuse(Pivot::Status const& status);
  void answer(Json const& members);

  void write(WantedInterface const& wanted);
  Asic::OrderedSwTable::ResponseHandler handler(EntryPlace const& place);

  LoamAgent::Host& host_;
  LoamAgent::RestartClients& clients_;
  Outlet& outlet_;
  std::string const ownFile_;  // named at the start
  std::string file_;           // read last
  ConfigLimits const limits_;
  bool serving_ = false;
  WantedInterfaces wanted_;
  ConfigFailures failures_;
  std::size_t underWay_ = 0;  // operations that have not ended
  Clock::time_point sliceEnd_;
  std::size_t operationsOfSlice_ = 0;
  ConfigReader reader_;
  std::optional<Reading> reading_;
  std::list<Reading> waiting_;
  std::optional<std::size_t> replayed_;  // so many of `wanted_`, while it is written again
  std::string refusal_;                  // of the last reading, when it was refused
};

}  // namespace Inlif
