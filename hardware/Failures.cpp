#include "hardware/Failures.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>
#include <vector>

#include "Shoal/ReportedReads.h"
#include "Vex/Trace.h"

namespace LoamHardware {
namespace {

using namespace LoamTunnelNiLib;

Vex::TraceHandle const failureTrace("HwWriter");

std::uint64_t nanosecondsSince1970() {
  auto const now = std::chrono::system_clock::now().time_since_epoch();
  return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

InLifFailureKey keyOf(Failures::LogRecord const& record) {
  return record.isTableDeleted() ? InLifFailureKey::ofUnit(record.unitId)
                                 : InLifFailureKey::ofEntry(record.unitId, record.logEntry.key);
}

FailedOperation operationOf(Failures::LogRecord const& record) {
  if (record.isTableDeleted()) return FailedOperation::clear;
  return record.isEntryDeleted() ? FailedOperation::remove : FailedOperation::write;
}

}  // namespace

Pivot::Status Failures::openMap() {
  map_ = std::make_unique<Map>();
  return map_->mount(
      {table_.failuresPath, InLifFailures::kMaxRows, 0, VexSharedMem::StoreRoot::Role::writer});
}

Pivot::Status Failures::mount() {
  Pivot::Status status = openMap();
  if (!status.isOk()) return status;
  auto& control = map_->collectionControl();
  rememberAll();
  if (control.wiped())
    image_.giveUp("failures of it were lost");
  else if (!fit(control.scratchpad(), image_.failureChanges()))
    image_.giveUp(fmt::format("the failures of it have seen {} changes, and it knows of {}",
                              control.scratchpad(), image_.failureChanges()));
  // The count goes on where it was, so that a copy of before the loss is known by it for ever.
  if (control.scratchpad() < image_.failureChanges()) control.scratchpadIs(image_.failureChanges());
  return status;
}

// What is known of rows that were lost goes, so that it is taken for none of the rows that the rebuilding makes.
void Failures::rememberAll() {
  Shoal::walkBeyondDamage(*map_, [this] {
    refusals_.clear();
    dependents_.clear();
    return Shoal::forEach(*map_, [this](Row const& row) { remember(row); });
  });
  lossEpoch_ = map_->lossEpoch();
}

void Failures::remember(Row const& row) {
  if (row.failureClass == FailureClass::needRefused)
    dependents_.emplace(Need{row.needTable, Key::ofEntry(row.needUnit, row.needKey)}, row.key);
  else if (row.isRefusal())
    refusals_[row.logVersion] = row.key;
}

void Failures::forget(Row const& row) {
  if (row.failureClass == FailureClass::needRefused) {
    auto const [from, to] =
        dependents_.equal_range(Need{row.needTable, Key::ofEntry(row.needUnit, row.needKey)});
    auto const at = std::find_if(from, to, [&](auto const& one) { return one.second == row.key; });
    if (at != to) dependents_.erase(at);
  } else if (auto const at = refusals_.find(row.logVersion); at != refusals_.end() && at->second == row.key) {
    refusals_.erase(at);
  }
}

// The count first: a death in between leaves it ahead of the image's, which says nothing.
void Failures::changed() {
  auto& control = map_->collectionControl();
  control.scratchpadIs(control.scratchpad() + 1);
  image_.failureChangesAre(control.scratchpad());
}

void Failures::set(Row const& row) {
  bool found = false;
  Row const before = Shoal::recordOrDefault(*map_, row.key, &found);
  if (!found && !map_->reserve(1).isOk()) {
    map_->collectionControl().watermarkIs(map_->collectionControl().watermark() + 1);
    if (!std::exchange(noRoom_, true))
      VEX_TRACE(failureTrace, 1, "failures of {}: no room for another row, {} stand; what fails is counted",
                table_.name, map_->size());
    return;
  }
  noRoom_ = false;
  if (found) forget(before);
  Row merged = row;
  merged.last = nanosecondsSince1970();
  merged.first = found ? before.first : merged.last;
  merged.tries = found ? before.tries + 1 : 1;
  map_->set(merged);
  remember(merged);
  changed();
}

void Failures::refused(LogRecord const& record, FailureClass why, std::string_view text) {
  Row row;
  row.key = keyOf(record);
  row.logVersion = record.logVersion;
  row.failureClass = why;
  row.operation = operationOf(record);
  row.textIs(text);
  VEX_TRACE(failureTrace, 2, "{} {} of {}, version {}, fails as {}: {}", table_.name, row.operationName(),
            row.key, record.logVersion, row.className(), text);
  if (askedAgain_) askedAgain_->insert(row.key);
  set(row);
}

void Failures::standsWithout(LogRecord const& record, Need const& need) {
  Row row;
  row.key = keyOf(record);
  row.logVersion = record.logVersion;
  row.failureClass = FailureClass::needRefused;
  row.operation = operationOf(record);
  row.needTable = need.table;
  row.needUnit = need.key.unitId;
  row.needKey = need.key.entryKey;
  set(row);
}

std::optional<Failures::Key> Failures::refusedAt(Asic::LogVersion version) const {
  auto const at = refusals_.find(version);
  return at == refusals_.end() ? std::nullopt : std::optional(at->second);
}

void Failures::drop(Key const& key) {
  bool found = false;
  Row const row = Shoal::recordOrDefault(*map_, key, &found);
  if (!found) return;
  forget(row);
  map_->del(key);
  changed();
  if (row.failureClass != FailureClass::needRefused && recovered_) recovered_(key);
}

template <class F>
void Failures::dropIf(F drops) {
  std::vector<Key> keys;
  Shoal::walkBeyondDamage(*map_, [&] {
    keys.clear();
    return Shoal::forEach(*map_, [&](Row const& row) {
      if (drops(row)) keys.push_back(row.key);
    });
  });
  for (Key const& key : keys) drop(key);
}

void Failures::over(LogRecord const& record) {
  if (record.isTableDeleted()) return dropIf([&](Row const& row) { return row.key.unitId == record.unitId; });
  Key const key = keyOf(record);
  bool found = false;
  Row const& row = Shoal::recordOrDefault(*map_, key, &found);
  // One that is given again, or written by a rebuilding, stands without what it needs as it did before.
  if (!found || (row.failureClass == FailureClass::needRefused && row.logVersion == record.logVersion))
    return;
  drop(key);
}

void Failures::needRecovered(Need const& need) {
  auto const [from, to] = dependents_.equal_range(need);
  std::vector<Key> keys;
  for (auto at = from; at != to; ++at) keys.push_back(at->second);
  for (Key const& key : keys) drop(key);
}

void Failures::rebuilt(Failures& other) {
  if (dependents_.empty()) return;
  std::vector<Key> over;
  for (auto const& [need, key] : dependents_)
    if (need.table == other.table_.id && !other.fails(need.key)) over.push_back(key);
  for (Key const& key : over) drop(key);
}

bool Failures::fails(Key const& key) {
  bool found = false;
  Row const& row = Shoal::recordOrDefault(*map_, key, &found);
  return found && row.failureClass != FailureClass::needRefused;
}

void Failures::rebuildingBegins() {
  askedAgain_.emplace();
  rememberAll();
  map_->collectionControl().watermarkIs(0);
}

Pivot::Status Failures::rebuildingEnds() {
  dropIf([this](Row const& row) {
    return row.failureClass == FailureClass::needRefused
               ? !image_.has(Image::Key(row.key.unitId, row.key.entryKey))
               : !askedAgain_->contains(row.key);
  });
  askedAgain_.reset();
  if (lost()) return Pivot::Status::refused("its failures were damaged again while it was rebuilt");
  map_->collectionControl().clearWiped();
  image_.failureChangesAre(map_->collectionControl().scratchpad());
  return Pivot::Status::ok();
}

}  // namespace LoamHardware
