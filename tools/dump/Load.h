// The two roads by which the lines of a dump get into tables.
//
// Both take lines that have been looked at already, write them in the order of the file, and tell which of them did
// not get in.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tools/dump/DumpReader.h"
#include "tools/support/Command.h"
#include "tools/support/Progress.h"

namespace Inlif {

struct LoadResult {
  struct Refusal {
    std::size_t line = 0;
    std::string why;
  };
  static constexpr std::size_t kMostTold = 100;
  static constexpr char const* kFailed =
      "failed: a resource that it asks for, or room in its unit, was not to be had";

  std::size_t units = 0;
  std::size_t entries = 0;        // taken, also those that failed later
  std::size_t failed = 0;         // lines that did not get in
  std::size_t onTheirWay = 0;     // to the hardware, when the load ended
  std::vector<Refusal> refusals;  // of those that failed, the first kMostTold

  void refuse(std::size_t line, std::string why);
};

// As a client of the agent that runs on the store: as many under way as the agent takes. Ends when the hardware has all,
// or when nothing more comes.
Outcome loadIntoAgent(std::string const& store, DumpReader& reader, LoadResult& result, Progress& progress);
// By an agent of this process, which ends when everything has been committed. REQUIRES: the store is empty.
Outcome loadIntoStore(DumpReader& reader, LoadResult& result, Progress& progress);

}  // namespace Inlif
