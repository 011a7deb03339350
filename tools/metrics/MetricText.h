// The text format of Prometheus: samples by families, each family once with its help and its type.
//
// Samples may be added in any order; those of a family are printed together, families in the order in which the first
// sample of each came.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Inlif {

struct MetricFamily {
  char const* name;
  char const* type;  // gauge, counter or summary
  char const* help;
};

class MetricText {
 public:
  using Labels = std::vector<std::pair<std::string_view, std::string>>;

  // `suffix` follows the name, as in the samples of a summary. REQUIRES: the name outlives the text.
  void add(MetricFamily const& family, Labels const& labels, double value, char const* suffix = "");
  std::string text() const;

 private:
  std::vector<std::string> families_;
  std::unordered_map<std::string_view, std::size_t> places_;
};

}  // namespace Inlif
