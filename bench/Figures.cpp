#include "bench/Figures.h"

#include <fmt/format.h>

#include <algorithm>

namespace bench {
namespace {

double median(std::vector<double> values) {
  if (values.empty()) return 0;
  auto const middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

// "publication/65536/iterations:1/repeats:9/manual_time" is the case "publication/65536".
std::string caseOf(std::string const& name) {
  return name.substr(0, name.find("/iterations:"));
}

}  // namespace

void Figures::ReportRuns(std::vector<Run> const& runs) {
  for (Run const& run : runs) {
    if (run.error_occurred) fmt::print(stderr, "{}: {}\n", run.benchmark_name(), run.error_message);
    if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
    std::string const name = caseOf(run.benchmark_name());
    for (auto const& [counter, value] : run.counters) counters_[name][counter].push_back(value);
    auto const ns = run.counters.find("ns");
    if (ns != run.counters.end()) times_[name].push_back(ns->second);
  }
}

double Figures::nanoseconds(std::string const& name) const {
  auto const found = times_.find(name);
  return found == times_.end() ? 0 : median(found->second);
}

double Figures::counter(std::string const& name, std::string const& counter) const {
  auto const found = counters_.find(name);
  if (found == counters_.end()) return 0;
  auto const value = found->second.find(counter);
  return value == found->second.end() ? 0 : median(value->second);
}

void Figures::Finalize() {
  fmt::print("\nMedians of interleaved rounds; keys shuffled anew for each round.\n");
  printPublication();
  printRoad();
}

void Figures::printPublication() const {
  if (nanoseconds("floor/65536") == 0) return;
  fmt::print("\nPublication alone: configuration, log, scratchpad, intent, announcement (ns each)\n");
  fmt::print("{:>24} {:>10} {:>13} {:>16} {:>8}\n", "entries", "floor", "publication", "times the floor",
             "aim");
  struct Size {
    char const* suffix;
    char const* text;
    double aim;
  };
  for (auto const& [suffix, text, aim] :
       {Size{"1024", "1,024", 3.6}, {"65536", "65,536", 1.5}, {"16x4096", "16 units of 4,096", 1.6}}) {
    double const floor = nanoseconds(fmt::format("floor/{}", suffix));
    double const publication = nanoseconds(fmt::format("publication/{}", suffix));
    fmt::print("{:>24} {:>10.0f} {:>13.0f} {:>16.2f} {:>8.1f}\n", text, floor, publication,
               publication / floor, aim);
  }
  double const publication = nanoseconds("publication/65536");
  double const checksum = nanoseconds("checksum");
  double const lmdb = nanoseconds("lmdb/65536");
  fmt::print("checksums of one publication: {:.0f} ns, {:.0f} % of it\n", checksum,
             100 * checksum / publication);
  fmt::print("LMDB, one transaction each (WRITEMAP, NOSYNC): {:.0f} ns, {:.1f} times as long (aim: 8)\n",
             lmdb, lmdb / publication);
}

void Figures::printRoad() const {
  if (nanoseconds("road/none") == 0) return;
  double const publication = nanoseconds("publication/65536");
  fmt::print("\nThe whole road of one write, to its handler (ns an entry; phases of the agent's loop)\n");
  fmt::print("{:>34} {:>7} {:>7} {:>9} {:>12} {:>16} {:>6}\n", "resource keys", "all", "write", "resolve",
             "acknowledge", "times the floor", "aim");
  struct Row {
    char const* name;
    char const* text;
    double aim;  // 0: none
  };
  double const floor = nanoseconds("floor/65536");
  for (auto const& [name, text, aim] : {Row{"road/none", "none", 3.8},
                                        {"road/none/1024", "none, of 1,024 entries", 0},
                                        {"road/shared", "ten shared, the same again", 6},
                                        {"road/private", "private, the same again", 8.5},
                                        {"road/moving", "private, another one each time", 40}}) {
    if (nanoseconds(name) == 0) continue;
    fmt::print("{:>34} {:>7.0f} {:>7.0f} {:>9.0f} {:>12.0f}", text, nanoseconds(name), counter(name, "write"),
               counter(name, "resolve"), counter(name, "acknowledge"));
    if (aim != 0 && floor != 0) fmt::print(" {:>16.1f} {:>6.1f}", nanoseconds(name) / floor, aim);
    fmt::print("\n");
  }
  if (publication == 0 || nanoseconds("road/private") == 0 || nanoseconds("road/moving") == 0) return;
  double const none = nanoseconds("road/none");
  double const same = nanoseconds("road/private");
  fmt::print(
      "shares for private keys: publication {:.0f}, resources {:.0f}, resolver and table {:.0f}, clean-up "
      "and handler {:.0f} ns;\n",
      publication, same - none, none - publication - counter("road/none", "acknowledge"),
      counter("road/none", "acknowledge"));
  fmt::print("a change of private keys adds {:.0f} ns for usage, requests and releases\n",
             nanoseconds("road/moving") - same);
}

}  // namespace bench
