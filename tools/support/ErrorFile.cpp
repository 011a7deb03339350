#include "tools/support/ErrorFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/types.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <initializer_list>

#include "Vex/ErrorPrint.h"
#include "Vex/UtcTime.h"
#include "tools/json/Document.h"

namespace Inlif {
namespace {

using Vex::ErrorLog;
using VexSharedMem::StoreRoot;

constexpr std::size_t kRowBytes = 512;
constexpr std::size_t kRows = ErrorLog::kMostRows + 1;
constexpr int kReads = 20;

std::string pathOf(StoreRoot::Role role) {
  return fmt::format("{}/.errors-{}", StoreRoot::root(), StoreRoot::roleName(role));
}

bool writeRow(int file, std::size_t place, std::string row) {
  row.resize(kRowBytes - 1, ' ');
  row += '\n';
  return pwrite(file, row.data(), row.size(), static_cast<off_t>(place * kRowBytes)) ==
         static_cast<ssize_t>(row.size());
}

bool hasMembers(Json const& object, std::initializer_list<char const*> numbers,
                std::initializer_list<char const*> texts) {
  auto const holds = [&object](char const* name, bool (Json::*isOfKind)() const noexcept) {
    return object.contains(name) && (object[name].*isOfKind)();
  };
  return object.is_object() &&
         std::ranges::all_of(numbers, [&](char const* name) { return holds(name, &Json::is_number); }) &&
         std::ranges::all_of(texts, [&](char const* name) { return holds(name, &Json::is_string); });
}

// What the error log has changed. Called under its lock.
void keep(void* file, std::size_t place, ErrorLog::Row const& row) {
  Json object = errorJson(row);
  std::string text = jsonText(object);
  // Escaped, a text can be longer than its row.
  for (std::size_t length = row.text.size(); text.size() >= kRowBytes && length > 0;
       text = jsonText(object)) {
    length /= 2;
    object["text"] = row.text.substr(0, length);
  }
  writeRow(*static_cast<int*>(file), place + 1, text.size() < kRowBytes ? text : std::string());
}

}  // namespace

Json errorJson(ErrorLog::Row const& row) {
  return {{"level", row.level},
          {"origin", row.origin},
          {"count", row.count},
          {"since", Vex::utcText(row.first)},
          {"last", Vex::utcText(row.last)},
          {"text", row.text}};
}

void keepErrors(StoreRoot::Role role) {
  static int file = -1;
  std::string const path = pathOf(role);
  if (file >= 0) close(file);
  file = open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600);
  bool kept = file >= 0;
  for (std::size_t place = 0; kept && place < kRows; ++place) kept = writeRow(file, place, {});
  StoreRoot::Holder const self = StoreRoot::holder(role);
  kept = kept && writeRow(file, 0, jsonText({{"pid", self.pid}, {"since", self.since}}));
  if (!kept) {
    Vex::printError("{}: {}; errors are told on standard error alone", path, std::strerror(errno));
    return;
  }
  ErrorLog::watcherIs(&keep, &file);
}

std::vector<Json> keptErrors(StoreRoot::Role role, Json& process) {
  process = nullptr;
  std::vector<Json> errors;
  int const file = open(pathOf(role).c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) return errors;
  for (std::size_t place = 0; place < kRows; ++place) {
    char row[kRowBytes];
    Json object;
    for (int i = 0; i < kReads && !object.is_object(); ++i) {
      if (pread(file, row, sizeof row, static_cast<off_t>(place * kRowBytes)) != sizeof row || row[0] == ' ')
        break;
      Document document;
      if (document.parse({row, sizeof row}).isOk()) object = jsonOf(document.root());
    }
    if (place == 0 && hasMembers(object, {"pid"}, {"since"}))
      process = std::move(object);
    else if (place != 0 && hasMembers(object, {"level", "count"}, {"origin", "since", "last", "text"}))
      errors.push_back(std::move(object));
  }
  close(file);
  return errors;
}

}  // namespace Inlif
