// What a switch configuration changes: the interfaces that it wants, and how they differ from those that stand.
//
// The agent finds it on a helper thread and then writes and removes, step by step; `inlif config --plan` prints it.
// Only the file and the collections of the store are read, which any thread may do.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "Pivot/Status.h"
#include "tools/config/InterfaceMapping.h"
#include "tools/support/Tables.h"

namespace Inlif {

struct ConfigLimits {
  std::size_t mostBytes = Document::kMostFile;
  // Of the interfaces of one table that stand, so much may go in one reading; a few may always.
  unsigned removePercent = 50;
  static constexpr std::size_t kFewRemoved = 16;
};

// What is read, and against what.
struct ConfigQuestion {
  std::string file;
  std::size_t mostBytes = Document::kMostFile;
  // Those that a reading of this life wanted, which outlive the question; null: those that are in the store.
  WantedInterfaces const* standing = nullptr;
  // Ascending: to be written although they stand.
  std::vector<EntryPlace> failed;
};

struct ConfigChange {
  struct Table {
    std::size_t standing = 0;
    std::size_t removed = 0;
  };

  WantedInterfaces wanted;
  std::vector<std::uint32_t> writes;   // of wanted: new, different, or failed
  std::vector<std::uint32_t> changed;  // of writes: those that stand with other contents
  WantedInterfaces removals;           // stand, and are not wanted
  std::array<Table, kTables> tables;

  // As it is told: a line for each interface in the order in which it is done, removals first, and the counts.
  std::size_t lines() const { return removals.size() + writes.size(); }
  Json line(std::size_t index) const;
  Json counts() const;
  // Refused, with the counts, when more would go than the limit lets.
  Pivot::Status checkRemoval(std::string const& file, unsigned percent) const;
};

// Reads a configuration whole, or refuses with one line and leaves `change` as it was.
Pivot::Status changeOf(ConfigQuestion const& question, ConfigChange& change);

}  // namespace Inlif
