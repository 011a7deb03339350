#include "agent/RestartClients.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <utility>

namespace LoamAgent {
namespace {

Pivot::Status refusedName(std::string const& name) {
  return Pivot::Status::refused(
      fmt::format("'name' is \"{}\"; expected 1 to {} bytes", name, RestartClients::kMostName));
}

}  // namespace

Pivot::Status RestartClients::open(ClientMemory& memory, std::vector<std::string> const& expected) {
  memory_ = &memory;
  std::vector<std::string> names;
  Pivot::Status status = memory.recall(names);
  if (!status.isOk()) return status;
  for (std::string const& name : names) clients_[name].remembered = true;
  for (std::string const& name : expected) clients_.try_emplace(name);
  return status;
}

Pivot::Status RestartClients::open(std::vector<std::string> const& all) {
  for (std::string const& name : all) {
    if (!isName(name)) return refusedName(name);
    clients_.try_emplace(name);
  }
  return Pivot::Status::ok();
}

Pivot::Status RestartClients::remember() const {
  if (memory_ == nullptr) return Pivot::Status::ok();
  std::vector<std::string> names;
  for (auto const& [name, client] : clients_)
    if (client.remembered) names.push_back(name);
  return memory_->remember(names);
}

Pivot::Status RestartClients::add(std::string const& name) {
  if (!isName(name)) return refusedName(name);
  bool const knew = knows(name);
  Pivot::Status status = Pivot::Status::ok();
  if (memory_ == nullptr && find(name, status) == nullptr) return status;
  if (!knew && clients_.size() >= kMostClients) {
    return Pivot::Status::refused(
        fmt::format("{} clients are known; expected one of them to be forgotten first", kMostClients));
  }
  Client& client = clients_[name];
  if (!client.remembered) {
    client.remembered = true;
    status = remember();
    if (!status.isOk()) {
      client.remembered = false;
      if (!knew) clients_.erase(name);
      return status;
    }
  }
  client.registered = true;
  return status;
}

Pivot::Status RestartClients::forget(std::string const& name) {
  Pivot::Status status = Pivot::Status::ok();
  Client* const client = find(name, status);
  if (!client) return status;
  if (std::exchange(client->remembered, false)) {
    status = remember();
    if (!status.isOk()) {
      client->remembered = true;
      return status;
    }
  }
  clients_.erase(name);
  spoken_ = true;
  return status;
}

RestartClients::Client* RestartClients::find(std::string const& name, Pivot::Status& status) {
  auto const at = clients_.find(name);
  if (at != clients_.end()) return &at->second;
  std::vector<std::string> names;
  for (auto const& [known, client] : clients_) names.push_back(known);
  status = Pivot::Status::refused(
      fmt::format("client \"{}\" is not known; expected one that has registered: {}", name,
                  names.empty() ? "there is none" : fmt::format("{}", fmt::join(names, ", "))));
  return nullptr;
}

// Who says something is there, also when it was only expected so far.
Pivot::Status RestartClients::unitsMadeIs(std::string const& name) {
  Pivot::Status status = Pivot::Status::ok();
  Client* const client = find(name, status);
  if (client) status = add(name);
  if (status.isOk()) client->unitsMade = true;
  return status;
}

Pivot::Status RestartClients::replayedIs(std::string const& name) {
  Pivot::Status status = Pivot::Status::ok();
  Client* const client = find(name, status);
  if (client) status = add(name);
  if (status.isOk()) client->replayed = spoken_ = true;
  return status;
}

void RestartClients::replayAgain() {
  for (auto& [name, client] : clients_) client.replayed = false;
}

void RestartClients::replayAgain(std::string const& name) {
  auto const at = clients_.find(name);
  if (at != clients_.end()) at->second.replayed = false;
}

std::vector<std::string> RestartClients::withoutUnits() const {
  std::vector<std::string> names;
  for (auto const& [name, client] : clients_) {
    if (!client.unitsMade) names.push_back(name);
  }
  return names;
}

std::vector<std::string> RestartClients::withoutReplay() const {
  std::vector<std::string> names;
  for (auto const& [name, client] : clients_) {
    if (!client.replayed) names.push_back(name);
  }
  return names;
}

bool RestartClients::waitsForReplay() const {
  return std::ranges::any_of(clients_, [](auto const& one) { return !one.second.replayed; });
}

bool RestartClients::takeSweepDue() {
  if (!spoken_ || clients_.empty() || waitsForReplay()) return false;
  spoken_ = false;
  return true;
}

}  // namespace LoamAgent
