#include "tools/agent/WhyOperation.h"

#include <fmt/format.h>

#include <algorithm>

namespace Inlif {
namespace {

// Causes of a summary, unless `limit` says otherwise.
constexpr std::uint64_t kCauses = 10;
// Operations between two looks at the clock.
constexpr int kBetweenLooks = 16;

}  // namespace

// The tables that are asked about, in order of table and unit. Refused: a unit that has no table.
std::vector<WhyOperation::Table> WhyOperation::selected(ObjectReader& in) const {
  std::vector<Table> chosen;
  std::size_t only = kTables;
  if (in.has("table")) {
    Pivot::Status const status = tableIndex(in.text("table"), only);
    if (in.isOk() && !status.isOk()) in.refuse(status.message());
  }
  std::optional<Asic::UnitId> unit;
  if (in.has("unit")) unit = static_cast<Asic::UnitId>(in.number("unit", UINT16_MAX - 1));
  if (in.isOk() && unit && only == kTables) in.refuse("'unit' stands alone; expected a 'table' beside it");
  for (std::size_t table = 0; in.isOk() && table < kTables; ++table) {
    if (only != kTables && only != table) continue;
    TableFront const& front = host_.front(table);
    for (Asic::UnitId const own : front.units()) {
      if (!unit || *unit == own) chosen.push_back(front.table(own));
    }
  }
  if (in.isOk() && unit && chosen.empty()) {
    in.refuse(fmt::format("{} has no unit {}; expected one that the operation unit has made",
                          tables()[only].name, *unit));
  }
  return chosen;
}

bool WhyOperation::begin(ChannelNumber channel, Json const& id, ObjectReader& in, Json& answer) {
  bool const all = in.booleanOr("all", false);
  std::uint64_t const limit = in.numberOr("limit", kCauses, UINT32_MAX, 1);
  Walk walk{channel, id, selected(in), std::nullopt, host_.group().groupResolver()->lastSequence(), nullptr};
  if (in.has("key")) walk.key = static_cast<std::uint32_t>(in.number("key", UINT32_MAX));
  if (in.isOk() && walk.key && !in.has("unit")) in.refuse("'key' stands alone; expected a 'unit' beside it");
  bool const narrowed = in.has("table");
  if (!in.finish().isOk()) return false;
  report_.forget();
  if (!all && !narrowed) {
    answer = {{"queued", host_.group().groupResolver()->length()}, {"causes", report_.summary(limit)}};
    return true;
  }
  std::ranges::reverse(walk.queues);
  walks_.push_back(std::move(walk));
  return false;
}

// Goes on with one answer; false when it has been given to its end.
bool WhyOperation::step(Walk& walk) {
  auto const end = std::chrono::steady_clock::now() + kStep;
  Asic::GroupResolver const& resolver = *host_.group().groupResolver();
  for (int looked = 1; !walk.queues.empty(); ++looked) {
    if (looked % kBetweenLooks == 0 && std::chrono::steady_clock::now() >= end) return true;
    TableFront::Table const& table = *walk.queues.back();
    walk.last = resolver.queuedAfter(&table, walk.last);
    if (!walk.last || resolver.sequence(*walk.last) > walk.lastSequence) {
      walk.last = nullptr;
      walk.queues.pop_back();
    } else if (!walk.key || queuedKey(table, *walk.last) == walk.key) {
      outlet_.send(walk.channel, {{"id", walk.id}, {"operation", report_.operation(table, *walk.last)}});
      ++walk.count;
    }
  }
  outlet_.send(walk.channel, {{"id", walk.id}, {"ok", true}, {"count", walk.count}});
  return false;
}

std::size_t WhyOperation::turn() {
  report_.forget();
  return walks_.remove_if([this](Walk& walk) { return !step(walk); });
}

bool WhyOperation::holds(ChannelNumber channel) const {
  return std::ranges::any_of(walks_, [channel](Walk const& walk) { return walk.channel == channel; });
}

void WhyOperation::channelGone(ChannelNumber channel) {
  walks_.remove_if([channel](Walk const& walk) { return walk.channel == channel; });
}

}  // namespace Inlif
