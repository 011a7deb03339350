// The agent's side of a store as the kit plays it: publications of three tables with needs, and what they come to.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string>

#include "Asic/GroupInfo.h"
#include "Asic/GroupShoal.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Pivot/Status.h"
#include "hardware/Hardware.h"

namespace LoamHardware {

// Small numbers, so that publications meet the same keys again and again.
inline constexpr std::size_t kKitTables = 3;
inline constexpr std::size_t kKitUnits = 3;
inline constexpr std::uint32_t kKitKeys = 12;

class KitAgent {
 public:
  struct Wanted {
    LoamTunnelNiLib::InLifModelLogEntry entry;
    Asic::LogVersion version;
  };
  struct Place {
    Asic::UnitId unit;
    std::uint32_t key;
    auto operator<=>(Place const&) const = default;
  };
  using Wishes = std::map<Place, Wanted>;

  explicit KitAgent(std::uint64_t seed) : random_(seed) {}

  static Asic::GroupInfo const& group();
  // Makes the collections of a store that has none.
  Pivot::Status open();

  void write(UnitTable place, LoamTunnelNiLib::InLifModelLogEntry const& entry);
  void remove(UnitTable place, std::uint32_t key);
  void clear(UnitTable place);
  // One of these at random, which now and then needs what another table published last; announced at once or with the
  // next one.
  void publishAny();
  void announceAll();

  Wishes const& wishes(std::size_t table) const { return wishes_[table]; }
  Asic::LogVersion last(std::size_t table) const { return Asic::LogVersion(versions_[table]); }
  std::uint64_t below(std::uint64_t bound) { return random_() % bound; }

 private:
  template <class Record>
  using Map = Shoal::ShoalMap<Record>;
  using Config = LoamTunnelNiLib::InLifModelConfigShoalEntry;
  using Log = LoamTunnelNiLib::InLifModelLogShoalEntry;

  void configure(UnitTable place, LoamTunnelNiLib::InLifModelLogEntry const& entry, bool removed);
  void log(UnitTable place, LoamTunnelNiLib::InLifModelLogEntry const& entry, std::uint8_t flags);

  std::mt19937_64 random_;
  std::array<Map<Log>, kKitTables> logs_;
  std::array<std::array<Map<Config>, kKitUnits>, kKitTables> configs_;
  Map<Asic::AnnouncedRow> announced_;
  Map<Asic::NeededRow> needed_;
  std::array<std::uint64_t, kKitTables> versions_{};
  std::array<Wishes, kKitTables> wishes_;
};

}  // namespace LoamHardware
