#include "tools/check/StoreContents.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>

#include "LoamInLif/Kinds.h"
#include "Shoal/Manifest.h"
#include "Shoal/RootDirectory.h"
#include "Shoal/StoreRoot.h"
#include "Statehub/EntityShoal.h"
#include "tools/json/ObjectReader.h"
#include "tools/support/Progress.h"

namespace Inlif {
namespace {

using namespace LoamTunnelNiLib;
using VexSharedMem::StoreRoot;
using Role = StoreRoot::Role;
namespace fs = std::filesystem;

constexpr std::string_view kSuffix = ".shoal";

// --- what to call a record ---

struct RecordName {
  std::string record;
  std::uint64_t version = 0;
};
RecordName nameOf(InLifModelLogShoalEntry const& record) {
  return {fmt::format("unit {} key {}", record.unitId, record.logEntry.key), record.logVersion.value()};
}
RecordName nameOf(InLifModelConfigShoalEntry const& record) {
  return {fmt::format("key {}", record.key().value()), record.logVersion.value()};
}
RecordName nameOf(InLifImageEntry const& record) {
  return {fmt::format("unit {} key {}", record.key.unitId, record.key.entryKey.value()),
          record.logVersion.value()};
}
RecordName nameOf(InLifFailureRow const& row) {
  return {row.key.text(), row.logVersion.value()};
}
RecordName nameOf(Asic::AnnouncedRow const& row) {
  return {fmt::format("table {}", row.tableId), row.version.value()};
}
RecordName nameOf(Asic::TableVersion const& row) {
  return {fmt::format("table {}", row.tableId()), row.logVersion().value()};
}
RecordName nameOf(Asic::NeededRow const& row) {
  return {fmt::format("table {:04x}", row.key.value() >> 48), row.key.value() & 0xFFFFFFFFFFFF};
}
// Of a row that names a path.
template <class Row>
std::string pathOf(Row const& row) {
  return std::string(row.path.text.data(), strnlen(row.path.text.data(), row.path.text.size()));
}
RecordName nameOf(Statehub::EntityRow const& row) {
  return {fmt::format("entity '{}'", pathOf(row)), 0};
}
RecordName nameOf(Shoal::ManifestRow const& row) {
  return {fmt::format("path '{}'", pathOf(row)), 0};
}
template <class Traits>
RecordName nameOf(BursarResourceTable::ResourceRecord<Traits> const& record) {
  return {fmt::format("key {}", record.key), 0};
}

// --- the gathering ---

class Gathering {
 public:
  Gathering(StoreContents& contents, CheckLimits const& limits, CheckResult& result)
      : contents_(contents), limits_(limits), result_(result), root_(StoreRoot::root()) {}

  void run() {
    if (!lookAtRoot()) return;
    folder({});
    progress_.ofIs(files_.size());
    movedAside();
    manifest(Role::agent);
    manifest(Role::writer);
    for (std::size_t i = 0; i < kTables; ++i) table(tables()[i], contents_.tables[i]);
    contents_.announced = look<Asic::AnnouncedRow>(
        {announcedPath(), 0, static_cast<std::uint32_t>(Asic::kMaxTablesOfGroup), Role::agent});
    contents_.needed = look<Asic::NeededRow>({neededPath(), 0, limits_.neededCapacity, Role::agent});
    contents_.reported = look<Asic::TableVersion>(
        {tableVersionPath(), 0, static_cast<std::uint32_t>(Asic::kMaxTablesOfGroup), Role::writer});
    look<Statehub::EntityRow>({Statehub::kEntityPath, 0, Statehub::kMaxEntityRows, Role::agent});
    LoamInLif::forEachKind([&]<class Kind>() { resources<Kind>(); });
    for (std::string const& path : files_) note(path, "no collection that this build knows");
  }

 private:
  void tell(std::string file, std::string what, std::string aside = {}) {
    result_.findings.push_back({std::move(file), {}, 0, std::move(what), std::move(aside)});
  }
  void note(std::string const& file, std::string_view what) {
    result_.notes.push_back(fmt::format("{}: {}", file, what));
  }

