// A client of an agent's socket: sends operations and takes answers and events as they come. One thread.
#pragma once

#include <memory>
#include <string>

#include "tools/agent/Channel.h"

namespace Inlif {

class AgentClient {
 public:
  // Connects when the agent listens. A refusal may only mean "not yet".
  Pivot::Status connect(std::string const& path);
  bool connected() const { return channel_ != nullptr; }
  void disconnect() { channel_.reset(); }

  // REQUIRES for what follows: connected.
  void send(Json const& operation) { channel_->send(operation); }
  // Sends what is due and waits for the next message, at most so long. False when none came.
  bool receive(Json& message, int timeoutMilliseconds);
  // The agent has closed the connection.
  bool closed() const { return channel_->broken() || channel_->ended(); }
  // Sends one operation and waits for its answer; other messages that come meanwhile are dropped. Refused
  // with the agent's own words, or when nothing comes in time.
  Pivot::Status ask(Json const& operation, Json& answer, int timeoutMilliseconds = 60'000);

 private:
  std::unique_ptr<Channel> channel_;
  Document line_;
};

}  // namespace Inlif
