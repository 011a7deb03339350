// A client of an agent's socket: sends operations and takes answers and events as they come. One thread.
//
// Every command that asks an agent does it with ask(): it gives up when nothing of the answer has come for
// kPatience, and a long answer that keeps coming goes on. An agent that was stopped, hangs, or takes no more
// connections is told in one line, with what the store tells of it.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "tools/agent/loop/Channel.h"
#include "tools/support/Command.h"

namespace Inlif {

class AgentClient {
 public:
  using Milliseconds = std::chrono::milliseconds;
  // Takes a line of an answer that comes before its last one.
  using Line = std::function<void(Json const& message)>;

  static constexpr Milliseconds kPatience{10'000};
  // Of programs that have an agent of their own and give it much to do at once.
  static constexpr Milliseconds kLongPatience{60'000};

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
  // Sends one operation and waits for its answer; messages of others that come meanwhile are dropped. Refused
  // with the agent's own words, or, with outcome() telling the two apart, when it does not answer.
  Pivot::Status ask(Json const& operation, Json& answer, Milliseconds patience = kPatience,
                    Line const& line = {});

  // Called a few times a second while ask() waits.
  void idleIs(std::function<void()> idle) { idle_ = std::move(idle); }

  // The end of a command that has asked: as it may be, refused by the agent, or not answered.
  Outcome outcome(Pivot::Status status) const;

 private:
  std::unique_ptr<Channel> channel_;
  Document line_;
  bool answered_ = false;  // the last ask()
  std::function<void()> idle_;
};

// Connects to the agent of a store, which is the one that the process works on.
Outcome connectToAgent(std::string const& store, AgentClient& agent);

}  // namespace Inlif
