#include "tools/show/LogHistory.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "LoamInLif/Kinds.h"
#include "tools/json/EntryJson.h"
#include "tools/json/MemberNames.h"
#include "tools/show/HeldBack.h"
#include "tools/show/RecordLine.h"

namespace Inlif {

using namespace LoamTunnelNiLib;

namespace {

std::uint64_t placeOf(InLifModelLogShoalEntry const& record) {
  return std::uint64_t{record.unitId} << 32 | record.logEntry.key.value();
}

// The fields in which two entries differ, each with its old and its new value.
Json differences(InLifModelLogEntry const& old, InLifModelLogEntry const& entry) {
  Json out = Json::object();
  LoamInLif::forEachKind([&]<class Kind>() {
    if (old.*Kind::resolvedField != entry.*Kind::resolvedField)
      out[valueName<Kind>()] = {old.*Kind::resolvedField, entry.*Kind::resolvedField};
  });
  if (!std::ranges::equal(old.clientBytes(), entry.clientBytes()))
    out["client"] = {hexOf(old.clientBytes()), hexOf(entry.clientBytes())};
  return out;
}

std::string gapText(Json const& out) {
  return fmt::format(
      "{}: versions {} to {} are no longer in the log; of what they did there still {}",
      out["table"].get<std::string>(), jsonText(out["gap"]["from"]), jsonText(out["gap"]["to"]),
      out["standing"] == 0 ? "stands nothing" : fmt::format("stand {} records:", jsonText(out["standing"])));
}

}  // namespace

LogHistory::LogHistory(TableInfo const& table, Selection const& selection, std::uint64_t from)
    : table_(table), selection_(selection), log_(table.logPath), needed_(neededPath()), next_(from) {}

void LogHistory::print(Json const& out) const {
  if (selection_.json)
    fmt::print("{}\n", jsonText(out));
  else
    Output(selection_.verbose)
        .print(out.contains("gap") ? Line{gapText(out)} : recordLine(out, selection_.verbose));
}

std::uint64_t LogHistory::before(Record const& record) const {
  auto const key = ofKey_.find(placeOf(record));
  auto const unit = ofUnit_.find(record.unitId);
  return std::max(key == ofKey_.end() ? 0 : key->second, unit == ofUnit_.end() ? 0 : unit->second);
}

void LogHistory::remember(Record const& record) {
  std::uint64_t& last = record.isTableDeleted() ? ofUnit_[record.unitId] : ofKey_[placeOf(record)];
  last = std::max(last, record.logVersion.value());
}

// Goes through the log once: where it begins, and what stands before the first version to be told.
bool LogHistory::begin() {
  std::uint64_t first = UINT64_MAX;
  bool const whole = walkWell(log_, [&](Record const& record) {
    std::uint64_t const version = record.logVersion.value();
    first = std::min(first, version);
    if (version < next_ && selection_.takesRecord(record)) remember(record);
  });
  if (next_ == 0) next_ = first == UINT64_MAX ? announcedVersion(table_).value_or(0) + 1 : first;
  begun_ = true;
  return whole;
}

bool LogHistory::print() {
  // Read before the log: what is announced is complete.
  std::uint64_t const announced = announcedVersion(table_).value_or(0);
  if (!log_.ready()) return notReadyIsWell(log_);
  bool whole = begun_ || begin();
  Record record;
  while (next_ <= announced) {
    Shoal::Read const read = log_.lookup(Asic::LogVersion(next_), record);
    if (read == Shoal::Read::busy) return false;
    if (read == Shoal::Read::absent) {
      whole &= gap(announced);
      continue;
    }
    ++next_;
    if (read == Shoal::Read::damaged) {
      whole = endedWell(read, fmt::format("{} version {}", log_.path(), next_ - 1), log_.problem());
    } else if (selection_.takesRecord(record)) {
      tell(record);
      remember(record);
    }
  }
  return whole;
}

// The next version is not in the log any more: goes on with the first that is.
bool LogHistory::gap(std::uint64_t announced) {
  std::uint64_t const from = next_;
  next_ = announced + 1;
  bool const whole = walkWell(log_, [&](Record const& record) {
    std::uint64_t const version = record.logVersion.value();
    if (version >= from) next_ = std::min(next_, version);
  });
  // It came only now: a version that is written again after a death, or a log that was replaced.
  if (next_ == from) return whole;
  return standIn(from, next_ - 1) && whole;
}

bool LogHistory::standIn(std::uint64_t first, std::uint64_t last) {
  std::vector<Json> standing;
  bool const whole =
      selection_.walkConfigs(table_, [&](Asic::UnitId unit, InLifModelConfigShoalEntry const& record) {
        std::uint64_t const version = record.logVersion.value();
        if (version < first || version > last || !selection_.takes(unit, record.key().value())) return;
        Json out = {{"table", table_.name},
                    {"version", version},
                    {"unit", unit},
                    {"state", record.isDeleted ? "removed" : "live"},
                    {"key", record.key().value()}};
        interfaces_.addTo(out);
        if (!record.isDeleted) addLogEntry(out, record.tableEntry);
        standing.push_back(std::move(out));
      });
  std::ranges::stable_sort(standing, {}, [](Json const& out) { return out["version"].get<std::uint64_t>(); });
  print({{"table", table_.name}, {"gap", {{"from", first}, {"to", last}}}, {"standing", standing.size()}});
  for (Json const& out : standing) print(out);
  return whole;
}

void LogHistory::tell(Record const& record) {
  Json out = {{"table", table_.name},
              {"version", record.logVersion.value()},
              {"unit", record.unitId},
              {"does", doingOf(record)}};
  if (!record.isTableDeleted()) out["key"] = record.logEntry.key.value();
  interfaces_.addTo(out);
  Json needs = needsOf(needed_, table_, record.logVersion.value());
  if (!needs.empty()) out["needs"] = std::move(needs);
  if (!record.isTableDeleted()) addChange(out, record);
  if (!record.isTableDeleted() && !record.isEntryDeleted()) addLogEntry(out, record.logEntry);
  print(out);
}

void LogHistory::addChange(Json& out, Record const& record) {
  Record old;
  std::uint64_t const version = before(record);
  if (version == 0 || log_.lookup(Asic::LogVersion(version), old) != Shoal::Read::found) return;
  out["before"] = {{"version", version}, {"does", doingOf(old)}};
  bool const bothWrite = !old.isTableDeleted() && !old.isEntryDeleted() && !record.isEntryDeleted();
  if (bothWrite) out["changedFields"] = differences(old.logEntry, record.logEntry);
}

}  // namespace Inlif
