#include "hardware/memory/MemoryHardware.h"

#include <fmt/format.h>

#include <algorithm>

namespace LoamHardware {

// What was under way when the chip was reset is nobody's any more.
Pivot::Status MemoryHardware::open(Asic::GroupInfo const&) {
  gathered_.clear();
  completed_.clear();
  opened_ = chip_.resets();
  return Pivot::Status::ok();
}

// The chip keeps what it was given, but a driver of a later process cannot tell whether it was reset in between: the
// number of its resets went with the earlier one.
bool MemoryHardware::stands(std::size_t) {
  return false;
}

Answer MemoryHardware::write(UnitTable place, Entry const& entry) {
  return take({What::write, place, entry.fields(), 0});
}

Answer MemoryHardware::remove(UnitTable place, Entry const& entry) {
  return take({What::remove, place, entry.fields(), 0});
}

Answer MemoryHardware::clear(UnitTable place) {
  return take({What::clear, place, {}, 0});
}

Answer MemoryHardware::take(Call call) {
  if (gone()) return Answer::gone();
  if (!style_.batches) return perform(call);
  call.ticket = nextTicket_++;
  gathered_.push_back(call);
  return Answer::later(call.ticket);
}

Answer MemoryHardware::perform(Call const& call) {
  MemoryChip::Entries& entries = chip_.entries(call.place);
  std::uint32_t const key = call.entry.key.value();
  if (call.what == What::clear) {
    entries.clear();
  } else if (call.what == What::remove) {
    entries.erase(key);
  } else if (chip_.capacity() != 0 && entries.size() >= chip_.capacity() && !entries.contains(key)) {
    return Answer::refused(RefusalClass::tableFull,
                           fmt::format("{} of {} entries stand", entries.size(), chip_.capacity()));
  } else {
    entries[key] = call.entry;
  }
  return Answer::done();
}

Answer MemoryHardware::endBatch(std::size_t table) {
  if (gone()) return Answer::gone();
  std::deque<Call> others;
  for (Call const& call : gathered_) {
    if (call.place.table == table)
      completed_.push_back({call.ticket, perform(call)});
    else
      others.push_back(call);
  }
  gathered_ = std::move(others);
  return Answer::done();
}

void MemoryHardware::completions(std::vector<Completion>& completed) {
  if (gone()) return completed.push_back({0, Answer::gone()});
  std::ranges::move(completed_, std::back_inserter(completed));
  completed_.clear();
}

std::optional<std::vector<Asic::UnitId>> MemoryHardware::standingUnits(std::size_t table) {
  if (!style_.readsBack) return std::nullopt;
  std::vector<Asic::UnitId> units;
  for (auto const& [place, entries] : chip_.all())
    if (place.first == table && !entries.empty()) units.push_back(place.second);
  return units;
}

Answer MemoryHardware::readBack(UnitTable place, std::vector<LoamTunnelNiLib::InLifModelLogEntry>& records) {
  if (gone()) return Answer::gone();
  for (auto const& [key, entry] : chip_.entries(place)) records.push_back(entry);
  return Answer::done();
}

Answer MemoryHardware::wipe(std::size_t table) {
  if (gone()) return Answer::gone();
  for (auto& [place, entries] : chip_.all())
    if (place.first == table) entries.clear();
  return Answer::done();
}

}  // namespace LoamHardware
