// The agent as a client of its own tables: serves the interfaces of a switch configuration.
//
// Each reading is compared with what the client wants already; only the difference is written and removed. A
// file that is refused, or a store that cannot hold the unit, changes nothing. An operation that fails is
// told as an event, and its interface counts as not written, so that the next reading tries again. The event
// loop owns the client. On the agent's one thread.
#pragma once

#include <set>
#include <string>

#include "tools/agent/Host.h"
#include "tools/agent/Outlet.h"
#include "tools/agent/RestartClients.h"
#include "tools/config/InterfaceMapping.h"

namespace Inlif {

class ConfigClient {
 public:
  // The name under which the client speaks for itself: after each reading it has made its units and written all
  // that it wants, so that a sweep takes what an earlier life has left.
  static constexpr char const* kName = "config";

  // All three outlive the client.
  ConfigClient(Host& host, RestartClients& clients, Outlet& outlet, std::string file)
      : host_(host), clients_(clients), outlet_(outlet), file_(std::move(file)) {}

  // The file named at the start, or the one that was read last; empty without one.
  std::string const& file() const { return file_; }
  // Reads a configuration and writes the difference. `result` tells how many interfaces were written, removed
  // and left as they are.
  Pivot::Status read(std::string const& file, Json& result);
  // Writes again what is wanted in the tables that mark, since one has begun to.
  void replay();
  // For `status`: file, interfaces served, interfaces whose last operation failed. Null without a
  // configuration.
  Json statusJson() const;

 private:
  void write(EntryPlace const& place, WantedEntry const& wanted);
  void remove(EntryPlace const& place, std::string const& interface);
  void ended(EntryPlace const& place, std::string const& interface, Asic::EntryState state);

  Host& host_;
  RestartClients& clients_;
  Outlet& outlet_;
  std::string file_;
  bool serving_ = false;
  WantedEntries wanted_;
  std::set<EntryPlace> failed_;
};

}  // namespace Inlif
