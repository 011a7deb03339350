#include "tools/agent/operations/WhyAnswer.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <vector>

#include "agent/WaitReport.h"
#include "tools/agent/operations/StatusAnswer.h"
#include "tools/agent/operations/Target.h"
#include "tools/agent/operations/WaitJson.h"
#include "tools/support/ProcessView.h"
#include "tools/support/Tables.h"

namespace Inlif {
namespace {

using namespace LoamAgent;
using Asic::GroupResolver;
using Table = Pivot::Ptr<TableFront::Table>;

// Causes of a summary, unless `limit` says otherwise.
constexpr std::uint64_t kCauses = 10;

// The tables that are asked about, in order of table and unit. Refused: a unit that has no table.
std::vector<Table> selected(Aim const& aim, Host& host, ObjectReader& in) {
  if (!in.isOk()) return {};
  if (aim.unit) return {existing(host, {*aim.table, *aim.unit}, in)};
  std::vector<Table> chosen;
  for (std::size_t table = 0; table < kTables; ++table) {
    if (aim.table && *aim.table != table) continue;
    TableFront const& front = host.front(table);
    for (Asic::UnitId const unit : front.units()) chosen.push_back(front.table(unit));
  }
  return chosen;
}

// The end of an answer: beside it what has left the queues and waits for the writer of the hardware, and that one.
Json withHardware(Json answer, Host const& host) {
  answer["writer"] = processJson(VexSharedMem::StoreRoot::Role::writer);
  answer["tablesBehind"] = behindJson(host);
  return answer;
}

// Goes through the queues of some tables.
class QueuesAnswer : public SteppedAnswer {
 protected:
  QueuesAnswer(Asker asker, Host& host, std::vector<Table> queues)
      : SteppedAnswer(std::move(asker)),
        resolver_(*host.group().groupResolver()),
        host_(host),
        report_(host),
        queues_(std::move(queues)) {}

  GroupResolver const& resolver_;
  Host const& host_;
  WaitReport report_;
  std::vector<Table> queues_;  // those still to be gone through, the present one last
};

// A line for each waiting operation, or for those on one key.
class Listing final : public QueuesAnswer {
 public:
  Listing(Asker asker, Host& host, std::vector<Table> queues, std::optional<std::uint32_t> key)
      : QueuesAnswer(std::move(asker), host, std::move(queues)),
        key_(key),
        lastSequence_(resolver_.lastSequence()) {
    std::ranges::reverse(queues_);
  }

 private:
  bool turn() override {
    report_.forget();
    do {
      if (queues_.empty()) return complete(withHardware({{"count", count_}}, host_));
      TableFront::Table const& table = *queues_.back();
      last_ = resolver_.queuedAfter(&table, last_);
      if (!last_ || GroupResolver::sequence(*last_) > lastSequence_) {
        last_ = nullptr;
        queues_.pop_back();
      } else if (!key_ || queuedOperation(table, *last_).key == key_) {
        send({{"operation", json_.operation(report_.operation(table, *last_))}});
        ++count_;
      }
    } while (!sliceIsOver());
    return false;
  }

  WaitJson json_;
  std::optional<std::uint32_t> const key_;
  std::uint64_t const lastSequence_;      // what is queued later is not told: the answer comes to an end
  Pivot::Ptr<Asic::ResolverEntry> last_;  // of the present queue
  std::uint64_t count_ = 0;
};

// The causes with their counts: a step looks at the head of one queue.
class Summary final : public QueuesAnswer {
 public:
  Summary(Asker asker, Host& host, std::vector<Table> queues, std::uint64_t limit)
      : QueuesAnswer(std::move(asker), host, std::move(queues)), limit_(limit) {
    // Among equals, the cause of the head that was enqueued first comes first: the earliest head stands last.
    auto const sequence = [this](Table const& queue) {
      GroupResolver::Head const head = resolver_.head(queue.get());
      return head.entry ? GroupResolver::sequence(*head.entry) : UINT64_MAX;
    };
    std::ranges::sort(queues_, std::ranges::greater(), sequence);
  }

 private:
  bool turn() override {
    report_.forget();
    do {
      if (queues_.empty())
        return complete(withHardware(
            {{"queued", resolver_.length()}, {"causes", WaitJson().causes(causes_.most(limit_))}}, host_));
      GroupResolver::Head const head = resolver_.head(queues_.back().get());
      if (head.entry) causes_.add(head, report_.root(head));
      queues_.pop_back();
    } while (!sliceIsOver());
    return false;
  }

  std::uint64_t const limit_;
  CauseCounts causes_;
};

}  // namespace

std::unique_ptr<SteppedAnswer> whyAnswer(Asker asker, ObjectReader& in, Host& host) {
  bool const all = in.booleanOr("all", false);
  std::uint64_t const limit = in.numberOr("limit", kCauses, UINT32_MAX, 1);
  Aim const aim = aimFrom(in);
  std::vector<Table> queues = selected(aim, host, in);
  if (!in.finish().isOk()) return nullptr;
  if (all || aim.table) return std::make_unique<Listing>(std::move(asker), host, std::move(queues), aim.key);
  return std::make_unique<Summary>(std::move(asker), host, std::move(queues), limit);
}

}  // namespace Inlif
