#include "tools/agent/WhyAnswer.h"

#include <fmt/format.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <vector>

#include "tools/agent/WaitReport.h"
#include "tools/support/ProcessView.h"

namespace Inlif {
namespace {

using Asic::GroupResolver;
using Table = Pivot::Ptr<TableFront::Table>;

// Causes of a summary, unless `limit` says otherwise.
constexpr std::uint64_t kCauses = 10;

// What is asked about, as far as it is named.
struct Aim {
  std::size_t table = kTables;
  std::optional<Asic::UnitId> unit;
  std::optional<std::uint32_t> key;
};

Aim aimFrom(ObjectReader& in) {
  Aim aim;
  if (in.has("table")) {
    Pivot::Status const status = tableIndex(in.text("table"), aim.table);
    if (in.isOk() && !status.isOk()) in.refuse(status.message());
  }
  if (in.has("unit")) aim.unit = static_cast<Asic::UnitId>(in.number("unit", UINT16_MAX - 1));
  if (in.isOk() && aim.unit && aim.table == kTables)
    in.refuse("'unit' stands alone; expected a 'table' beside it");
  if (in.has("key")) aim.key = static_cast<std::uint32_t>(in.number("key", UINT32_MAX));
  if (in.isOk() && aim.key && !aim.unit) in.refuse("'key' stands alone; expected a 'unit' beside it");
  return aim;
}

// The tables that are asked about, in order of table and unit. Refused: a unit that has no table.
std::vector<Table> selected(Aim const& aim, Host& host, ObjectReader& in) {
  std::vector<Table> chosen;
  for (std::size_t table = 0; in.isOk() && table < kTables; ++table) {
    if (aim.table != kTables && aim.table != table) continue;
    TableFront const& front = host.front(table);
    for (Asic::UnitId const own : front.units()) {
      if (!aim.unit || *aim.unit == own) chosen.push_back(front.table(own));
    }
  }
  if (in.isOk() && aim.unit && chosen.empty()) {
    in.refuse(fmt::format("{} has no unit {}; expected one that the operation unit has made",
                          tables()[aim.table].name, *aim.unit));
  }
  return chosen;
}

// The end of an answer: beside it what has left the queues and waits for the writer of the hardware, and that one.
Json withHardware(Json answer, Host const& host) {
  answer["writer"] = processJson(VexSharedMem::StoreRoot::Role::writer);
  answer["behind"] = host.behind();
  return answer;
}

// A line for each waiting operation, or for those on one key.
class Listing final : public SteppedAnswer {
 public:
  Listing(Asker asker, Host& host, std::vector<Table> queues, std::optional<std::uint32_t> key)
      : SteppedAnswer(std::move(asker)),
        resolver_(*host.group().groupResolver()),
        host_(host),
        report_(host),
        queues_(std::move(queues)),
        key_(key),
        lastSequence_(resolver_.lastSequence()) {
    std::ranges::reverse(queues_);
  }

 private:
  bool goOn() override {
    report_.forget();
    do {
      if (queues_.empty()) return complete(withHardware({{"count", count_}}, host_));
      TableFront::Table const& table = *queues_.back();
      last_ = resolver_.queuedAfter(&table, last_);
      if (!last_ || GroupResolver::sequence(*last_) > lastSequence_) {
        last_ = nullptr;
        queues_.pop_back();
      } else if (!key_ || queuedKey(table, *last_) == key_) {
        send({{"operation", report_.operation(table, *last_)}});
        ++count_;
      }
    } while (!sliceIsOver());
    return false;
  }

  GroupResolver const& resolver_;
  Host const& host_;
  WaitReport report_;
  std::vector<Table> queues_;  // those still to be gone through, the present one last
  std::optional<std::uint32_t> const key_;
  std::uint64_t const lastSequence_;      // what is queued later is not told: the answer comes to an end
  Pivot::Ptr<Asic::ResolverEntry> last_;  // of the present queue
  std::uint64_t count_ = 0;
};

// The causes with their counts: a step looks at the head of one queue.
class Summary final : public SteppedAnswer {
 public:
  Summary(Asker asker, Host& host, std::vector<Table> queues, std::uint64_t limit)
      : SteppedAnswer(std::move(asker)),
        resolver_(*host.group().groupResolver()),
        host_(host),
        report_(host),
        queues_(std::move(queues)),
        limit_(limit) {
    // Among equals, the cause of the head that was enqueued first comes first.
    auto const sequence = [this](Table const& queue) {
      GroupResolver::Head const head = resolver_.head(queue.get());
      return head.entry ? GroupResolver::sequence(*head.entry) : UINT64_MAX;
    };
    std::ranges::sort(queues_, std::ranges::greater(), sequence);
  }

 private:
  bool goOn() override {
    report_.forget();
    do {
      if (queues_.empty())
        return complete(
            withHardware({{"queued", resolver_.length()}, {"causes", causes_.most(limit_)}}, host_));
      GroupResolver::Head const head = resolver_.head(queues_.back().get());
      if (head.entry) causes_.add(head, report_.root(head));
      queues_.pop_back();
    } while (!sliceIsOver());
    return false;
  }

  GroupResolver const& resolver_;
  Host const& host_;
  WaitReport report_;
  std::vector<Table> queues_;  // those still to be looked at, the earliest head last
  std::uint64_t const limit_;
  CauseCounts causes_;
};

}  // namespace

std::unique_ptr<SteppedAnswer> whyAnswer(SteppedAnswer::Asker asker, ObjectReader& in, Host& host) {
  bool const all = in.booleanOr("all", false);
  std::uint64_t const limit = in.numberOr("limit", kCauses, UINT32_MAX, 1);
  Aim const aim = aimFrom(in);
  std::vector<Table> queues = selected(aim, host, in);
  if (!in.finish().isOk()) return nullptr;
  if (all || aim.table != kTables)
    return std::make_unique<Listing>(std::move(asker), host, std::move(queues), aim.key);
  return std::make_unique<Summary>(std::move(asker), host, std::move(queues), limit);
}

}  // namespace Inlif
