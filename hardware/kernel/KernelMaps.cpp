#include "hardware/kernel/KernelMaps.h"

#include <bpf/bpf.h>
#include <bpf/libbpf.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace LoamHardware {
namespace {

// Entries that are read with one call.
constexpr std::uint32_t kReadAtOnce = 4096;
// The kernel's own number, which no header of the C library has: the map knows no batches.
constexpr int kNotSupported = 524;

bool knowsNoBatches(int error) {
  return error == EINVAL || error == kNotSupported || error == ENOTSUP;
}

std::uint64_t inodeOf(std::string const& path) {
  struct stat found {};
  return stat(path.c_str(), &found) == 0 ? found.st_ino : 0;
}

// Every key with its value, one call for each: maps that are small, or that the program changes meanwhile.
template <class Key, class Value>
std::vector<std::pair<Key, Value>> all(int map) {
  std::vector<std::pair<Key, Value>> pairs;
  Key key{};
  for (int found = bpf_map_get_next_key(map, nullptr, &key); found == 0;
       found = bpf_map_get_next_key(map, &key, &key)) {
    Value value{};
    if (bpf_map_lookup_elem(map, &key, &value) == 0) pairs.emplace_back(key, value);
  }
  return pairs;
}

}  // namespace

KernelMaps::~KernelMaps() {
  close();
}

void KernelMaps::close() {
  for (auto const& [place, map] : unitMaps_) ::close(map);
  unitMaps_.clear();
  for (int* map : {&tables_[0], &tables_[1], &tables_[2], &matches_, &profiles_, &ports_, &counters_, &drops_,
                   &learned_}) {
    if (*map >= 0) ::close(*map);
    *map = -1;
  }
}

Pivot::Status KernelMaps::open(std::string const& pins) {
  close();
  struct Pin {
    char const* name;
    int* map;
  };
  for (Pin const& pin : {Pin{"inlif0", &tables_[0]},
                         {"inlif1", &tables_[1]},
                         {"inlif23", &tables_[2]},
                         {"inlif_matches", &matches_},
                         {"inlif_profiles", &profiles_},
                         {"inlif_ports", &ports_},
                         {"inlif_counters", &counters_},
                         {"inlif_drops", &drops_},
                         {"inlif_learned", &learned_}}) {
    std::string const path = pins + "/" + pin.name;
    *pin.map = bpf_obj_get(path.c_str());
    if (*pin.map < 0) return Pivot::Status::refused(fmt::format("{}: {}", path, std::strerror(errno)));
  }
  cpus_ = libbpf_num_possible_cpus();
  firstPin_ = pins + "/inlif0";
  firstInode_ = inodeOf(firstPin_);
  return Pivot::Status::ok();
}

bool KernelMaps::isPinned() const {
  return inodeOf(firstPin_) == firstInode_;
}

int KernelMaps::unitMap(std::size_t table, Asic::UnitId unit) {
  auto const known = unitMaps_.find({table, unit});
  if (known != unitMaps_.end()) return known->second;
  std::uint32_t const key = unit;
  std::uint32_t id = 0;
  if (bpf_map_lookup_elem(tables_[table], &key, &id) != 0) return -1;
  int const map = bpf_map_get_fd_by_id(id);
  if (map >= 0) unitMaps_[{table, unit}] = map;
  return map;
}

std::vector<Asic::UnitId> KernelMaps::units(std::size_t table) {
  std::vector<Asic::UnitId> units;
  for (auto const& [unit, id] : all<std::uint32_t, std::uint32_t>(tables_[table]))
    units.push_back(static_cast<Asic::UnitId>(unit));
  std::ranges::sort(units);
  return units;
}

int KernelMaps::makeUnit(std::size_t table, Asic::UnitId unit, std::uint32_t capacity) {
  bpf_map_create_opts options{};
  options.sz = sizeof options;
  options.map_flags = BPF_F_NO_PREALLOC;
  int const map = bpf_map_create(BPF_MAP_TYPE_HASH, "inlif_unit", sizeof(std::uint32_t), sizeof(InlifEntry),
                                 capacity, &options);
  if (map < 0) return errno;
  std::uint32_t const key = unit;
  if (bpf_map_update_elem(tables_[table], &key, &map, BPF_ANY) != 0) {
    int const error = errno;
    ::close(map);
    return error;
  }
  unitMaps_[{table, unit}] = map;
  return 0;
}

int KernelMaps::dropUnit(std::size_t table, Asic::UnitId unit) {
  std::uint32_t const key = unit;
  if (bpf_map_delete_elem(tables_[table], &key) != 0 && errno != ENOENT) return errno;
  auto const known = unitMaps_.find({table, unit});
  if (known == unitMaps_.end()) return 0;
  ::close(known->second);
  unitMaps_.erase(known);
  return 0;
}

