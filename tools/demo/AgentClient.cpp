#include "tools/demo/AgentClient.h"

#include <fmt/format.h>
#include <poll.h>

#include <chrono>

#include "tools/agent/Listener.h"

namespace Inlif {

Pivot::Status AgentClient::connect(std::string const& path) {
  int descriptor = -1;
  Pivot::Status status = Listener::connect(path, descriptor);
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

Pivot::Status AgentClient::ask(Json const& operation, Json& answer, int timeoutMilliseconds) {
  send(operation);
  auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMilliseconds);
  while (std::chrono::steady_clock::now() < end && !closed()) {
    if (!receive(answer, 100) || !answer.contains("ok") || answer["id"] != operation["id"]) continue;
    return answer["ok"].get<bool>() ? Pivot::Status::ok()
                                    : Pivot::Status::refused(answer["error"].get<std::string>());
  }
  return Pivot::Status::refused(fmt::format("no answer from the agent to {}", operation.dump()));
}

}  // namespace Inlif
