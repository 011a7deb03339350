// The operations on units and entries.
#include <fmt/format.h>

#include "tools/agent/operations/Operations.h"
#include "tools/agent/operations/Target.h"
#include "tools/agent/operations/WalkAnswer.h"
#include "tools/json/EntryJson.h"

namespace Inlif {

using LoamTunnelNiLib::InLifModelEntry;
using LoamTunnelNiLib::InLifModelEntryKey;

void Operations::unit(Request& request) {
  UnitPlace const place = placeFrom(request.in);
  bool const reset = request.in.booleanOr("reset", false);
  if (!complete(request)) return;
  TableFront& front = host_.front(place.table);
  bool const isNew = !front.table(place.unit);
  Pivot::Status const status = host_.makeTable(place.table, place.unit, reset);
  if (!status.isOk()) return request.in.refuse(status.message());
  std::uint32_t const entries = front.table(place.unit)->entrys();
  // Who has made a unit that begins to mark entries of an earlier life has not finished any more.
  auto const speaker = speakers_.find(request.channel);
  if (isNew && entries > 0 && front.marking(place.unit) && speaker != speakers_.end())
    restart_.clients().replayAgain(speaker->second);
  answer(request, {{"entries", entries}});
}

// ---- what changes entries

bool Operations::begin(Request& request) {
  if (!complete(request)) return false;
  request.postponed = !receipts_.hasRoom(request.channel);
  if (request.postponed) return false;
  receipts_.begin(request.channel, request.id);
  answer(request);
  return true;
}

Receipts::Handle Operations::dependency(Request& request) {
  Value const after = request.in.member("after");
  if (!after) return nullptr;
  Receipts::Handle const handle = receipts_.handle(request.channel, jsonOf(after));
  if (!handle) {
    request.in.refuse(fmt::format(
        "'after' is {}; expected the id of an earlier write or remove of this channel", shown(after)));
  }
  return handle;
}

void Operations::mustBeFree(Request& request) {
  if (!receipts_.underWay(request.channel, request.id)) return;
  request.in.refuse(fmt::format("'id' {} is still under way; expected another one", request.id.dump()));
}

Asic::OrderedSwTable::ResponseHandler Operations::handler(Request const& request) {
  return [this, channel = request.channel,
          id = request.id](Pivot::Ptr<Asic::OrderedSwTable::EntryHandle const> const& handle) {
    ended(channel, id, *handle);
  };
}

void Operations::ended(ChannelNumber channel, Json const& id,
                       Asic::OrderedSwTable::EntryHandle const& handle) {
  receipts_.end(channel, id);
  bool const done = handle.entryState() == Asic::EntryState::entryStateDone;
  Json event = {{"id", id}, {"event", done ? "done" : "failed"}};
  if (handle.logVersion().value() != 0) event["version"] = handle.logVersion().value();
  outlet_.send(channel, event);
}

void Operations::write(Request& request) {
  auto const table = targetFrom(request.in, host_);
  InLifModelEntry entry;
  entryFrom(request.in, entry);
  Receipts::Handle const after = dependency(request);
  mustBeFree(request);
  if (!begin(request)) return;
  receipts_.handleIs(
      request.channel, request.id,
      table->entryWriteWithResponseHandler(entry.logEntry.key, entry, after, handler(request)));
}

void Operations::remove(Request& request) {
  auto const table = targetFrom(request.in, host_);
  InLifModelEntryKey const key(keyFrom(request.in));
  Receipts::Handle const after = dependency(request);
  mustBeFree(request);
  if (!begin(request)) return;
  receipts_.handleIs(request.channel, request.id,
                     table->entryRemoveWithResponseHandler(key, after, handler(request)));
}

void Operations::removeAll(Request& request) {
  auto const table = targetFrom(request.in, host_);
  Receipts::Handle const after = dependency(request);
  mustBeFree(request);
  if (!begin(request)) return;
  table->entryRemoveAllWithResponseHandler(after, handler(request));
}

// ---- what asks for entries

void Operations::read(Request& request) {
  auto const table = targetFrom(request.in, host_);
  InLifModelEntryKey const key(keyFrom(request.in));
  if (!complete(request)) return;
  Json entry;
  if (table->entryHas(key)) {
    entry["key"] = key.value();
    addEntry(entry, table->entryRead(key));
  }
  answer(request, {{"entry", entry}});
}

void Operations::has(Request& request) {
  auto const table = targetFrom(request.in, host_);
  InLifModelEntryKey const key(keyFrom(request.in));
  if (complete(request)) answer(request, {{"has", table->entryHas(key)}});
}

void Operations::count(Request& request) {
  auto const table = targetFrom(request.in, host_);
  if (complete(request)) answer(request, {{"count", table->entrys()}});
}

void Operations::walk(Request& request) {
  auto const table = targetFrom(request.in, host_);
  std::optional<std::uint32_t> from;
  if (request.in.has("from")) from = keyFrom(request.in, "from");
  std::uint64_t const limit = request.in.numberOr("limit", UINT64_MAX, UINT64_MAX, 1);
  if (complete(request)) answers_.add(walkAnswer(asker(request), table, from, limit));
}

}  // namespace Inlif
