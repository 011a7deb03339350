#include "tools/agent/RestartClients.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/agent/Limits.h"
#include "tools/json/Document.h"
#include "tools/support/Command.h"

namespace Inlif {
namespace {

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    ssize_t const count = ::write(descriptor, text.data(), text.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// C1: the name leads to the old contents or the new ones, never to a part. The new ones are on their way to the
// disk, should there be one, before they get the name.
Pivot::Status replaceFile(std::string const& file, std::string const& text) {
  std::string const fresh = file + ".new";
  int const descriptor = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (descriptor < 0) return systemFailure(fresh, "cannot be made");
  bool const written = writeAll(descriptor, text) && ::fsync(descriptor) == 0;
  Pivot::Status status = written ? Pivot::Status::ok() : systemFailure(fresh, "cannot be written");
  ::close(descriptor);
  if (status.isOk() && ::rename(fresh.c_str(), file.c_str()) != 0)
    status = systemFailure(file, "cannot be replaced");
  if (!status.isOk()) ::unlink(fresh.c_str());
  return status;
}

}  // namespace

Pivot::Status RestartClients::open(std::string file, std::vector<std::string> const& expected) {
  file_ = std::move(file);
  if (::access(file_.c_str(), F_OK) == 0 || errno != ENOENT) {
    Pivot::Status status = recall();
    if (!status.isOk()) return status;
  }
  for (std::string const& name : expected) {
    if (name.empty() || name.size() > kMostName)
      return Pivot::Status::refused(
          fmt::format("--client \"{}\": expected a name of 1 to {} bytes", name, kMostName));
    clients_.try_emplace(name);
  }
  return Pivot::Status::ok();
}

Pivot::Status RestartClients::recall() {
  constexpr char const* kMeaning =
      "The file names the clients that a sweep has to wait for; without it none is waited for that does not "
      "register again";
  Document names;
  Pivot::Status status = names.read(file_);
  if (!status.isOk()) return Pivot::Status::refused(fmt::format("{}. {}", status.message(), kMeaning));
  bool const good = names.root().isArray() && std::ranges::all_of(names.root(), [](Value name) {
                      return name.isText() && !name.text().empty() && name.text().size() <= kMostName;
                    });
  if (!good)
    return Pivot::Status::refused(
        fmt::format("{}: holds {}; expected an array of names of up to {} bytes. {}", file_,
                    shown(names.root()), kMostName, kMeaning));
  for (Value const name : names.root()) clients_[std::string(name.text())].remembered = true;
  return status;
}

Pivot::Status RestartClients::remember() const {
  Json names = Json::array();
  for (auto const& [name, client] : clients_) {
    if (client.remembered) names.push_back(name);
  }
  return replaceFile(file_, names.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n");
}

Pivot::Status RestartClients::add(std::string const& name) {
  if (name.empty() || name.size() > kMostName)
    return Pivot::Status::refused(fmt::format("'name' is \"{}\"; expected 1 to {} bytes", name, kMostName));
  bool const knew = knows(name);
  if (!knew && clients_.size() >= kMostClients) {
    return Pivot::Status::refused(
        fmt::format("{} clients are known; expected one of them to be forgotten first", kMostClients));
  }
  Client& client = clients_[name];
  if (!client.remembered) {
    client.remembered = true;
    Pivot::Status status = remember();
    if (!status.isOk()) {
      client.remembered = false;
      if (!knew) clients_.erase(name);
      return status;
    }
  }
  client.registered = true;
  return Pivot::Status::ok();
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

bool RestartClients::sweepDueTake() {
  if (!spoken_ || clients_.empty() || waitsForReplay()) return false;
  spoken_ = false;
  return true;
}

Json RestartClients::json() const {
  Json all = Json::array();
  for (auto const& [name, client] : clients_) {
    all.push_back({{"name", name},
                   {"registered", client.registered},
                   {"unitsMade", client.unitsMade},
                   {"replayed", client.replayed}});
  }
  return all;
}

}  // namespace Inlif