int KernelMaps::write(std::size_t table, Asic::UnitId unit, std::span<std::uint32_t const> keys,
                      std::span<InlifEntry const> entries, std::size_t& done) {
  int const map = unitMap(table, unit);
  for (done = 0; done < keys.size(); ++done) {
    auto count = static_cast<std::uint32_t>(keys.size() - done);
    if (batches_ && count > 1) {
      if (bpf_map_update_batch(map, &keys[done], &entries[done], &count, nullptr) == 0) {
        done += count;
        return 0;
      }
      // What it has done is counted; the entry at which it stopped says for itself why.
      if (count < keys.size() - done) done += count;
      batches_ = !knowsNoBatches(errno);
    }
    if (bpf_map_update_elem(map, &keys[done], &entries[done], BPF_ANY) != 0) return errno;
  }
  return 0;
}

int KernelMaps::remove(std::size_t table, Asic::UnitId unit, std::span<std::uint32_t const> keys,
                       std::size_t& done) {
  int const map = unitMap(table, unit);
  if (map < 0) {
    done = keys.size();
    return 0;
  }
  for (done = 0; done < keys.size(); ++done) {
    auto count = static_cast<std::uint32_t>(keys.size() - done);
    if (batches_ && count > 1) {
      if (bpf_map_delete_batch(map, &keys[done], &count, nullptr) == 0) {
        done += count;
        return 0;
      }
      if (count < keys.size() - done) done += count;
      batches_ = !knowsNoBatches(errno);
    }
    if (bpf_map_delete_elem(map, &keys[done]) != 0 && errno != ENOENT) return errno;
  }
  return 0;
}

int KernelMaps::entries(std::size_t table, Asic::UnitId unit, std::vector<InlifEntry>& entries) {
  int const map = unitMap(table, unit);
  if (map < 0) return 0;
  std::vector<std::uint32_t> keys(kReadAtOnce);
  std::uint32_t place = 0;
  for (bool isFirst = true;; isFirst = false) {
    std::size_t const before = entries.size();
    std::uint32_t count = kReadAtOnce;
    entries.resize(before + count);
    int const read = bpf_map_lookup_batch(map, isFirst ? nullptr : &place, &place, keys.data(),
                                          &entries[before], &count, nullptr);
    int const error = read == 0 ? 0 : errno;
    bool const hasRead = read == 0 || error == ENOENT;
    entries.resize(before + (hasRead ? count : 0));
    if (read == 0) continue;
    if (error == ENOENT) return 0;
    if (!isFirst || !knowsNoBatches(error)) return error;
    for (auto const& [key, entry] : all<std::uint32_t, InlifEntry>(map)) entries.push_back(entry);
    return 0;
  }
}

bool KernelMaps::lookup(InlifPlace const& place, InlifEntry& entry) {
  int const map = unitMap(place.table, place.unit);
  return map >= 0 && bpf_map_lookup_elem(map, &place.key, &entry) == 0;
}

int KernelMaps::matchIs(InlifMatch const& match, InlifPlace const& place) {
  return bpf_map_update_elem(matches_, &match, &place, BPF_ANY) == 0 ? 0 : errno;
}

bool KernelMaps::lookupMatch(InlifMatch const& match, InlifPlace& place) {
  return bpf_map_lookup_elem(matches_, &match, &place) == 0;
}

void KernelMaps::removeMatch(InlifMatch const& match) {
  bpf_map_delete_elem(matches_, &match);
}

std::vector<std::pair<InlifMatch, InlifPlace>> KernelMaps::matches() {
  return all<InlifMatch, InlifPlace>(matches_);
}

int KernelMaps::profileIs(std::uint32_t number, InlifProfile const& profile) {
  return bpf_map_update_elem(profiles_, &number, &profile, BPF_ANY) == 0 ? 0 : errno;
}

int KernelMaps::portIs(std::uint32_t ifindex, InlifPort const& port) {
  return bpf_map_update_elem(ports_, &ifindex, &port, BPF_ANY) == 0 ? 0 : errno;
}

InlifCounter KernelMaps::counter(InlifPlace const& place) {
  std::vector<InlifCounter> each(static_cast<std::size_t>(cpus_));
  InlifCounter sum{};
  if (bpf_map_lookup_elem(counters_, &place, each.data()) != 0) return sum;
  for (InlifCounter const& one : each) {
    sum.frames += one.frames;
    sum.bytes += one.bytes;
    sum.dropped += one.dropped;
  }
  return sum;
}

void KernelMaps::removeCounter(InlifPlace const& place) {
  bpf_map_delete_elem(counters_, &place);
}

std::uint64_t KernelMaps::drops(InlifDrop why) {
  std::vector<std::uint64_t> each(static_cast<std::size_t>(cpus_));
  auto const key = static_cast<std::uint32_t>(why);
  std::uint64_t sum = 0;
  if (bpf_map_lookup_elem(drops_, &key, each.data()) != 0) return 0;
  for (std::uint64_t const one : each) sum += one;
  return sum;
}

std::vector<std::pair<InlifAddress, InlifPlace>> KernelMaps::learned() {
  return all<InlifAddress, InlifPlace>(learned_);
}

}  // namespace LoamHardware
