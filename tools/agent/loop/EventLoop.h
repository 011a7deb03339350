// The one loop of the command: takes lines from the input and the socket, gives them to the operations, gives the
// host its turns, and sends what came of it. Everything but the wait for reports and the reading of a configuration runs
// on this thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "agent/Restart.h"
#include "tools/agent/loop/Channels.h"
#include "tools/agent/loop/Listener.h"
#include "tools/agent/operations/ClientsFile.h"
#include "tools/agent/operations/ConfigClient.h"
#include "tools/agent/operations/Operations.h"

namespace Inlif {

class EventLoop {
 public:
  // `host` is open and outlives the loop. `signals` is a signalfd.
  EventLoop(LoamAgent::Host& host, ConfigOptions config, LoamAgent::Restart::Options const& restart,
            int signals);
  ~EventLoop();
  EventLoop(EventLoop const&) = delete;
  EventLoop& operator=(EventLoop const&) = delete;

  // `input` is a file, "-" or empty; `socket` the path to listen at; `clients` are waited for from the start. Refused also when the process may not have
  // the descriptors that an agent needs.
  Pivot::Status open(std::string const& input, std::string const& socket,
                     std::vector<std::string> const& clients);
  // Serves a configuration from the start.
  Pivot::Status configure(ConfigChange change) { return config_.serve(std::move(change)); }
  // Runs until somebody says quit or a signal ends it. The host is closed when this returns; the result is
  // the exit status.
  int run();

 private:
  using Clock = std::chrono::steady_clock;

  Pivot::Status openInput(std::string const& input);
  Pivot::Status openClients(std::vector<std::string> const& clients);
  bool watch(int descriptor, std::uint64_t tag, std::uint32_t events) const;
  void dispatch(std::uint64_t tag, std::uint32_t events);
  void takeSignal();
  void acceptAll();
  void pauseAccept();
  int timeout(bool busy) const;
  int shutDown();

  LoamAgent::Host& host_;
  ClientsFile clientsFile_;
  LoamAgent::Restart restart_;
  Pools pools_;
  Channels channels_;
  ConfigClient config_;
  Operations operations_;
  Listener listener_;
  int signals_;
  int epoll_ = -1;
  std::size_t mostConnections_ = 0;
  std::optional<Clock::time_point> acceptAgain_;  // nobody is accepted until then
  bool acceptFails_ = false;                      // the last one could not be
  bool stop_ = false;
};

}  // namespace Inlif
