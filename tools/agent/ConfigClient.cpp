#include "tools/agent/ConfigClient.h"

#include <fmt/format.h>

#include "Vex/Assert.h"

namespace Inlif {

using LoamTunnelNiLib::InLifModelEntryKey;

Pivot::Status ConfigClient::read(std::string const& file, Json& result) {
  SwitchConfig config;
  Pivot::Status status = SwitchConfig::read(file, config);
  if (status.isOk()) status = clients_.add(kName);
  if (!status.isOk()) return status;
  for (std::size_t table = 0; table < kTables; ++table) {
    if (host_.front(table).table(kConfigUnit)) continue;
    status = host_.makeTable(table, kConfigUnit, false);
    if (!status.isOk()) return status;
  }
  if (status = clients_.unitsMadeIs(kName); !status.isOk()) return status;
  WantedEntries fresh = wantedEntries(config);
  std::size_t written = 0;
  std::size_t removed = 0;
  WantedEntries before = std::exchange(wanted_, std::move(fresh));
  // Removes go first: an interface that moves to another table gives its resources back before it asks again.
  for (auto const& [place, old] : before) {
    if (wanted_.contains(place)) continue;
    remove(place, old.interface);
    failed_.erase(place);
    ++removed;
  }
  for (auto const& [place, wanted] : wanted_) {
    auto const old = before.find(place);
    bool const stands =
        old != before.end() && old->second.entry.isEq(wanted.entry) && !failed_.contains(place);
    if (stands) continue;
    failed_.erase(place);
    write(place, wanted);
    ++written;
  }
  file_ = file;
  serving_ = true;
  result = {
      {"file", file}, {"written", written}, {"removed", removed}, {"unchanged", wanted_.size() - written}};
  return clients_.replayedIs(kName);
}

void ConfigClient::replay() {
  if (!serving_) return;
  for (auto const& [place, wanted] : wanted_) {
    if (host_.front(place.table).marking(kConfigUnit)) write(place, wanted);
  }
  // Who was forgotten in the meantime is waited for by nobody.
  if (!clients_.knows(kName)) return;
  Pivot::Status const status = clients_.replayedIs(kName);
  VEX_ASSERT_MSG(status.isOk(), "a client that registered can say that it has replayed", "{}",
                 status.message());
}

void ConfigClient::write(EntryPlace const& place, WantedEntry const& wanted) {
  auto const handler = [this, place, interface = wanted.interface](
                           Pivot::Ptr<Asic::OrderedSwTable::EntryHandle const> const& handle) {
    ended(place, interface, handle->entryState());
  };
  host_.front(place.table)
      .table(kConfigUnit)
      ->entryWriteWithResponseHandler(InLifModelEntryKey(place.key), wanted.entry, nullptr, handler);
}

void ConfigClient::remove(EntryPlace const& place, std::string const& interface) {
  auto const handler = [this, place,
                        interface](Pivot::Ptr<Asic::OrderedSwTable::EntryHandle const> const& handle) {
    ended(place, interface, handle->entryState());
  };
  host_.front(place.table)
      .table(kConfigUnit)
      ->entryRemoveWithResponseHandler(InLifModelEntryKey(place.key), nullptr, handler);
}

void ConfigClient::ended(EntryPlace const& place, std::string const& interface, Asic::EntryState state) {
  // Operations of one interface end in the order in which they were asked, so the last one to end decides.
  if (state == Asic::EntryState::entryStateDone) {
    failed_.erase(place);
    return;
  }
  failed_.insert(place);
  outlet_.broadcast({{"event", "failed"},
                     {"config", file_},
                     {"interface", interface},
                     {"table", tables()[place.table].name},
                     {"key", place.key}});
}

Json ConfigClient::statusJson() const {
  if (!serving_) return nullptr;
  return {{"file", file_}, {"interfaces", wanted_.size()}, {"failed", failed_.size()}};
}

}  // namespace Inlif
