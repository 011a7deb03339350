// A walk over one of the InLif tables, between two steps: what a reader keeps while the table may change
// under it. It holds flags and a plain pointer to the table, and no iterator of any collection. The table
// must outlive it. On the agent's one thread.
#pragma once

#include <cstdint>
#include <string>

#include "Cobble/Export.h"
#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "Pivot/Node.h"

namespace LoamTunnelNiLib {

class InLifModelSwTableBase;

class LOAM_FRAMEWORK_EXPORT InLifModelSwTableIteratorState : public Pivot::Node {
 public:
  // The flags of a walk, one byte:
  //
  //   bit  flag           set while
  //   0    entryValid     the last step produced an entry
  //   1    inAddColl      the walk is in the pending writes
  //   2    inTblCfg       the walk is in the shared configuration
  //   3    tableRemoved   a remove-all was pending when the walk began, so the configuration is not walked
  //   4    bookmarkValid  the bookmark tells where the next step resumes
  class State {
   public:
    static constexpr bool kFormatsAsText = true;

    constexpr bool entryValid() const noexcept { return has(0x01); }
    constexpr bool inAddColl() const noexcept { return has(0x02); }
    constexpr bool inTblCfg() const noexcept { return has(0x04); }
    constexpr bool tableRemoved() const noexcept { return has(0x08); }
    constexpr bool bookmarkValid() const noexcept { return has(0x10); }

    constexpr void entryValidIs(bool on) noexcept { set(0x01, on); }
    constexpr void inAddCollIs(bool on) noexcept { set(0x02, on); }
    constexpr void inTblCfgIs(bool on) noexcept { set(0x04, on); }
    constexpr void tableRemovedIs(bool on) noexcept { set(0x08, on); }
    constexpr void bookmarkValidIs(bool on) noexcept { set(0x10, on); }

    constexpr std::uint8_t bits() const noexcept { return bits_; }
    friend constexpr bool operator==(State, State) noexcept = default;
    LOAM_FRAMEWORK_EXPORT std::string text() const;

   private:
    constexpr bool has(std::uint8_t mask) const noexcept { return (bits_ & mask) != 0; }
    constexpr void set(std::uint8_t mask, bool on) noexcept {
      bits_ = static_cast<std::uint8_t>(on ? bits_ | mask : bits_ & ~mask);
    }

    std::uint8_t bits_ = 0;
  };

  State const& state() const noexcept { return state_; }
  // The flags, to be changed in place.
  State& state() noexcept { return state_; }

  // The table that is walked; null until the table that began the walk has set it.
  InLifModelSwTableBase const* swTable() const noexcept { return swTable_; }
  void swTableIs(InLifModelSwTableBase const* table) noexcept { swTable_ = table; }

  // Takes one step and returns the entry that it produced. At the end it returns the default entry, with
  // entryValid clear.
  virtual InLifModelEntry maybeUpdateCurrentEntry() = 0;

 protected:
  InLifModelSwTableIteratorState() = default;
  ~InLifModelSwTableIteratorState() override;

 private:
  State state_;
  InLifModelSwTableBase const* swTable_ = nullptr;
};

}  // namespace LoamTunnelNiLib
