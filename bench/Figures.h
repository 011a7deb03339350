// Collects the medians of a run and prints the tables that people read: each figure beside its floor and its
// peer, as ratios. The cases report to Google Benchmark; this reporter hears of every repetition.
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <string>
#include <vector>

namespace bench {

class Figures : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(std::vector<Run> const& runs) override;
  void Finalize() override;

 private:
  // Nanoseconds for one operation, the median of all repetitions; 0 for a case that did not run.
  double nanoseconds(std::string const& name) const;
  double counter(std::string const& name, std::string const& counter) const;
  void printPublication() const;
  void printRoad() const;

  std::map<std::string, std::vector<double>> times_;
  std::map<std::string, std::map<std::string, std::vector<double>>> counters_;
};

}  // namespace bench
