#include "tools/metrics/MetricsCommand.h"

#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>

#include "Shoal/StoreRoot.h"
#include "tools/demo/AgentClient.h"
#include "tools/metrics/Metrics.h"

namespace Inlif {
namespace {

// Below the time that a scrape is given: what the store tells is worth more than none of both.
constexpr std::chrono::milliseconds kPatience{2000};
constexpr mode_t kReadableByAll = 0644;

// Both answers, or null.
void askAgent(std::string const& store, Json& status, Json& latency) {
  if (!VexSharedMem::StoreRoot::holder(VexSharedMem::StoreRoot::Role::agent).alive) return;
  AgentClient agent;
  if (!connectToAgent(store, agent).isWell()) return;
  if (!agent.ask({{"op", "status"}, {"id", 1}}, status, kPatience).isOk()) status = nullptr;
  if (status.is_null() || !agent.ask({{"op", "latency"}, {"id", 2}}, latency, kPatience).isOk())
    latency = nullptr;
}

std::string metricsOf(std::string const& store) {
  Json status;
  Json latency;
  askAgent(store, status, latency);
  MetricText all;
  addStoreMetrics(all);
  try {
    MetricText withAgent = all;
    addAgentMetrics(withAgent, status, latency);
    return withAgent.text();
  } catch (Json::exception const&) {
    // An agent of another version, which tells less, or in another way.
    addAgentMetrics(all, nullptr, nullptr);
    return all.text();
  }
}

// Takes the request to its end, whatever it asks for: one that is closed with something unread loses its answer. Its head, or
// what came of it.
std::string takeRequest() {
  constexpr std::size_t kMostRequest = 16 * 1024;
  std::string head;
  pollfd in{STDIN_FILENO, POLLIN, 0};
  char piece[1024];
  while (head.find("\r\n\r\n") == std::string::npos && head.size() < kMostRequest &&
         poll(&in, 1, static_cast<int>(kPatience.count())) == 1) {
    ssize_t const got = read(STDIN_FILENO, piece, sizeof piece);
    if (got <= 0) break;
    head.append(piece, static_cast<std::size_t>(got));
  }
  return head;
}

void answer(char const* status, std::string const& text, bool isHead = false, char const* more = "") {
  fmt::print(
      "HTTP/1.0 {}\r\nContent-Type: text/plain; version=0.0.4; charset=utf-8\r\nContent-Length: {}\r\n{}"
      "Connection: close\r\n\r\n{}",
      status, text.size(), more, isHead ? "" : text);
}

// RFC 9110, as far as one text under one path needs it.
void answerRequest(std::string const& store) {
  std::string const head = takeRequest();
  std::string const line = head.substr(0, head.find("\r\n"));
  std::size_t const target = line.find(' '), version = line.rfind(' ');
  if (target == std::string::npos || version == target || !line.substr(version + 1).starts_with("HTTP/"))
    return answer("400 Bad Request", "expected GET /metrics HTTP/1.1\n");
  std::string const method = line.substr(0, target);
  std::string const path = line.substr(target + 1, version - target - 1);
  if (method != "GET" && method != "HEAD")
    return answer("405 Method Not Allowed", "expected GET or HEAD\n", false, "Allow: GET, HEAD\r\n");
  if (std::string const name = path.substr(0, path.find('?')); name != "/metrics" && name != "/")
    return answer("404 Not Found", "expected /metrics\n", method == "HEAD");
  answer("200 OK", metricsOf(store), method == "HEAD");
}

}  // namespace

Outcome runMetrics(MetricsOptions const& options) {
  Pivot::Status status = storeIs(options.store, false);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  if (options.http) {
    answerRequest(options.store);
    return Outcome::done();
  }
  std::string const text = metricsOf(options.store);
  if (!options.output.empty()) {
    status = replaceFile(options.output, text, kReadableByAll);
    return status.isOk() ? Outcome::done() : Outcome::refused(std::move(status));
  }
  fmt::print("{}", text);
  return Outcome::done();
}

}  // namespace Inlif