  bool lookAtRoot() {
    struct stat found {};
    if (::lstat(root_.c_str(), &found) != 0)
      result_.problem = fmt::format("store {}: {}", root_, std::strerror(errno));
    else if (!S_ISDIR(found.st_mode))
      result_.problem =
          fmt::format("store {}: is {}", root_, S_ISLNK(found.st_mode) ? "a symbolic link" : "no directory");
    else if (found.st_uid != ::geteuid())
      result_.problem =
          fmt::format("store {}: it belongs to user {}, expected {}", root_, found.st_uid, ::geteuid());
    else if (::access(root_.c_str(), R_OK | X_OK) != 0)
      result_.problem = fmt::format("store {}: {}", root_, std::strerror(errno));
    else if ((found.st_mode & 077) != 0)
      tell(".", fmt::format("the root is open to other users (mode {:04o}, expected 0700)",
                            found.st_mode & 07777));
    return result_.problem.empty();
  }

  // One folder below the root ("" = the root). What is no collection is looked at for its owner and mode
  // alone: sockets and logs may lie beside them.
  void folder(std::string const& below) {
    std::error_code error;
    for (fs::directory_entry const& entry : fs::directory_iterator(fs::path(root_) / below, error)) {
      std::string const name = (below.empty() ? "" : below + "/") + entry.path().filename().string();
      struct stat found {};
      if (::lstat(entry.path().c_str(), &found) != 0) continue;
      bool const isFile = name.ends_with(kSuffix);
      std::string const path = isFile ? name.substr(0, name.size() - kSuffix.size()) : std::string();
      if (S_ISLNK(found.st_mode)) {
        tell(name, "it is a symbolic link, which the store never follows", path);
      } else if (found.st_uid != ::geteuid()) {
        tell(name, fmt::format("it belongs to user {}, expected {}", found.st_uid, ::geteuid()), path);
      } else if ((found.st_mode & 077) != 0 && !S_ISSOCK(found.st_mode)) {
        tell(name, fmt::format("it is open to other users (mode {:04o})", found.st_mode & 07777));
      }
      if (isFile && !path.starts_with('.')) files_.insert(path);
      if (S_ISDIR(found.st_mode) && !isFile && (below.empty() ? name != ".lost" : true)) folder(name);
    }
    std::string const why = fmt::format("the folder can't be read: {}", error.message());
    if (Shoal::isShortage(error.value()))
      result_.problem = fmt::format("{}/{}: {}", root_, below, why);
    else if (error)
      tell(below, why);
    if (below == ".staging" && !fs::is_empty(fs::path(root_) / below, error))
      note(below, "holds files that a killed process was making; the next start of their owner clears them");
  }

  // Files that an earlier check moved away: that they are missing is known.
  void movedAside() {
    std::error_code error;
    for (fs::directory_entry const& entry : fs::directory_iterator(fs::path(root_) / ".lost", error)) {
      std::string name = entry.path().filename().string();
      std::size_t const mark = name.rfind(kAsideMark);
      if (mark == std::string::npos) continue;
      name.resize(mark);
      std::ranges::replace(name, '%', '/');
      aside_.insert(std::move(name));
    }
  }

  void manifest(Role role) {
    std::string const path = fmt::format(".manifest-{}", StoreRoot::roleName(role));
    auto const rows = look<Shoal::ManifestRow>({path, 0, Shoal::Manifest::kCapacity, role});
    bool const missing = rows.report.state == Shoal::AuditReport::State::missing;
    auto const isOfRole = [&](std::string const& file) {
      return (file.find("/hardware/") != std::string::npos) == (role == Role::writer);
    };
    if (missing && !aside_.contains(path) && std::ranges::any_of(files_, isOfRole))
      tell(path, "the manifest is missing, although there are collections that it should list");
    if (!rows.report.whole()) return;
    if (rows.report.wiped) note(path, "was lost once: what has no file and is not listed counts as lost");
    std::set<std::string> listed;
    for (Shoal::ManifestRow const& row : rows.records) listed.insert(pathOf(row));
    for (std::string const& one : listed) {
      if (files_.contains(one)) continue;
      if (aside_.contains(one))
        note(one,
             "was moved aside by a check; the next start makes it anew and publishes its contents again");
      else
        tell(one, "it is listed in the manifest and has no file: its contents are lost");
    }
    for (std::string const& file : files_)
      if (isOfRole(file) && !listed.contains(file))
        note(file, "is not in the manifest yet; the next mount lists it");
  }

