// The clients that the agent waits for after a restart, by name, and what each has said in this life.
//
// A client is known when it registered in this life or an earlier one, or when the command line expects it. Names
// of registered clients are remembered in a file of the store root, so that a sweep waits also for a client that
// has not come back yet. The event loop owns the one object; operations and the configuration client speak
// through it. On the agent's one thread.
//
// C1. A name is in the file before its registration is answered, and the file is replaced whole: an agent that
//     is killed at any moment expects the old names or the new ones.
// C2. Who has said that it is done (`replayed`) before the tables began to mark again has said nothing: see
//     replayAgain().
#pragma once

#include <map>
#include <string>
#include <vector>

#include "Pivot/Status.h"
#include "tools/json/Json.h"

namespace Inlif {

class RestartClients {
 public:
  RestartClients() = default;
  RestartClients(RestartClients const&) = delete;
  RestartClients& operator=(RestartClients const&) = delete;

  // Reads the names of earlier lives from `file` (none when it is missing) and adds the expected ones, which are
  // not remembered. Refused when the file cannot be read: to go on without it would sweep what somebody wants.
  Pivot::Status open(std::string file, std::vector<std::string> const& expected);

  bool knows(std::string const& name) const { return clients_.contains(name); }
  bool any() const { return !clients_.empty(); }
  // Registers a client, or says again that it is there. Refused, with nothing changed, when the name is empty or
  // longer than kMostName, cannot be remembered, or would be one of more than kMostClients.
  Pivot::Status add(std::string const& name);
  // Takes a registration back; the next life does not expect it either.
  Pivot::Status forget(std::string const& name);
  // Refused for a name that is not known.
  Pivot::Status unitsMadeIs(std::string const& name);
  Pivot::Status replayedIs(std::string const& name);

  // Everybody has to say `replayed` again, or one client has.
  void replayAgain();
  void replayAgain(std::string const& name);

  // Who has not said so, in order of name.
  std::vector<std::string> withoutUnits() const;
  std::vector<std::string> withoutReplay() const;
  bool waitsForReplay() const;
  // Whether the last known client has said `replayed`, or was forgotten, since the last call; false as long as
  // nobody is known.
  bool sweepDueTake();

  // The member `clients` of answers.
  Json json() const;

  static constexpr std::size_t kMostName = 64;

 private:
  struct Client {
    bool remembered = false;
    bool registered = false;
    bool unitsMade = false;
    bool replayed = false;
  };

  Client* find(std::string const& name, Pivot::Status& status);
  Pivot::Status recall();
  Pivot::Status remember() const;

  std::string file_;
  std::map<std::string, Client> clients_;
  bool spoken_ = false;  // something was said that may make a sweep due
};

}  // namespace Inlif
