// The maps of the data plane in the kernel, pinned below one directory of a BPF file system, as typed operations on their
// contents. KernelLayout.h draws what lies in them.
//
// The writer changes them through this class; commands that look at what stands open them beside it. The maps outlive every
// process. Each operation is one call of the kernel, or one for many entries: an entry is changed whole or not at all, so a
// process killed within an operation leaves the entries before some place changed and those behind it as they were.
//
// A result that is a number is 0 or the error of the kernel, as errno has it.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Asic/UnitId.h"
#include "Pivot/Status.h"
#include "hardware/kernel/KernelLayout.h"

namespace LoamHardware {

class KernelMaps {
 public:
  KernelMaps() = default;
  ~KernelMaps();
  KernelMaps(KernelMaps const&) = delete;
  KernelMaps& operator=(KernelMaps const&) = delete;

  // Opens what is pinned below `pins`. Refused when a map is missing, or may not be opened.
  Pivot::Status open(std::string const& pins);
  // Whether what was opened is what is pinned still: somebody may have removed it.
  bool isPinned() const;

  // The units that have a map in the table, ascending.
  std::vector<Asic::UnitId> units(std::size_t table);
  // Makes an empty map for a unit that has none.
  int makeUnit(std::size_t table, Asic::UnitId unit, std::uint32_t capacity);
  bool hasUnit(std::size_t table, Asic::UnitId unit) { return unitMap(table, unit) >= 0; }
  // Drops the unit's map with all that stands in it, in one step for the frames.
  int dropUnit(std::size_t table, Asic::UnitId unit);

  // Entries of one unit. `done` tells how many were changed before the one that the result speaks of. A key that is not
  // there to be removed counts as removed. REQUIRES for a write: hasUnit().
  int write(std::size_t table, Asic::UnitId unit, std::span<std::uint32_t const> keys,
            std::span<InlifEntry const> entries, std::size_t& done);
  int remove(std::size_t table, Asic::UnitId unit, std::span<std::uint32_t const> keys, std::size_t& done);
  int entries(std::size_t table, Asic::UnitId unit, std::vector<InlifEntry>& entries);
  bool lookup(InlifPlace const& place, InlifEntry& entry);

  int matchIs(InlifMatch const& match, InlifPlace const& place);
  bool lookupMatch(InlifMatch const& match, InlifPlace& place);
  void removeMatch(InlifMatch const& match);
  std::vector<std::pair<InlifMatch, InlifPlace>> matches();

  int profileIs(std::uint32_t number, InlifProfile const& profile);
  int portIs(std::uint32_t ifindex, InlifPort const& port);

  // Over all CPUs.
  InlifCounter counter(InlifPlace const& place);
  void removeCounter(InlifPlace const& place);
  std::uint64_t drops(InlifDrop why);
  std::vector<std::pair<InlifAddress, InlifPlace>> learned();

 private:
  int unitMap(std::size_t table, Asic::UnitId unit);
  void close();

  std::string firstPin_;
  std::uint64_t firstInode_ = 0;
  bool batches_ = true;  // until the kernel says that it knows none
  int cpus_ = 1;
  int tables_[kInlifTables] = {-1, -1, -1};
  int matches_ = -1, profiles_ = -1, ports_ = -1, counters_ = -1, drops_ = -1, learned_ = -1;
  std::map<std::pair<std::size_t, Asic::UnitId>, int> unitMaps_;
};

}  // namespace LoamHardware
