// The change log of one table as a reader follows it: version after version, each record with what it changed
// against the record before it.
//
// The log loses its oldest records to clean-up while it is read. Versions that went before they were told are
// announced as a gap, and the configurations stand in for them: what they wrote and still stands is told from
// there. Records are told up to the announced version, so their needs are complete. Read-only; damage is told
// on standard error.
#pragma once

#include <cstdint>
#include <unordered_map>

#include "Asic/GroupShoal.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/SteadyReader.h"
#include "tools/show/Interfaces.h"
#include "tools/show/Selection.h"
#include "tools/support/Tables.h"

namespace Inlif {

class LogHistory {
 public:
  // `from`: the first version to be told; 0 for the first that stands. Both references outlive the history.
  LogHistory(TableInfo const& table, Selection const& selection, std::uint64_t from);

  // Prints what has been announced since the last call. False when something could not be read.
  bool print();

 private:
  using Record = LoamTunnelNiLib::InLifModelLogShoalEntry;

  bool begin();
  bool gap(std::uint64_t announced);
  bool standIn(std::uint64_t first, std::uint64_t last);
  void tell(Record const& record);
  void addChange(Json& out, Record const& record);
  void remember(Record const& record);
  std::uint64_t before(Record const& record) const;
  void print(Json const& out) const;

  TableInfo const& table_;
  Selection const& selection_;
  Interfaces interfaces_;
  Shoal::SteadyReader<Record> log_;
  Shoal::SteadyReader<Asic::NeededRow> needed_;
  std::uint64_t next_;
  bool begun_ = false;
  // The last version told or passed over of each key, by unit and key, and of a remove-all of each unit.
  std::unordered_map<std::uint64_t, std::uint64_t> ofKey_;
  std::unordered_map<Asic::UnitId, std::uint64_t> ofUnit_;
};

}  // namespace Inlif
