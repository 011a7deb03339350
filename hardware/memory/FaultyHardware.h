// A hardware that makes trouble, in front of one that makes none: for trials of everything behind the writer. It refuses
// about one write in so many, is busy for a moment as often, completes what it takes at the end of the batch, and is reset
// now and then. All from the seed and the calls.
#pragma once

#include <fmt/format.h>

#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "hardware/Hardware.h"

namespace LoamHardware {

class FaultyHardware final : public Hardware {
 public:
  // REQUIRES: one in at least 2. The hardware behind it answers done.
  FaultyHardware(std::unique_ptr<Hardware> behind, std::uint64_t oneIn, std::uint64_t seed)
      : behind_(std::move(behind)), oneIn_(oneIn), random_(seed) {}

  Pivot::Status open(Asic::GroupInfo const& group) override {
    given_.clear();
    ended_.clear();
    return behind_->open(group);
  }
  bool stands(std::size_t table) override { return behind_->stands(table); }
  Answer write(UnitTable place, Entry const& entry) override {
    if (one(oneIn_ * kResetsAreRarer)) return Answer::gone();
    if (one(oneIn_)) return Answer::busy();
    if (one(oneIn_)) {
      auto const why = static_cast<RefusalClass>(1 + random_() % 4);
      return Answer::refused(why, fmt::format("a trial refuses key {}", entry.key().value()));
    }
    return take(behind_->write(place, entry), place);
  }
  Answer remove(UnitTable place, Entry const& entry) override {
    return take(behind_->remove(place, entry), place);
  }
  Answer clear(UnitTable place) override { return take(behind_->clear(place), place); }
  Answer endBatch(std::size_t table) override {
    for (auto const& [ticket, of] : given_)
      if (of == table) ended_.push_back({ticket, Answer::done()});
    std::erase_if(given_, [&](auto const& call) { return call.second == table; });
    return behind_->endBatch(table);
  }
  void completions(std::vector<Completion>& completed) override {
    completed.insert(completed.end(), ended_.begin(), ended_.end());
    ended_.clear();
  }
  std::optional<std::vector<Asic::UnitId>> standingUnits(std::size_t table) override {
    return behind_->standingUnits(table);
  }
  Answer readBack(UnitTable place, std::vector<LoamTunnelNiLib::InLifModelLogEntry>& records) override {
    return behind_->readBack(place, records);
  }
  Answer wipe(std::size_t table) override { return behind_->wipe(table); }
  std::uint32_t capacity(UnitTable place) const override { return behind_->capacity(place); }

 private:
  static constexpr std::uint64_t kResetsAreRarer = 100;

  bool one(std::uint64_t in) { return random_() % in == 0; }
  // Half of what is taken is completed later.
  Answer take(Answer answer, UnitTable place) {
    if (!answer.isDone() || one(2)) return answer;
    given_.emplace_back(++ticket_, place.table);
    return Answer::later(ticket_);
  }

  std::unique_ptr<Hardware> const behind_;
  std::uint64_t const oneIn_;
  std::mt19937_64 random_;
  Ticket ticket_ = 0;
  std::vector<std::pair<Ticket, std::size_t>> given_;  // with the table
  std::vector<Completion> ended_;
};

}  // namespace LoamHardware
