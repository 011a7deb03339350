#include "tools/check/TableCheck.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <optional>
#include <unordered_map>

#include "LoamInLif/log/EntryLogIntent.h"
#include "hardware/Failures.h"

namespace Inlif {
namespace {

using namespace LoamTunnelNiLib;
using LoamInLif::EntryLogIntent;
using LoamInLif::IntentKind;
using LogRecord = InLifModelLogShoalEntry;
using ConfigRecord = InLifModelConfigShoalEntry;
using Config = Shoal::Audited<ConfigRecord>;
using Version = std::uint64_t;

class TableCheck {
 public:
  TableCheck(StoreContents const& contents, std::size_t table, CheckResult& result)
      : contents_(contents), info_(tables()[table]), held_(contents.tables[table]), result_(result) {}

  void run() {
    if (held_.log.report.state == Shoal::AuditReport::State::missing && held_.configs.empty()) return;
    if (!held_.log.report.whole()) return note(info_.logPath, "nothing was compared with it");
    readVersions();
    readIntent();
    readLog();
    checkOrder();
    for (auto const& [unit, config] : held_.configs) {
      if (!comparable(unit, config)) continue;
      checkConfig(unit, config);
      checkLogRecords(unit);
    }
    checkImage();
  }

 private:
  // The last thing that the log says of a key; null: nothing.
  using Last = std::unordered_map<std::uint32_t, LogRecord const*>;

  void tell(std::string const& file, std::string record, Version version, std::string what,
            std::string const& aside, std::optional<CheckedEntry> entry = std::nullopt) {
    result_.findings.push_back({file, std::move(record), version, std::move(what), aside, std::move(entry)});
  }
  // Of a record in a file of one unit, or in the log.
  void tell(std::string const& file, CheckedEntry entry, Version version, std::string what,
            std::string const& aside) {
    std::string record = fmt::format("key {}", entry.key);
    tell(file, std::move(record), version, std::move(what), aside, std::move(entry));
  }
  CheckedEntry entryOf(Asic::UnitId unit, std::uint32_t key) const { return {info_.name, unit, key}; }
  void note(std::string const& file, std::string_view what) {
    result_.notes.push_back(fmt::format("{}: {}", file, what));
  }

  void readVersions() {
    written_ = held_.log.report.scratchpad;
    cleaned_ = held_.log.report.watermark;
    reported_ = contents_.reported.report.ofAnotherBoot ? 0 : contents_.reportedVersion(info_.id).value_or(0);
    auto const& image = held_.image.report;
    applied_ = image.whole() ? image.scratchpad : 0;
    bool const isEmpty = applied_ == 0 && held_.image.records.empty();
    bool const follows =
        image.agreesWith == held_.log.report.incarnation || (image.agreesWith == 0 && isEmpty);
    imageComplete_ = image.whole() && !image.wiped && !image.ofAnotherBoot && follows &&
                     applied_ >= cleaned_ && applied_ >= reported_ && readFailures();
    taken_ = std::max(reported_, imageComplete_ ? applied_ : 0);
  }

  // False when they are not those that belong to the image: the writer asks the hardware again.
  bool readFailures() {
    auto const& failures = held_.failures.report;
    std::uint64_t noted = 0;
    if (auto const& bytes = held_.image.report.intent; bytes.size() == sizeof noted)
      std::memcpy(&noted, bytes.data(), sizeof noted);
    if (failures.state == Shoal::AuditReport::State::missing) return noted == 0;
    for (InLifFailureRow const& row : held_.failures.records) failureOf_[row.key] = &row;
    unlisted_ = failures.watermark;
    if (unlisted_ != 0)
      note(info_.failuresPath,
           fmt::format("{} refusals found no room in it: what the image lacks is among them", unlisted_));
    return failures.whole() && !failures.wiped && LoamHardware::Failures::fit(failures.scratchpad, noted);
  }
  InLifFailureRow const* failureOf(InLifFailureKey const& key) const {
    auto const at = failureOf_.find(key);
    return at == failureOf_.end() ? nullptr : at->second;
  }
  InLifFailureRow const* failureOf(Asic::UnitId unit, std::uint32_t key) const {
    return failureOf(InLifFailureKey::ofEntry(unit, InLifModelEntryKey(key)));
  }
  // An entry that stands although it, or its unit, was to be removed.
  bool mayStand(Asic::UnitId unit, std::uint32_t key, Version version) const {
    auto const* const row = failureOf(unit, key);
    auto const* const clear = failureOf(InLifFailureKey::ofUnit(unit));
    return (row != nullptr && row->operation == FailedOperation::remove) ||
           (clear != nullptr && clear->logVersion.value() >= version);
  }

