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

// Takes the request to its end, whatever it asks for: one that is closed with something unread loses its answer.
void takeRequest() {
  constexpr std::size_t kMostRequest = 16 * 1024;
  std::string head;
  pollfd in{STDIN_FILENO, POLLIN, 0};
  char piece[1024];
  while (head.find("\r\n\r\n") == std::string::npos && head.size() < kMostRequest &&
         poll(&in, 1, static_cast<int>(kPatience.count())) == 1) {
    ssize_t const got = read(STDIN_FILENO, piece, sizeof piece);
    if (got <= 0) return;
    head.append(piece, static_cast<std::size_t>(got));
  }
}

}  // namespace

Outcome runMetrics(MetricsOptions const& options) {
  Pivot::Status status = storeIs(options.store, false);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  if (options.http) takeRequest();
  std::string const text = metricsOf(options.store);
  if (!options.output.empty()) {
    status = replaceFile(options.output, text, kReadableByAll);
    return status.isOk() ? Outcome::done() : Outcome::refused(std::move(status));
  }
  if (options.http)
    fmt::print(
        "HTTP/1.0 200 OK\r\nContent-Type: text/plain; version=0.0.4; charset=utf-8\r\nContent-Length: {}\r\n"
        "Connection: close\r\n\r\n",
        text.size());
  fmt::print("{}", text);
  return Outcome::done();
}

}  // namespace Inlif
