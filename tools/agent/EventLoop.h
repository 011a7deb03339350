// The agent's one loop: takes lines from the input and the socket, gives them to the operations, gives the
// host its turns, and sends what came of it. Everything but the wait for reports runs on this thread.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "tools/agent/Channel.h"
#include "tools/agent/ConfigClient.h"
#include "tools/agent/Host.h"
#include "tools/agent/Listener.h"
#include "tools/agent/Operations.h"
#include "tools/agent/Outlet.h"
#include "tools/agent/ReportWatch.h"

namespace Inlif {

class EventLoop final : public Outlet {
 public:
  // `host` is open and outlives the loop. `signals` is a signalfd.
  EventLoop(Host& host, std::string configFile, RestartOptions const& restart, int signals);
  ~EventLoop() override;

  // `input` is a file, "-" or empty; `socket` the path to listen at.
  Pivot::Status open(std::string const& input, std::string const& socket);
  // Reads the configuration for the first time.
  Pivot::Status configure();
  // Runs until somebody says quit or a signal ends it. The host is closed when this returns; the result is
  // the exit status.
  int run();

  void send(ChannelNumber channel, Json const& message) override;
  void broadcast(Json const& message) override;
  bool isFull(ChannelNumber channel) const override;

 private:
  static constexpr ChannelNumber kInput = 1;

  void add(ChannelNumber number, std::unique_ptr<Channel> channel);
  void watch(int descriptor, std::uint64_t tag, std::uint32_t events) const;
  void dispatch(std::uint64_t tag, std::uint32_t events);
  void takeSignal();
  void acceptAll();
  bool takeLines();
  void flushAll();
  int timeout(bool busy) const;
  int shutDown();

  Host& host_;
  RestartOptions const restart_;
  RestartClients clients_;
  ConfigClient config_;
  Operations operations_;
  ReportWatch reports_;
  Listener listener_;
  int signals_;
  int epoll_ = -1;
  std::map<ChannelNumber, std::unique_ptr<Channel>> channels_;
  ChannelNumber nextChannel_ = kInput + 1;
  bool inputIsFile_ = false;  // a regular file is never waited for
  bool stop_ = false;
};

}  // namespace Inlif
