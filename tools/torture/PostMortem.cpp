#include "tools/torture/PostMortem.h"

#include <algorithm>
#include <filesystem>

#include "Shoal/StoreRoot.h"
#include "Vex/Text.h"
#include "tools/check/TableCheck.h"

namespace Inlif {
namespace {

using namespace LoamTunnelNiLib;

constexpr std::size_t kMostProblems = 20;

}  // namespace

void PostMortem::fault(std::string const& what) {
  if (problems_.size() < kMostProblems) problems_.push_back(what);
}

std::string PostMortem::textOf(Content const& content) {
  constexpr char const* kWords[] = {"write", "removal", "emptying"};
  return fmt::format("the {} of unit {} key {}{}", kWords[static_cast<int>(content.kind)], content.unit,
                     content.key, content.entry ? ": " + content.entry->text() : "");
}

void PostMortem::note(std::size_t table, std::uint64_t version, Content const& content, char const* where) {
  auto const [known, isNew] = known_[table].try_emplace(version, content);
  Content& before = known->second;
  bool const sameEntry = !before.entry || !content.entry || before.entry->isEq(*content.entry);
  if (before.kind != content.kind || before.unit != content.unit || before.key != content.key || !sameEntry)
    fault(fmt::format("T2: {} version {} stood for {}, and in the {} for {}", tables()[table].name, version,
                      textOf(before), where, textOf(content)));
  if (!before.entry) before.entry = content.entry;
}

// A removed record does not tell whether its key was removed or its unit emptied: it is compared with what is
// known, and noted by nobody but the log.
void PostMortem::noteRemoved(std::size_t table, Asic::UnitId unit, ConfigRecord const& record) {
  auto const known = known_[table].find(record.logVersion.value());
  if (known == known_[table].end()) return;
  Content const& content = known->second;
  bool const isItsRemoval = content.kind == Kind::removal && content.key == record.key().value();
  if (content.unit == unit && (content.kind == Kind::unitDelete || isItsRemoval)) return;
  fault(fmt::format("T2: {} version {} stood for {}, and unit {} key {} is removed at it",
                    tables()[table].name, record.logVersion, textOf(content), unit, record.key().value()));
}

void PostMortem::acknowledged(std::vector<Ended> const& ended) {
  for (Ended const& end : ended) {
    if (!end.done || end.version == 0) continue;
    Kind const kind = end.op == 'w' ? Kind::write : end.op == 'r' ? Kind::removal : Kind::unitDelete;
    note(end.place.table, end.version, {kind, end.place.unit, end.place.key, std::nullopt},
         "acknowledgement");
  }
}

void PostMortem::forget() {
  for (auto& table : known_) table.clear();
}

std::size_t PostMortem::versions() const {
  std::size_t count = 0;
  for (auto const& table : known_) count += table.size();
  return count;
}

// Each of these was seen by somebody, or will be.
void PostMortem::noteAll(std::size_t table, TableContents const& contents) {
  for (LogRecord const& record : contents.log.records) {
    Kind const kind = record.isTableDeleted()   ? Kind::unitDelete
                      : record.isEntryDeleted() ? Kind::removal
                                                : Kind::write;
    std::optional<InLifModelLogEntry> written;
    if (kind == Kind::write) written = record.logEntry;
    note(table, record.logVersion.value(), {kind, record.unitId, record.logEntry.key.value(), written},
         "log");
  }
  for (auto const& [unit, config] : contents.configs) {
    for (ConfigRecord const& record : config.records) {
      if (record.isDeleted)
        noteRemoved(table, unit, record);
      else
        note(table, record.logVersion.value(), {Kind::write, unit, record.key().value(), record.tableEntry},
             "configuration");
    }
  }
  for (InLifImageEntry const& entry : contents.image.records) {
    note(table, entry.logVersion.value(),
         {Kind::write, entry.key.unitId, entry.key.entryKey.value(), entry.entry}, "image");
  }
}

void PostMortem::checkRest(std::size_t table, TableContents const& contents) {
  std::ptrdiff_t removed = 0;
  for (auto const& [unit, config] : contents.configs)
    removed +=
        std::ranges::count_if(config.records, [](auto const& record) { return record.isDeleted != 0; });
  if (contents.log.records.empty() && removed == 0 && contents.log.report.intent.empty()) return;
  fault(fmt::format("T4: at rest {} has {} records in the log, {} removed entries and {} bytes of intent",
                    tables()[table].name, contents.log.records.size(), removed,
                    contents.log.report.intent.size()));
}

void PostMortem::examine(bool atRest) {
  CheckResult result;
  StoreContents contents;
  contents.gather(limits_, result);
  if (!result.problem.empty()) return fault(result.problem);
  for (std::size_t table = 0; table < kTables; ++table) {
    checkTable(contents, table, result);
    noteAll(table, contents.tables[table]);
    if (atRest) checkRest(table, contents.tables[table]);
  }
  checkNeeds(contents, result);
  for (CheckFinding const& finding : result.findings) fault("T1: " + finding.text());
  for (std::string const& told : result.notes) {
    if (mayRebuild_ && !atRest && told.find("is not complete") != std::string::npos) continue;
    if (told.find("anew") != std::string::npos || told.find("nothing was compared") != std::string::npos)
      fault("T3: " + told);
  }
  std::error_code none;
  std::filesystem::path const lost = std::filesystem::path(VexSharedMem::StoreRoot::root()) / ".lost";
  if (std::filesystem::exists(lost, none) && !std::filesystem::is_empty(lost, none))
    fault(fmt::format("T3: {} holds files that were given up", lost.string()));
}

}  // namespace Inlif
