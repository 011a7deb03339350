// A piece of hardware in this process's memory: for trials of the writer and as a skeleton for a real one.
//
// The chip holds what stands and outlives its drivers, as a chip does a process. A driver is what talks to it, one at a
// time: the part to be replaced by calls into an SDK. It does what hardware does that people have: it takes a record at
// once, or gathers a batch and completes it later; it can be read back or cannot; it is full; it is reset.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <vector>

#include "hardware/Hardware.h"

namespace LoamHardware {

class MemoryChip {
 public:
  using Entries = std::map<std::uint32_t, LoamTunnelNiLib::InLifModelLogEntry>;  // by key

  explicit MemoryChip(std::uint32_t capacity = 0) : capacity_(capacity) {}

  // Forgets everything, as a chip that is reset, and is not what its driver has opened until it is opened again.
  void reset() {
    tables_.clear();
    ++resets_;
  }
  std::uint64_t resets() const { return resets_; }
  // Entries of one table on one unit; 0: no limit.
  std::uint32_t capacity() const { return capacity_; }
  Entries& entries(UnitTable place) { return tables_[{place.table, place.unit}]; }
  std::map<std::pair<std::size_t, Asic::UnitId>, Entries>& all() { return tables_; }

 private:
  std::uint32_t const capacity_;
  std::uint64_t resets_ = 0;
  std::map<std::pair<std::size_t, Asic::UnitId>, Entries> tables_;
};

class MemoryHardware : public Hardware {
 public:
  struct Style {
    bool readsBack = true;
    // Records are gathered until the end of a batch, and completed one look later.
    bool batches = false;
  };

  MemoryHardware(MemoryChip& chip, Style style) : chip_(chip), style_(style), opened_(chip.resets()) {}

  Pivot::Status open(Asic::GroupInfo const& group) override;
  bool stands(std::size_t table) override;
  Answer write(UnitTable place, Entry const& entry) override;
  Answer remove(UnitTable place, Entry const& entry) override;
  Answer clear(UnitTable place) override;
  Answer endBatch(std::size_t table) override;
  void completions(std::vector<Completion>& completed) override;
  std::optional<std::vector<Asic::UnitId>> standingUnits(std::size_t table) override;
  Answer readBack(UnitTable place, std::vector<LoamTunnelNiLib::InLifModelLogEntry>& records) override;
  Answer wipe(std::size_t table) override;
  std::uint32_t capacity(UnitTable) const override { return chip_.capacity(); }

 protected:
  enum class What : std::uint8_t { write, remove, clear };
  struct Call {
    What what;
    UnitTable place;
    LoamTunnelNiLib::InLifModelLogEntry entry;
    Ticket ticket;
  };
  // Where a call takes effect in the chip.
  virtual Answer perform(Call const& call);
  std::deque<Call>& gathered() { return gathered_; }
  MemoryChip& chip() { return chip_; }

 private:
  Answer take(Call call);
  bool gone() const { return opened_ != chip_.resets(); }

  MemoryChip& chip_;
  Style const style_;
  std::uint64_t opened_;  // the resets of the chip when it was opened
  Ticket nextTicket_ = 1;
  std::deque<Call> gathered_;
  std::vector<Completion> completed_;
};

}  // namespace LoamHardware
