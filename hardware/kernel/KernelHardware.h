// The kernel's data plane as hardware: the writer's calls gathered into batches of map updates.
//
// Owned by the writer. write(), remove() and clear() only gather; endBatch() carries them out in their order and completes
// them. Neighbours of one unit and kind go to the kernel in one call. Entries that a match leads to (KernelLayout.h) go one
// by one, since two maps change for them.
//
//   K1. A match is there before its entry and goes after it, so an entry that stands can be met. A match without an entry
//       leads to no interface, as if it were not there.
//   K2. matches_ is what inlif_matches holds; open() makes it so from the entries that stand. So a death between the two
//       changes of K1 leaves nothing behind that the next life does not put right.
//   K3. The contents of the edit profiles that a batch names stand before the first entry of the batch.
//
// Whoever removes the pins has taken the hardware away: the next batch finds it gone, and all is made anew.
//
// stands() vouches for nothing: whoever has the right may have changed or unpinned what is pinned, and the store may be
// another one. The writer reads back what stands, and changes what differs.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "hardware/Hardware.h"
#include "hardware/kernel/KernelMaps.h"
#include "hardware/kernel/KernelProgram.h"
#include "hardware/kernel/VlanEdits.h"

namespace LoamHardware {

struct KernelOptions {
  std::string pins = "/sys/fs/bpf/inlif";
  std::vector<PortWiring> ports;
  XdpMode mode = XdpMode::generic;
  std::uint32_t unitCapacity = kInlifUnitEntries;  // of units that are made from now on
};

class KernelHardware final : public Hardware {
 public:
  explicit KernelHardware(KernelOptions options) : options_(std::move(options)) {}

  Pivot::Status open(Asic::GroupInfo const& group) override;
  bool stands(std::size_t) override { return false; }
  Answer write(UnitTable place, Entry const& entry) override;
  Answer remove(UnitTable place, Entry const& entry) override;
  Answer clear(UnitTable place) override;
  Answer endBatch(std::size_t table) override;
  void completions(std::vector<Completion>& completed) override;
  std::optional<std::vector<Asic::UnitId>> standingUnits(std::size_t table) override;
  Answer readBack(UnitTable place, std::vector<LoamTunnelNiLib::InLifModelLogEntry>& records) override;
  std::uint32_t capacity(UnitTable) const override { return options_.unitCapacity; }
  // Of the program, for letting single frames through it.
  int programDescriptor() const { return program_.descriptor(); }

 private:
  enum class Kind : std::uint8_t { write, remove, clear };
  // What was gathered of a table, column by column, as the kernel takes it.
  struct Gathered {
    std::vector<Asic::UnitId> units;
    std::vector<Kind> kinds;
    std::vector<std::uint32_t> keys;
    std::vector<InlifEntry> entries;
    std::vector<Ticket> tickets;

    std::size_t size() const { return keys.size(); }
    void clear();
  };
  struct PlaceOrder {
    bool operator()(InlifPlace const& a, InlifPlace const& b) const;
  };

  Answer gather(UnitTable place, Kind kind, InlifEntry const& entry);
  // The end of a run of calls that are alike and have no match: from `begin` on.
  std::size_t runEnd(std::size_t table, Gathered const& gathered, std::size_t begin) const;
  void carryOut(std::size_t table, Gathered const& gathered, std::size_t begin, std::size_t end);
  int carryOutRun(std::size_t table, Gathered const& gathered, std::size_t begin, std::size_t end,
                  std::size_t& done);
  int writeMatched(InlifPlace const& place, InlifEntry const& entry);
  int removeMatched(InlifPlace const& place);
  int clearUnit(std::size_t table, Asic::UnitId unit);
  void dropMatch(InlifPlace const& place);
  bool hasMatch(std::size_t table, Asic::UnitId unit, std::uint32_t key) const;
  Answer answerOf(int error, std::size_t table, Asic::UnitId unit, std::uint32_t key) const;
  Pivot::Status matchesAsEntriesSay();

  KernelOptions const options_;
  std::vector<std::string> names_;  // of the tables
  KernelProgram program_;
  KernelMaps maps_;
  std::unique_ptr<VlanEdits> edits_;
  std::vector<Gathered> gathered_;
  std::map<InlifPlace, InlifMatch, PlaceOrder> matches_;
  std::vector<Completion> completed_;
  Ticket lastTicket_ = 0;
};

}  // namespace LoamHardware
