// What a check of a store found: a list of findings, each with the file, the record and the version that it
// is about, and notes on what the next start settles by itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Inlif {

// In the name of a file that a check moved aside: behind the path of its collection.
inline constexpr char const* kAsideMark = "-check-";

// The entry that a finding is about.
struct CheckedEntry {
  std::string table;
  std::uint16_t unit = 0;
  std::uint32_t key = 0;

  bool operator==(CheckedEntry const&) const = default;
};

struct CheckFinding {
  std::string file;           // path of a collection, or a name below the root
  std::string record;         // "key 17", "unit 1 key 17", empty if it is about the file
  std::uint64_t version = 0;  // of that record; 0: none
  std::string what;
  std::string aside;  // the collection without which the next start heals the rest; empty: none
  std::optional<CheckedEntry> entry = std::nullopt;

  // The place with the name of the entry's interface, which may be empty, and what was found.
  std::string text(std::string const& interface = {}) const;
  bool operator==(CheckFinding const&) const = default;
};

struct CheckResult {
  std::string problem;  // why nothing could be looked at; empty: all was looked at
  std::vector<CheckFinding> findings;
  std::vector<std::string> notes;
  std::size_t collections = 0;
  std::size_t records = 0;

  bool clean() const { return problem.empty() && findings.empty(); }
};

}  // namespace Inlif