  void readIntent() {
    auto const& bytes = held_.log.report.intent;
    if (bytes.empty()) return;
    EntryLogIntent intent{};
    if (bytes.size() < offsetof(EntryLogIntent, needed))
      return tell(info_.logPath, std::string(), 0, fmt::format("its intent has {} bytes", bytes.size()),
                  info_.logPath);
    std::memcpy(&intent, bytes.data(), std::min(bytes.size(), sizeof(intent)));
    intent_ = intent;
    note(info_.logPath, fmt::format("version {} of unit {} was being published; the next start settles it",
                                    intent.version, intent.unitId));
    if (intent.version != written_ && intent.version != written_ + 1)  // C1
      tell(info_.logPath, std::string(), intent.version,
           fmt::format("its intent is not next to the scratchpad, {}", written_), info_.logPath);
  }
  bool underWay(Version version) const { return intent_ && intent_->version == version; }
  // The publication under way may have changed this key or not.
  bool underWay(Asic::UnitId unit, std::uint32_t key) const {
    return intent_ && intent_->unitId == unit &&
           (intent_->kind == IntentKind::tableDelete || intent_->key == key);
  }

  void readLog() {
    for (LogRecord const& record : held_.log.records) byVersion_.push_back(&record);
    std::ranges::sort(byVersion_, {}, [](LogRecord const* record) { return record->logVersion.value(); });
    auto const next = std::ranges::upper_bound(
        byVersion_, applied_, {}, [](LogRecord const* record) { return record->logVersion.value(); });
    if (next != byVersion_.end()) next_ = *next;
  }
  LogRecord const* logged(Version version) const {
    auto const at = std::ranges::lower_bound(
        byVersion_, version, {}, [](LogRecord const* record) { return record->logVersion.value(); });
    return at != byVersion_.end() && (*at)->logVersion.value() == version ? *at : nullptr;
  }

  // C1, C3, C4: the numbers of the table.
  void checkOrder() {
    for (LogRecord const* record : byVersion_) {
      Version const version = record->logVersion.value();
      if (version > written_ && !underWay(version))
        tell(info_.logPath, entryOf(record->unitId, record->logEntry.key.value()), version,
             fmt::format("it is ahead of the scratchpad, {}", written_), info_.logPath);
      if (!held_.configs.contains(record->unitId) && version > taken_)
        note(info_.logPath,
             fmt::format("version {} is about unit {}, which has no configuration", version, record->unitId));
    }
    // A log that began after a loss counts from a version without a record, until something is published.
    if (!byVersion_.empty() && byVersion_.front()->logVersion.value() <= written_ && written_ > taken_ &&
        logged(written_) == nullptr)
      tell(info_.logPath, std::string(), written_,
           "the scratchpad is ahead of the log: its version has no record", info_.logPath);
    auto const announced = contents_.announcedVersion(info_.id);
    if (announced && *announced > written_ && !underWay(*announced))
      tell(announcedPath(), info_.name, *announced,
           fmt::format("it is announced, the log was written up to {}", written_), announcedPath());
    auto const& image = held_.image.report;
    if (image.whole() && !image.wiped && applied_ != 0 && reported_ > applied_)
      tell(tableVersionPath(), info_.name, reported_,
           fmt::format("it is reported, the image has applied up to {}", applied_), info_.imagePath);
    bool const follows = image.agreesWith == held_.log.report.incarnation;
    if (image.whole() && !image.wiped && follows && cleaned_ > applied_)
      tell(info_.imagePath, std::string(), applied_,
           fmt::format("it came back older: the log is cleaned up to version {}", cleaned_), info_.imagePath);
    if (image.whole() && std::max(image.watermark, applied_) > written_)
      tell(info_.logPath, std::string(), written_,
           fmt::format("it came back older: the image has begun to apply it up to version {}",
                       std::max(image.watermark, applied_)),
           info_.logPath);
    if (held_.log.report.ofAnotherBoot)
      note(info_.logPath, "is of another boot of the kernel; the next start makes it anew");
    if (announced.value_or(0) < written_ && !intent_)
      note(announcedPath(), fmt::format("{} is announced up to {} of {}; the next start announces the rest",
                                        info_.name, announced.value_or(0), written_));
  }

  // A unit that can be held against log and image.
  bool comparable(Asic::UnitId unit, Config const& config) {
    std::string const path = info_.configPath(unit);
    if (!config.report.whole()) {
      note(path, "nothing was compared with it");
      return false;
    }
    if (config.report.agreesWith == held_.log.report.incarnation) return true;
    note(path,
         "does not agree with the log, since one of them was new or lost; the next start publishes it anew");
    return false;
  }

