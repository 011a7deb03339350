#include "tools/show/RecordLine.h"

#include <fmt/format.h>

#include "tools/show/EntryText.h"

namespace Inlif {
namespace {

Columns const& recordColumns() {
  static Columns const columns{{"table", 7}, {"version", 9, kRight}, {"unit", 4, kRight},
                               {"does", 6},  {"key", 10, kRight},    {"what"}};
  return columns;
}

// What changed, or what the entry holds; the record before; what it needs.
std::string whatText(Json const& record, bool all) {
  std::string text;
  if (record.contains("changedFields"))
    text = changesText(record["changedFields"]);
  else if (record.contains("resolved"))
    text = contentText(record, all);
  if (record.contains("before"))
    text += fmt::format("{}(before: {} at {})", text.empty() ? "" : " ",
                        record["before"]["does"].get<std::string>(), jsonText(record["before"]["version"]));
  if (record.contains("needs")) {
    text += text.empty() ? "needs" : "; needs";
    for (auto const& [name, version] : record["needs"].items())
      text += fmt::format(" {} {}", name, jsonText(version));
  }
  return withInterface(record, std::move(text));
}

}  // namespace

Line recordHeading() {
  return headingOf(recordColumns());
}

Line recordLine(Json const& record, bool all) {
  // What stands in for records that have gone has a state in place of what it does.
  return rowOf(recordColumns(),
               {record["table"].get<std::string>(), jsonText(record["version"]), jsonText(record["unit"]),
                record[record.contains("does") ? "does" : "state"].get<std::string>(),
                record.contains("key") ? jsonText(record["key"]) : "all", whatText(record, all)});
}

}  // namespace Inlif
