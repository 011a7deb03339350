#include "tools/agent/operations/WalkAnswer.h"

#include "tools/json/EntryJson.h"

namespace Inlif {
namespace {

using LoamTunnelNiLib::InLifModelEntry;
using LoamTunnelNiLib::InLifModelEntryKey;

class Walk final : public SteppedAnswer {
 public:
  Walk(Asker asker, Pivot::Ptr<LoamAgent::TableFront::Table> const& table, std::optional<std::uint32_t> from,
       std::uint64_t limit)
      : SteppedAnswer(std::move(asker)),
        table_(table),
        state_(from ? table->initIterStateFromKey(InLifModelEntryKey(*from)) : table->initIterState()),
        limit_(limit) {}

 private:
  bool turn() override {
    do {
      if (count_ == limit_) return complete({{"count", count_}});
      InLifModelEntry const entry = state_->maybeUpdateCurrentEntry();
      if (!state_->state().entryValid()) return complete({{"count", count_}});
      Json shownEntry = {{"key", entry.logEntry.key.value()}};
      addEntry(shownEntry, entry);
      send({{"entry", std::move(shownEntry)}});
      ++count_;
    } while (!sliceIsOver());
    return false;
  }

  Pivot::Ptr<LoamAgent::TableFront::Table> const table_;  // outlives the state, which points to it
  Pivot::Ptr<LoamTunnelNiLib::InLifModelSwTableIteratorState> const state_;
  std::uint64_t const limit_;
  std::uint64_t count_ = 0;
};

}  // namespace

std::unique_ptr<SteppedAnswer> walkAnswer(Asker asker, Pivot::Ptr<LoamAgent::TableFront::Table> const& table,
                                          std::optional<std::uint32_t> from, std::uint64_t limit) {
  return std::make_unique<Walk>(std::move(asker), table, from, limit);
}

}  // namespace Inlif