  // C1 and C2, from the configuration's side. Fills configOf_.
  void checkConfig(Asic::UnitId unit, Config const& config) {
    std::string const path = info_.configPath(unit);
    auto& records = configOf_[unit];
    if (config.report.watermark < cleaned_)
      tell(path, std::string(), 0,
           fmt::format("it came back older: the log is cleaned up to version {}, it knows of {}", cleaned_,
                       config.report.watermark),
           {});
    for (ConfigRecord const& record : config.records) {
      std::uint32_t const key = record.key().value();
      Version const version = record.logVersion.value();
      records[key] = &record;
      if (underWay(version)) continue;
      if (version > written_) {
        tell(path, entryOf(unit, key), version,
             fmt::format("it is ahead of the log, which was written up to {}", written_), info_.logPath);
      } else if (version > taken_ && !saysTheSame(unit, record, logged(version))) {
        tell(path, entryOf(unit, key), version,
             logged(version) ? "its log record says something else" : "it has no log record", info_.logPath);
      }
    }
  }
  static bool saysTheSame(Asic::UnitId unit, ConfigRecord const& record, LogRecord const* log) {
    if (log == nullptr || log->unitId != unit) return false;
    if (record.isDeleted != 0 && log->isTableDeleted()) return true;
    return !log->isTableDeleted() && log->isEntryDeleted() == (record.isDeleted != 0) &&
           log->logEntry.isEq(record.tableEntry);
  }

  // The last log record about each key of the unit with a version from `above` (exclusive) to `upTo`; the
  // last one that empties the unit stands in `cleared`.
  Last lastOf(Asic::UnitId unit, Version above, Version upTo, LogRecord const*& cleared) const {
    Last last;
    cleared = nullptr;
    for (LogRecord const* record : byVersion_) {
      Version const version = record->logVersion.value();
      if (version <= above || version > upTo || record->unitId != unit) continue;
      if (record->isTableDeleted()) {
        last.clear();
        cleared = record;
      } else {
        last[record->logEntry.key.value()] = record;
      }
    }
    return last;
  }

  // C2, from the log's side.
  void checkLogRecords(Asic::UnitId unit) {
    auto const& records = configOf_[unit];
    std::string const path = info_.configPath(unit);
    LogRecord const* cleared = nullptr;
    for (auto const& [key, record] : lastOf(unit, taken_, written_, cleared)) {
      if (underWay(unit, key)) continue;
      auto const at = records.find(key);
      Version const version = record->logVersion.value();
      if (at == records.end())
        tell(path, entryOf(unit, key), version, "it is missing, although the log tells of it", info_.logPath);
      else if (at->second->logVersion.value() < version)
        tell(path, entryOf(unit, key), at->second->logVersion.value(),
             fmt::format("it is older than what the log tells of it, version {}", version), info_.logPath);
    }
    if (cleared == nullptr) return;
    for (auto const& [key, record] : records)
      if (record->isDeleted == 0 && record->logVersion < cleared->logVersion && !underWay(unit, key))
        tell(path, entryOf(unit, key), record->logVersion.value(),
             fmt::format("it is live, although the unit was emptied by version {}", cleared->logVersion),
             info_.logPath);
  }

  // C5.
  void checkImage() {
    if (held_.image.report.state == Shoal::AuditReport::State::missing) return;
    if (!imageComplete_)
      return note(info_.imagePath, "is not complete; the next start of the writer builds it anew");
    std::map<Asic::UnitId, std::unordered_map<std::uint32_t, InLifImageEntry const*>> images;
    for (InLifImageEntry const& entry : held_.image.records) {
      images[entry.key.unitId][entry.key.entryKey.value()] = &entry;
      Version const version = entry.logVersion.value();
      if (version > applied_ && (next_ == nullptr || next_->logVersion.value() != version))
        tellImage(entry.key.unitId, entry.key.entryKey.value(), version,
                  fmt::format("it is ahead of what was applied, {}", applied_));
    }
    for (auto const& [key, row] : failureOf_) {
      Version const version = row->logVersion.value();
      if (version > applied_ && row->isRefusal() &&
          (next_ == nullptr || next_->logVersion.value() != version))
        tell(info_.failuresPath, key.text(), version,
             fmt::format("it is ahead of what was applied, {}", applied_), info_.failuresPath);
    }
    for (auto const& [unit, records] : configOf_) checkImageOf(unit, records, images[unit]);
  }
  void tellImage(Asic::UnitId unit, std::uint32_t key, Version version, std::string what) {
    if (unlisted_ != 0) return;
    tell(info_.imagePath, fmt::format("unit {} key {}", unit, key), version, std::move(what), info_.imagePath,
         entryOf(unit, key));
  }

