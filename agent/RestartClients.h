// The clients that the agent waits for after a restart, by name, and what each has said in this life.
//
// A client is known when it registered in this life or an earlier one, or when the agent was started to expect it. Names
// of registered clients are remembered, so that a sweep waits also for a client that has not come back yet; where, the
// owner decides. The clients speak through the one object, which Restart owns. On the agent's one thread.
//
// C1. A name is remembered before its registration is answered: an agent that is killed at any moment expects the old
//     names or the new ones.
// C2. Who has said that it is done (`replayed`) before the tables began to mark again has said nothing: see
//     replayAgain().
#pragma once

#include <map>
#include <string>
#include <vector>

#include "Pivot/Status.h"

namespace LoamAgent {

// What outlives an agent of the names of its clients.
class ClientMemory {
 public:
  virtual ~ClientMemory() = default;

  // The names of earlier lives, each good for isName(); none where nothing was remembered yet.
  virtual Pivot::Status recall(std::vector<std::string>& names) = 0;
  // Keeps these in place of all others: a process killed in between leaves the old ones or the new ones.
  virtual Pivot::Status remember(std::vector<std::string> const& names) = 0;
};

class RestartClients {
 public:
  // What a client has said in this life.
  struct Client {
    bool remembered = false;  // its name outlives this agent
    bool registered = false;  // it is there
    bool unitsMade = false;   // the tables of its units are made
    bool replayed = false;    // everything that it wants was written in this life
  };

  RestartClients() = default;
  RestartClients(RestartClients const&) = delete;
  RestartClients& operator=(RestartClients const&) = delete;

  // Recalls the names of earlier lives and adds the expected ones, which are not remembered. Refused when they cannot
  // be recalled: to go on without them would sweep what somebody wants. `memory` outlives the object.
  Pivot::Status open(ClientMemory& memory, std::vector<std::string> const& expected);
  // For an agent whose clients are parts of itself: these are all, in this life and in the next, and nothing has to be
  // remembered. Who is not among them is refused. Refused: one of them is no name.
  Pivot::Status open(std::vector<std::string> const& all);

  // Whether a name is known, and whether any is.
  bool knows(std::string const& name) const { return clients_.contains(name); }
  bool any() const { return !clients_.empty(); }
  // In order of name.
  std::map<std::string, Client> const& all() const { return clients_; }
  // A name has 1 to kMostName bytes.
  static bool isName(std::string const& name) { return !name.empty() && name.size() <= kMostName; }
  // Registers a client, or says again that it is there. Refused, with nothing changed, when it is no name, cannot be
  // remembered, or would be one of more than kMostClients.
  Pivot::Status add(std::string const& name);
  // Takes a registration back; the next life does not expect it either.
  Pivot::Status forget(std::string const& name);
  // The client has made the tables of its units, or has written everything that it wants. Refused for a name that is not
  // known, or that cannot be remembered.
  Pivot::Status unitsMadeIs(std::string const& name);
  Pivot::Status replayedIs(std::string const& name);

  // Everybody has to say `replayed` again, or one client has.
  void replayAgain();
  void replayAgain(std::string const& name);

  // Who has not said so, in order of name.
  std::vector<std::string> withoutUnits() const;
  std::vector<std::string> withoutReplay() const;
  // Whether there is anybody.
  bool waitsForReplay() const;
  // Whether the last known client has said `replayed`, or was forgotten, since the last call; false as long as
  // nobody is known.
  bool takeSweepDue();

  static constexpr std::size_t kMostName = 64;
  static constexpr std::size_t kMostClients = 256;

 private:
  Client* find(std::string const& name, Pivot::Status& status);
  Pivot::Status remember() const;

  ClientMemory* memory_ = nullptr;  // null: the clients are parts of the agent
  std::map<std::string, Client> clients_;
  bool spoken_ = false;  // something was said that may make a sweep due
};

}  // namespace LoamAgent
