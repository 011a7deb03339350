// The generated work of the demo, over three lives of the agent.
//
// The first is killed in the middle of its work. Before the second the client changes its mind: it writes all
// again but a tenth, some of it with other contents, and does not serve one unit any more; then one resource
// changes under thousands of entries, and the agent is killed within its sweep. The third is written the same
// once more, sweeps, clears the unit, and does the rest of the work. Meanwhile the writer is killed as often
// as wanted. At the end client, store and image are compared.
#pragma once

#include <deque>
#include <memory>
#include <vector>

#include "tools/demo/Life.h"

namespace Inlif {

struct DemoPlan {
  WorkloadShape shape;
  std::size_t writerKills = 0;
};

class WorkloadDemo {
 public:
  // Both processes run already, and the stage is connected.
  WorkloadDemo(Stage& stage, DemoPlan const& plan);

  // Does everything and prints the table. Refused when something ended otherwise than it should, or client,
  // store and image differ.
  Pivot::Status run();

 private:
  Pivot::Status firstLife();
  Pivot::Status secondLife();
  Pivot::Status thirdLife();
  Pivot::Status workUntil(std::size_t share);
  Pivot::Status changeResource();
  Pivot::Status begin();
  Pivot::Status comeBack();
  void takeOver();
  void endLife();
  void print();
  void printLife(LifeFigures const& life) const;

  Stage& stage_;
  Workload workload_;
  Wants wants_;
  Wants::Random random_;
  std::set<UnitPlace> units_;
  std::unique_ptr<Life> life_;
  std::vector<Json> operations_;  // what is left of the work for the units that are served
  std::size_t next_ = 0;
  std::deque<std::size_t> writerKills_;  // numbers of operations, ascending
  std::vector<Ended> ended_;
  std::vector<std::string> surprises_;
  std::vector<LifeFigures> lives_;
  double seconds_ = 0;  // at work
  std::size_t killed_ = 0;
  std::size_t forgotten_ = 0;
  std::size_t changed_ = 0;
  std::size_t followed_ = 0;  // entries that the changed resource has changed
};

}  // namespace Inlif
