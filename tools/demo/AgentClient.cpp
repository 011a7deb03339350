#include "tools/demo/AgentClient.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>

#include "Shoal/StoreRoot.h"
#include "tools/agent/loop/Listener.h"
#include "tools/support/ProcessView.h"

namespace Inlif {

using VexSharedMem::StoreRoot;

namespace {

constexpr AgentClient::Milliseconds kIdle{200};

}  // namespace

Pivot::Status AgentClient::connect(std::string const& path) {
  int descriptor = -1;
  answered_ = false;
  Pivot::Status status = Listener::connect(path, descriptor, kPatience);
  if (status.isOk()) channel_ = std::make_unique<Channel>(descriptor, descriptor);
  return status;
}

bool AgentClient::receive(Json& message, int timeoutMilliseconds) {
  std::string_view line;
  bool tooLong = false;
  for (bool polled = false;; polled = true) {
    channel_->flush();
    if (channel_->nextLine(line, tooLong)) {
      // An answer of the agent holds more values than an operation may.
      if (!line_.parse(line, Document::kMostValuesOfFile).isOk()) return false;
      message = jsonOf(line_.root());
      return message.is_object();
    }
    if (polled || closed()) return false;
    pollfd waiting{channel_->in(), static_cast<short>(channel_->hasUnsent() ? POLLIN | POLLOUT : POLLIN), 0};
    poll(&waiting, 1, timeoutMilliseconds);
    if (waiting.revents & (POLLIN | POLLHUP)) channel_->fill();
  }
}

Pivot::Status AgentClient::ask(Json const& operation, Json& answer, Milliseconds patience, Line const& line) {
  using Clock = std::chrono::steady_clock;
  answered_ = false;
  send(operation);
  auto lastWord = Clock::now();
  for (Json message; !closed();) {
    auto const left = std::chrono::ceil<Milliseconds>(lastWord + patience - Clock::now());
    if (left <= Milliseconds::zero())
      return Pivot::Status::refused(fmt::format("the agent has said nothing to \"{}\" for {:g} s",
                                                operation["op"].get<std::string>(),
                                                std::chrono::duration<double>(patience).count()));
    if (idle_) idle_();
    if (!receive(message, static_cast<int>((idle_ ? std::min(left, kIdle) : left).count()))) continue;
    // Without an id is told why a connection, or a line, is not served at all.
    bool const toNobody = message.contains("ok") && message["id"].is_null();
    if (!toNobody && (!message.contains("id") || message["id"] != operation["id"])) continue;
    lastWord = Clock::now();
    if (!message.contains("ok")) {
      if (line) line(message);
      continue;
    }
    answered_ = true;
    answer = std::move(message);
    return answer["ok"].get<bool>() ? Pivot::Status::ok()
                                    : Pivot::Status::refused(answer["error"].get<std::string>());
  }
  return Pivot::Status::refused("the agent went away before it had answered");
}

Outcome AgentClient::outcome(Pivot::Status status) const {
  if (status.isOk()) return Outcome::done();
  if (answered_) return Outcome::refused(std::move(status));
  return Outcome::noAnswer(
      Pivot::Status::refused(fmt::format("{}; {}", status.message(), processText(StoreRoot::Role::agent))));
}

Outcome connectToAgent(std::string const& store, AgentClient& agent) {
  return agent.outcome(agent.connect(socketPath(store)));
}

}  // namespace Inlif
