// Looks a mapped collection through and finds out what no file keeps: which slots are free, which frames are
// used, which buckets are occupied, how many records there are. Run when a collection is mounted, and again
// after a chain had to be cut.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "Shoal/CheckedWord.h"
#include "Shoal/ShoalMapBase.h"

namespace Shoal {

class MountScan {
 public:
  // mount: a broken chain is the loss of the collection. mend: it is cut, and the rest stays.
  enum class Mode { mount, mend };
  using Result = ShoalMapBase::MountResult;

  MountScan(ShoalMapBase& map, Mode mode) : map_(map), view_(map.file_.view()), mode_(mode) {}

  // Adopts the control area, then the records; a single damaged record is unlinked and reported. lost: the
  // contents can't be used, for the reason in `why`. refused: the file's memory can't be reserved again.
  Result mount(std::string& why);
  // Adopts the records once more, and cuts what is broken.
  void mend();
  // Writes what the owner knows over the words of the file that say the same to others: control area, page table.
  void restate();

 private:
  // Each gives what is broken, or null.
  char const* control();
  char const* pageTable();
  char const* records();
  char const* chain(std::uint32_t bucket);

  bool reserved(std::uint64_t offset, std::uint64_t bytes, std::string& why) const;
  bool belongs(std::uint32_t slot, std::uint64_t word, std::uint32_t bucket);
  void drop(std::atomic<std::uint64_t>* link, std::uint64_t next, std::uint32_t bucket);
  bool valid(std::atomic<std::uint64_t> const& word, WordPlace place, std::uint32_t& payload) const;

  ShoalMapBase& map_;
  FileView const& view_;
  Mode mode_;
  std::uint32_t live_ = 0;
  std::vector<bool> seen_;         // by slot: some link led there
  std::vector<bool> free_;         // by slot: nothing keeps it
  std::vector<std::byte> key_;     // of the slot looked at
  std::vector<std::byte> before_;  // key of the last good record of the chain; empty at its head
};

}  // namespace Shoal