  // The audit of one collection; what it found goes into the result.
  template <class Record>
  Shoal::Audited<Record> look(Shoal::CollectionSpec const& spec) {
    auto audited = Shoal::Audited<Record>::of(spec);
    files_.erase(spec.path);
    if (audited.report.state == Shoal::AuditReport::State::missing) return audited;
    // No finding: a file of which nothing is known must not be moved aside.
    if (audited.report.state == Shoal::AuditReport::State::unavailable)
      result_.problem = audited.report.problem;
    progress_.at(++result_.collections);
    result_.records += audited.records.size();
    for (Shoal::AuditFinding const& found : audited.report.findings) {
      CheckFinding finding{spec.path, {}, 0, found.what, spec.path};
      if (found.record.size() == sizeof(Record)) {
        Record record;
        std::memcpy(static_cast<void*>(&record), found.record.data(), sizeof(Record));
        RecordName name = nameOf(record);
        finding.record = std::move(name.record);
        finding.version = name.version;
      }
      result_.findings.push_back(std::move(finding));
    }
    return audited;
  }

  void table(TableInfo const& info, TableContents& contents) {
    contents.log = look<InLifModelLogShoalEntry>({info.logPath, 0, limits_.logCapacity, Role::agent});
    contents.image = look<InLifImageEntry>({info.imagePath, 0, InLifImage::kMaxEntries, Role::writer});
    contents.failures = look<InLifFailureRow>({info.failuresPath, 0, InLifFailures::kMaxRows, Role::writer});
    std::string const base = info.configBase + "/";
    std::vector<std::string> configs;
    std::ranges::copy_if(files_, std::back_inserter(configs),
                         [&](std::string const& path) { return path.starts_with(base); });
    for (std::string const& path : configs) {
      std::uint64_t unit = 0;
      if (!numberFrom(std::string_view(path).substr(base.size()), unit) || unit > Asic::kMostUnit ||
          info.configPath(static_cast<Asic::UnitId>(unit)) != path) {
        files_.erase(path);
        tell(path, "its name is not the number of a unit: nobody reads it", path);
        continue;
      }
      contents.configs[static_cast<Asic::UnitId>(unit)] =
          look<InLifModelConfigShoalEntry>({path, 0, limits_.configCapacity, Role::agent});
    }
  }

  // What a resource table remembers: no value is given to two keys.
  template <class Kind>
  void resources() {
    using Record = typename Kind::ResourceTable::Store::Record;
    std::string const path = fmt::format("bursar/{}/{}", Kind::resourceNamespace, Kind::resourceTableName);
    if (!files_.contains(path)) return;  // two kinds may share a table
    auto const held = look<Record>({path, 0, Kind::ResourceTable::kMaxKeys, Role::agent});
    std::map<std::uint64_t, std::string> keyOf;
    for (Record const& record : held.records) {
      if (record.allocated == 0) continue;
      std::string name = nameOf(record).record;
      auto const [other, isNew] = keyOf.try_emplace(record.allocated, name);
      if (isNew) continue;
      result_.findings.push_back(
          {path, std::move(name), 0,
           fmt::format("value {} is given to {} as well", record.allocated, other->second), path});
    }
  }

  StoreContents& contents_;
  CheckLimits const& limits_;
  CheckResult& result_;
  std::string const root_;
  Progress progress_{"check", "collections"};
  std::set<std::string> files_;  // paths of the collections that have a file and were not looked at yet
  std::set<std::string> aside_;  // paths that a check moved aside
};

template <class Row>
std::optional<std::uint64_t> versionIn(Shoal::Audited<Row> const& rows, Asic::SwTableId id,
                                       std::uint64_t (*version)(Row const&)) {
  auto const at = std::ranges::find_if(
      rows.records, [&](Row const& row) { return Shoal::RecordTraits<Row>::key(row) == id; });
  return at == rows.records.end() ? std::nullopt : std::optional(version(*at));
}

}  // namespace

std::optional<std::uint64_t> StoreContents::announcedVersion(Asic::SwTableId id) const {
  return versionIn<Asic::AnnouncedRow>(announced, id, [](auto const& row) { return row.version.value(); });
}

std::optional<std::uint64_t> StoreContents::reportedVersion(Asic::SwTableId id) const {
  return versionIn<Asic::TableVersion>(reported, id,
                                       [](auto const& row) { return row.logVersion().value(); });
}

void StoreContents::gather(CheckLimits const& limits, CheckResult& result) {
  Gathering(*this, limits, result).run();
}

}  // namespace Inlif
