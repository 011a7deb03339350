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

// These are told by the ten thousand, so what is said of one is written as it is sent.

Receipts::Receipt* Operations::begin(Request& request) {
  std::string const id = jsonText(request.id);
  Receipts::Receipt const* const known = receipts_.find(request.channel, id);
  if (known && known->underWay())
    request.in.refuse(fmt::format("'id' {} is still under way; expected another one", id));
  if (!complete(request)) return nullptr;
  request.postponed = !receipts_.hasRoom(request.channel);
  if (request.postponed) return nullptr;
  outlet_.sendText(request.channel, fmt::format(R"({{"id":{},"ok":true}})", id));
  return &receipts_.begin(request.channel, id);
}

Receipts::Handle Operations::dependency(Request& request) {
  Value const after = request.in.member("after");
  if (!after) return nullptr;
  Receipts::Receipt const* const receipt = receipts_.find(request.channel, jsonText(jsonOf(after)));
  if (receipt && receipt->handle()) return receipt->handle();
  request.in.refuse(fmt::format(
      "'after' is {}; expected the id of an earlier write or remove of this channel", shown(after)));
  return nullptr;
}

Asic::OrderedSwTable::ResponseHandler Operations::handler(Receipts::Receipt& receipt) {
  return [this, &receipt](Pivot::Ptr<Asic::OrderedSwTable::EntryHandle const> const& handle) {
    ended(receipt, *handle);
  };
}

void Operations::ended(Receipts::Receipt& receipt, Asic::OrderedSwTable::EntryHandle const& handle) {
  bool const done = handle.entryState() == Asic::EntryState::entryStateDone;
  std::uint64_t const version = handle.logVersion().value();
  outlet_.sendText(receipt.channel(),
                   fmt::format(R"({{"id":{},"event":"{}"{}}})", receipt.id(), done ? "done" : "failed",
                               version == 0 ? std::string() : fmt::format(R"(,"version":{})", version)));
  receipts_.end(receipt);
}

void Operations::write(Request& request) {
  auto const table = targetFrom(request.in, host_);
  InLifModelEntry entry;
  entryFrom(request.in, entry);
  Receipts::Handle const after = dependency(request);
  Receipts::Receipt* const receipt = begin(request);
  if (!receipt) return;
  // One that ends at once is remembered still: the oldest are forgotten, and some always are kept.
  receipt->handleIs(
      table->entryWriteWithResponseHandler(entry.logEntry.key, entry, after, handler(*receipt)));
}

void Operations::remove(Request& request) {
  auto const table = targetFrom(request.in, host_);
  InLifModelEntryKey const key(keyFrom(request.in));
  Receipts::Handle const after = dependency(request);
  Receipts::Receipt* const receipt = begin(request);
  if (receipt) receipt->handleIs(table->entryRemoveWithResponseHandler(key, after, handler(*receipt)));
}

void Operations::removeAll(Request& request) {
  auto const table = targetFrom(request.in, host_);
  Receipts::Handle const after = dependency(request);
  Receipts::Receipt* const receipt = begin(request);
  if (receipt) table->entryRemoveAllWithResponseHandler(after, handler(*receipt));
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