  template <class Records, class Images>
  void checkImageOf(Asic::UnitId unit, Records const& records, Images const& images) {
    LogRecord const* cleared = nullptr;
    Last const before = lastOf(unit, 0, applied_, cleared);
    LogRecord const* emptiedLater = nullptr;
    Last const after = lastOf(unit, applied_, written_, emptiedLater);
    auto const beingApplied = [&](std::uint32_t key) {
      return next_ != nullptr && next_->unitId == unit &&
             (next_->isTableDeleted() || next_->logEntry.key.value() == key);
    };
    for (auto const& [key, record] : records) {
      auto const at = images.find(key);
      InLifImageEntry const* const image = at == images.end() ? nullptr : at->second;
      Version const version = record->logVersion.value();
      if (beingApplied(key)) continue;
      InLifFailureRow const* const row = failureOf(unit, key);
      bool const refused = row != nullptr && row->isRefusal() && row->logVersion.value() <= applied_;
      if (version <= applied_) {
        if (refused)
          checkRefused(*row, version, image);
        else if (image != nullptr && record->isDeleted != 0 && mayStand(unit, key, image->logVersion.value()))
          continue;
        else if (image == nullptr && record->isDeleted == 0)
          tellImage(unit, key, version, "it is missing, although its version was applied");
        else if (image != nullptr && record->isDeleted != 0)
          tellImage(unit, key, image->logVersion.value(),
                    fmt::format("it was removed by version {}", version));
        else if (image != nullptr &&
                 (image->logVersion != record->logVersion || !image->entry.isEq(record->tableEntry)))
          tellImage(unit, key, image->logVersion.value(),
                    fmt::format("the configuration has it otherwise, at version {}", version));
        continue;
      }
      // An image that was rebuilt may be without a key whose configuration is newer.
      auto const earlier = before.find(key);
      if (image == nullptr || earlier == before.end() || refused) continue;
      LogRecord const& log = *earlier->second;
      if (log.isEntryDeleted() || image->logVersion != log.logVersion || !image->entry.isEq(log.logEntry))
        tellImage(
            unit, key, image->logVersion.value(),
            fmt::format("version {} of the log, which was applied, says something else", log.logVersion));
    }
    for (auto const& [key, image] : images) {
      if (records.contains(key) || after.contains(key) || emptiedLater != nullptr || beingApplied(key) ||
          mayStand(unit, key, image->logVersion.value()))
        continue;
      tellImage(unit, key, image->logVersion.value(), "the configuration does not have it");
    }
  }

  // C8.
  void checkRefused(InLifFailureRow const& row, Version version, InLifImageEntry const* image) {
    if (row.logVersion.value() != version)
      tell(info_.failuresPath, row.key.text(), row.logVersion.value(),
           fmt::format("version {} was dealt with after it", version), info_.failuresPath,
           entryOf(row.key.unitId, row.key.entryKey.value()));
    else if (image != nullptr && image->logVersion.value() == version)
      tell(info_.failuresPath, row.key.text(), version, "it is refused, and stands in the image",
           info_.failuresPath, entryOf(row.key.unitId, row.key.entryKey.value()));
  }

  StoreContents const& contents_;
  TableInfo const& info_;
  TableContents const& held_;
  CheckResult& result_;
  Version written_ = 0;   // the scratchpad of the log
  Version cleaned_ = 0;   // the watermark of the log: records up to here may be gone
  Version reported_ = 0;  // the row of the table-version map
  Version applied_ = 0;   // the scratchpad of the image
  Version taken_ = 0;     // log records up to here may have been cleaned away
  bool imageComplete_ = false;
  std::optional<EntryLogIntent> intent_;
  std::map<InLifFailureKey, InLifFailureRow const*> failureOf_;
  Version unlisted_ = 0;  // refusals without a row
  std::vector<LogRecord const*> byVersion_;
  LogRecord const* next_ = nullptr;  // the first one above the applied version
  std::map<Asic::UnitId, std::unordered_map<std::uint32_t, ConfigRecord const*>>
      configOf_;  // comparable ones
};

}  // namespace

void checkTable(StoreContents const& contents, std::size_t table, CheckResult& result) {
  TableCheck(contents, table, result).run();
}

}  // namespace Inlif
