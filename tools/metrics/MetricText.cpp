#include "tools/metrics/MetricText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <iterator>

namespace Inlif {
namespace {

std::string escaped(std::string_view value) {
  std::string out;
  for (char const byte : value) {
    if (byte == '\n') {
      out += "\\n";
      continue;
    }
    if (byte == '\\' || byte == '"') out += '\\';
    out += byte;
  }
  return out;
}

}  // namespace

void MetricText::add(MetricFamily const& family, Labels const& labels, double value, char const* suffix) {
  auto const [place, isNew] = places_.emplace(family.name, families_.size());
  if (isNew)
    families_.push_back(
        fmt::format("# HELP {0} {2}\n# TYPE {0} {1}\n", family.name, family.type, family.help));
  std::string& text = families_[place->second];
  text += family.name;
  text += suffix;
  for (std::size_t i = 0; i < labels.size(); ++i)
    fmt::format_to(std::back_inserter(text), "{}{}=\"{}\"", i == 0 ? "{" : ",", labels[i].first,
                   escaped(labels[i].second));
  fmt::format_to(std::back_inserter(text), "{} {}\n", labels.empty() ? "" : "}", value);
}

std::string MetricText::text() const {
  return fmt::format("{}", fmt::join(families_, ""));
}

}  // namespace Inlif
