#include "hardware/kernel/KernelHardware.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstring>
#include <tuple>

#include "hardware/kernel/FrameMatch.h"

namespace LoamHardware {

using LoamTunnelNiLib::InLifModelLogEntry;

namespace {

InlifPlace placeOf(std::size_t table, Asic::UnitId unit, std::uint32_t key) {
  return {static_cast<std::uint16_t>(table), unit, key};
}

}  // namespace

bool KernelHardware::PlaceOrder::operator()(InlifPlace const& a, InlifPlace const& b) const {
  return std::tie(a.table, a.unit, a.key) < std::tie(b.table, b.unit, b.key);
}

void KernelHardware::Gathered::clear() {
  units.clear();
  kinds.clear();
  keys.clear();
  entries.clear();
  tickets.clear();
}

Pivot::Status KernelHardware::open(Asic::GroupInfo const& group) {
  names_.clear();
  for (Asic::TableInfo const& table : group.tables) names_.push_back(table.name);
  if (names_.size() > kInlifTables)
    return Pivot::Status::refused(fmt::format("the program of the kernel knows {} tables, the group has {}",
                                              +kInlifTables, names_.size()));
  gathered_.assign(names_.size(), {});
  completed_.clear();
  Pivot::Status status = program_.load(options_.pins);
  if (status.isOk()) status = maps_.open(options_.pins);
  if (status.isOk()) status = matchesAsEntriesSay();
  edits_ = std::make_unique<VlanEdits>();
  for (PortWiring const& wiring : options_.ports)
    if (status.isOk()) status = program_.attach(maps_, wiring, options_.mode);
  return status.isOk() ? status : Pivot::Status::refused("the kernel as hardware: " + status.message());
}

// K2.
Pivot::Status KernelHardware::matchesAsEntriesSay() {
  matches_.clear();
  std::vector<InlifEntry> entries;
  for (std::size_t table = 0; table < names_.size(); ++table) {
    for (Asic::UnitId const unit : maps_.units(table)) {
      entries.clear();
      if (int const error = maps_.entries(table, unit, entries); error != 0)
        return Pivot::Status::refused(
            fmt::format("{} unit {} cannot be read back: {}", names_[table], unit, std::strerror(error)));
      for (InlifEntry const& entry : entries)
        if (auto const match = matchOf(table, unit, entry))
          matches_[placeOf(table, unit, entry.key)] = *match;
    }
  }
  for (auto const& [match, place] : maps_.matches()) {
    auto const wanted = matches_.find(place);
    if (wanted == matches_.end() || std::memcmp(&wanted->second, &match, sizeof match) != 0)
      maps_.removeMatch(match);
  }
  for (auto const& [place, match] : matches_) {
    if (int const error = maps_.matchIs(match, place); error != 0)
      return Pivot::Status::refused(fmt::format("the match of {} unit {} key {}: {}", names_[place.table],
                                                place.unit, place.key, std::strerror(error)));
  }
  return Pivot::Status::ok();
}

Answer KernelHardware::gather(UnitTable place, Kind kind, InlifEntry const& entry) {
  Gathered& gathered = gathered_[place.table];
  gathered.units.push_back(place.unit);
  gathered.kinds.push_back(kind);
  gathered.keys.push_back(entry.key);
  gathered.entries.push_back(entry);
  gathered.tickets.push_back(++lastTicket_);
  return Answer::later(lastTicket_);
}

Answer KernelHardware::write(UnitTable place, Entry const& entry) {
  return gather(place, Kind::write, kernelEntry(entry.fields(), entry.version().value()));
}

Answer KernelHardware::remove(UnitTable place, Entry const& entry) {
  return gather(place, Kind::remove, kernelEntry(entry.fields(), entry.version().value()));
}

Answer KernelHardware::clear(UnitTable place) {
  return gather(place, Kind::clear, {});
}

Answer KernelHardware::endBatch(std::size_t table) {
  Gathered& gathered = gathered_[table];
  if (gathered.size() == 0) return Answer::done();
  if (!maps_.isPinned()) return Answer::gone();
  // K3.
  edits_->changesInto(
      [this](std::uint32_t number, InlifProfile const& profile) { maps_.profileIs(number, profile); });
  for (std::size_t begin = 0; begin < gathered.size();) {
    std::size_t const end = runEnd(table, gathered, begin);
    carryOut(table, gathered, begin, end);
    begin = end;
  }
  gathered.clear();
  return Answer::done();
}

bool KernelHardware::hasMatch(std::size_t table, Asic::UnitId unit, std::uint32_t key) const {
  return !matches_.empty() && matches_.contains(placeOf(table, unit, key));
}

std::size_t KernelHardware::runEnd(std::size_t table, Gathered const& gathered, std::size_t begin) const {
  auto const isAlone = [&](std::size_t i) {
    return gathered.kinds[i] == Kind::clear || hasMatch(table, gathered.units[i], gathered.keys[i]) ||
           (gathered.kinds[i] == Kind::write && matchOf(table, gathered.units[i], gathered.entries[i]));
  };
  std::size_t end = begin + 1;
  if (isAlone(begin)) return end;
  while (end < gathered.size() && gathered.kinds[end] == gathered.kinds[begin] &&
         gathered.units[end] == gathered.units[begin] && !isAlone(end))
    ++end;
  return end;
}

// Carries a run out, over what is refused in it, and completes it.
void KernelHardware::carryOut(std::size_t table, Gathered const& gathered, std::size_t begin,
                              std::size_t end) {
  while (begin < end) {
    std::size_t done = 0;
    int const error = carryOutRun(table, gathered, begin, end, done);
    for (std::size_t i = begin; i < begin + done; ++i)
      completed_.push_back({gathered.tickets[i], Answer::done()});
    begin += done;
    if (error == 0 || begin == end) continue;
    completed_.push_back(
        {gathered.tickets[begin], answerOf(error, table, gathered.units[begin], gathered.keys[begin])});
    ++begin;
  }
}

int KernelHardware::carryOutRun(std::size_t table, Gathered const& gathered, std::size_t begin,
                                std::size_t end, std::size_t& done) {
  Kind const kind = gathered.kinds[begin];
  Asic::UnitId const unit = gathered.units[begin];
  InlifPlace const place = placeOf(table, unit, gathered.keys[begin]);
  std::span const keys(gathered.keys.data() + begin, end - begin);
  if (kind == Kind::write && !maps_.hasUnit(table, unit)) {
    if (int const error = maps_.makeUnit(table, unit, options_.unitCapacity); error != 0) return error;
  }
  bool const isMatched = kind == Kind::write ? matchOf(table, unit, gathered.entries[begin]).has_value()
                                             : hasMatch(table, unit, place.key);
  int error = 0;
  if (kind == Kind::clear) {
    error = clearUnit(table, unit);
  } else if (isMatched || hasMatch(table, unit, place.key)) {
    error = kind == Kind::write ? writeMatched(place, gathered.entries[begin]) : removeMatched(place);
  } else if (kind == Kind::write) {
    return maps_.write(table, unit, keys, {gathered.entries.data() + begin, end - begin}, done);
  } else {
    error = maps_.remove(table, unit, keys, done);
    for (std::size_t i = begin; i < begin + done; ++i)
      maps_.removeCounter(placeOf(table, unit, gathered.keys[i]));
    return error;
  }
  done = error == 0 ? 1 : 0;
  return error;
}

// K1.
int KernelHardware::writeMatched(InlifPlace const& place, InlifEntry const& entry) {
  auto const match = matchOf(place.table, place.unit, entry);
  auto const before = matches_.find(place);
  bool const isNew =
      match && (before == matches_.end() || std::memcmp(&before->second, &*match, sizeof *match) != 0);
  if (isNew) {
    if (int const error = maps_.matchIs(*match, place); error != 0) return error;
  }
  std::size_t done = 0;
  if (int const error = maps_.write(place.table, place.unit, {&place.key, 1}, {&entry, 1}, done);
      error != 0) {
    if (isNew) maps_.removeMatch(*match);
    return error;
  }
  if (isNew || !match) dropMatch(place);
  if (isNew) matches_[place] = *match;
  return 0;
}

int KernelHardware::removeMatched(InlifPlace const& place) {
  std::size_t done = 0;
  if (int const error = maps_.remove(place.table, place.unit, {&place.key, 1}, done); error != 0)
    return error;
  dropMatch(place);
  maps_.removeCounter(place);
  return 0;
}

// Takes the match of a place away, unless it leads to another place by now.
void KernelHardware::dropMatch(InlifPlace const& place) {
  auto const match = matches_.find(place);
  if (match == matches_.end()) return;
  InlifPlace leadsTo{};
  if (maps_.lookupMatch(match->second, leadsTo) && std::memcmp(&leadsTo, &place, sizeof place) == 0)
    maps_.removeMatch(match->second);
  matches_.erase(match);
}

int KernelHardware::clearUnit(std::size_t table, Asic::UnitId unit) {
  std::vector<InlifEntry> entries;
  if (int const error = maps_.entries(table, unit, entries); error != 0) return error;
  if (int const error = maps_.dropUnit(table, unit); error != 0) return error;
  for (InlifEntry const& entry : entries) {
    InlifPlace const place = placeOf(table, unit, entry.key);
    dropMatch(place);
    maps_.removeCounter(place);
  }
  return 0;
}

Answer KernelHardware::answerOf(int error, std::size_t table, Asic::UnitId unit, std::uint32_t key) const {
  if (error == E2BIG) {
    return Answer::refused(
        RefusalClass::tableFull,
        fmt::format("{} unit {} key {}: no room in the kernel's maps; a unit takes {} entries, "
                    "a table {} units",
                    names_[table], unit, key, options_.unitCapacity, +kInlifUnits));
  }
  return Answer::refused(RefusalClass::other, fmt::format("{} unit {} key {}: the kernel says {}",
                                                          names_[table], unit, key, std::strerror(error)));
}

void KernelHardware::completions(std::vector<Completion>& completed) {
  for (Completion& one : completed_) completed.push_back(std::move(one));
  completed_.clear();
}

std::optional<std::vector<Asic::UnitId>> KernelHardware::standingUnits(std::size_t table) {
  return maps_.units(table);
}

Answer KernelHardware::readBack(UnitTable place, std::vector<InLifModelLogEntry>& records) {
  std::vector<InlifEntry> entries;
  if (maps_.entries(place.table, place.unit, entries) != 0) return Answer::busy();
  for (InlifEntry const& entry : entries) records.push_back(fieldsOf(entry));
  return Answer::done();
}

}  // namespace LoamHardware
