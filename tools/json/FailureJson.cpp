#include "tools/json/FailureJson.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <vector>

#include "Vex/UtcTime.h"

namespace Inlif {

using namespace LoamTunnelNiLib;

namespace {

constexpr FailureClass kRetryClasses[] = {FailureClass::tableFull, FailureClass::invalid,
                                          FailureClass::unsupported, FailureClass::other,
                                          FailureClass::needRefused};

std::string_view nameOfClass(FailureClass one) {
  return kFailureClassNames[static_cast<std::size_t>(one)];
}

std::string timeText(std::uint64_t nanosecondsSince1970) {
  using Clock = std::chrono::system_clock;
  return Vex::utcText(Clock::time_point(
      std::chrono::duration_cast<Clock::duration>(std::chrono::nanoseconds(nanosecondsSince1970))));
}

std::string placeText(Json const& place) {
  std::string text =
      fmt::format("{} unit {}", place["table"].get<std::string>(), place["unit"].get<std::uint64_t>());
  if (place.contains("key")) text += fmt::format(" key {}", place["key"].get<std::uint64_t>());
  return text;
}

// A clear of a unit is what a removal of all asks for.
std::string_view doesName(InLifFailureRow const& row) {
  return row.operation == FailedOperation::clear ? "removeAll" : row.operationName();
}

}  // namespace

Json failureJson(std::string const& table, InLifFailureRow const& row) {
  Json out = {{"table", table}, {"unit", row.key.unitId}};
  if (row.key.wholeUnit == 0) out["key"] = row.key.entryKey.value();
  out.update({{"version", row.logVersion.value()},
              {"does", doesName(row)},
              {"class", row.className()},
              {"text", row.textView()},
              {"since", timeText(row.first)},
              {"last", timeText(row.last)},
              {"tries", row.tries}});
  if (row.failureClass == FailureClass::needRefused) {
    std::size_t const need = tableIndex(row.needTable);
    out["neededEntry"] = {{"table", need < kTables ? tables()[need].name : "a table that is none here"},
                          {"unit", row.needUnit},
                          {"key", row.needKey.value()}};
  }
  return out;
}

std::string failureText(Json const& failure) {
  std::string const since = failure["since"].get<std::string>();
  std::string const why = failure["class"].get<std::string>();
  std::string what;
  if (failure.contains("neededEntry"))
    what = fmt::format("stands in the hardware since {}, and {}, which it needs, was refused", since,
                       placeText(failure["neededEntry"]));
  else if (why == "busy")
    what = fmt::format("{} put off since {}", failure["does"].get<std::string>(), since);
  else
    what = fmt::format("{} refused as {} since {}", failure["does"].get<std::string>(), why, since);
  std::string const text = failure["text"].get<std::string>();
  return fmt::format("{}: {}{}{} (version {}, {} {})", placeText(failure), what, text.empty() ? "" : ": ",
                     text, failure["version"].get<std::uint64_t>(), failure["tries"].get<std::uint64_t>(),
                     failure["tries"] == 1 ? "try" : "tries");
}

std::optional<FailureClass> retryClassOf(std::string_view name) {
  auto const at = std::ranges::find(kRetryClasses, name, nameOfClass);
  return at == std::end(kRetryClasses) ? std::nullopt : std::optional(*at);
}

std::vector<std::string> retryClasses() {
  std::vector<std::string> names;
  for (FailureClass const one : kRetryClasses) names.emplace_back(nameOfClass(one));
  return names;
}

std::string retryClassNames() {
  return fmt::format("{}", fmt::join(retryClasses(), ", "));
}

}  // namespace Inlif
