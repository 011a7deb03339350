#include "hardware/kit/KitAgent.h"

#include "Shoal/StoreRoot.h"
#include "Vex/Assert.h"

namespace LoamHardware {
namespace {

using namespace LoamTunnelNiLib;
using Role = VexSharedMem::StoreRoot::Role;

constexpr std::uint32_t kMostRecords = 1 << 18;

template <class Record>
void put(Shoal::ShoalMap<Record>& map, Record const& record) {
  Pivot::Status const room = map.reserve(1);
  VEX_ASSERT_MSG(room.isOk(), "the store of the kit has room", "{}", room.message());
  map.set(record);
}

}  // namespace

Asic::GroupInfo const& KitAgent::group() {
  static Asic::GroupInfo const info = [] {
    std::string const name = "kit.group";
    Asic::GroupInfo made(name);
    for (std::uint16_t table = 0; table < kKitTables; ++table)
      made.tables.emplace_back(name, "kit", "table" + std::to_string(table), Asic::SwTableId(1, 1, table));
    return made;
  }();
  return info;
}

Pivot::Status KitAgent::open() {
  Pivot::Status status = VexSharedMem::StoreRoot::claim(Role::agent);
  auto const mount = [&](auto& map, std::string const& path, std::uint32_t most) {
    if (status.isOk()) status = map.mount({path, most, 0, Role::agent});
  };
  for (std::size_t table = 0; table < kKitTables; ++table) {
    Asic::TableInfo const& info = group().tables[table];
    mount(logs_[table], info.logPath, kMostRecords);
    for (Asic::UnitId unit = 0; unit < kKitUnits; ++unit)
      mount(configs_[table][unit], info.configPath(unit), InLifModelConfigShoal::kMaxEntries);
  }
  mount(needed_, group().neededPath, kMostRecords);
  mount(announced_, group().announcedPath, Asic::kMaxTablesOfGroup);
  if (status.isOk()) announceAll();
  return status;
}

void KitAgent::configure(UnitTable place, InLifModelLogEntry const& entry, bool removed) {
  Config record;
  record.tableEntry = entry;
  record.logVersion = last(place.table);
  record.isDeleted = removed;
  put(configs_[place.table][place.unit], record);
}

void KitAgent::log(UnitTable place, InLifModelLogEntry const& entry, std::uint8_t flags) {
  Log record;
  record.logVersion = last(place.table);
  record.logEntry = entry;
  record.unitId = place.unit;
  record.logFlags = flags;
  put(logs_[place.table], record);
}

void KitAgent::write(UnitTable place, InLifModelLogEntry const& entry) {
  ++versions_[place.table];
  configure(place, entry, false);
  log(place, entry, 0);
  wishes_[place.table][{place.unit, entry.key.value()}] = {entry, last(place.table)};
}

void KitAgent::remove(UnitTable place, std::uint32_t key) {
  ++versions_[place.table];
  auto const wanted = wishes_[place.table].find({place.unit, key});
  InLifModelLogEntry entry;
  if (wanted != wishes_[place.table].end()) entry = wanted->second.entry;
  entry.key = InLifModelEntryKey(key);
  configure(place, entry, true);
  log(place, entry, Log::kIsEntryDeleted);
  if (wanted != wishes_[place.table].end()) wishes_[place.table].erase(wanted);
}

void KitAgent::clear(UnitTable place) {
  ++versions_[place.table];
  for (auto at = wishes_[place.table].begin(); at != wishes_[place.table].end();) {
    if (at->first.unit == place.unit) {
      configure(place, at->second.entry, true);
      at = wishes_[place.table].erase(at);
    } else {
      ++at;
    }
  }
  log(place, InLifModelLogEntry(), Log::kIsTableDeleted);
}

void KitAgent::publishAny() {
  UnitTable const place{below(kKitTables), static_cast<Asic::UnitId>(below(kKitUnits))};
  auto const key = static_cast<std::uint32_t>(below(kKitKeys));
  std::uint64_t const choice = below(20);
  if (choice == 0) {
    clear(place);
  } else if (choice < 7) {
    remove(place, key);
  } else {
    InLifModelLogEntry entry;
    entry.clearUnowned();
    entry.key = InLifModelEntryKey(key);
    entry.inLifData = random_();
    entry.qosProfile = static_cast<std::uint8_t>(below(256));
    write(place, entry);
  }
  std::size_t const other = below(kKitTables);
  if (other != place.table && versions_[other] != 0 && below(2) == 0) {
    Asic::NeededRow row{};
    row.key = {group().tables[place.table].id, last(place.table)};
    row.needs[0] = Asic::TableVersion(group().tables[other].id, last(other));
    put(needed_, row);
    announceAll();
  }
  if (below(3) == 0) announceAll();
}

void KitAgent::announceAll() {
  // What is needed is announced first: whoever needs it has published later.
  for (std::size_t table = 0; table < kKitTables; ++table)
    put(announced_, Asic::AnnouncedRow{group().tables[table].id, 0, last(table)});
  announced_.collectionControl().wakeReaders();
}

}  // namespace LoamHardware
