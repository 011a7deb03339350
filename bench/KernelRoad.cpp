// bench_kernel: agent and writer as two processes with the kernel as hardware: how many records a second go from the agent's
// commit into the kernel's maps and back as an acknowledgement, beside what the kernel's own update call costs alone, in
// interleaved rounds. Needs the right to a BPF file system, and says so where there is none.
#include <bpf/bpf.h>
#include <fmt/format.h>
#include <sys/mount.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "Shoal/StoreRoot.h"
#include "bench/TwoProcesses.h"
#include "hardware/kernel/KernelHardware.h"

namespace bench {
namespace {

bool hasBpfFileSystem(std::string const& place) {
  std::filesystem::create_directory(place);
  return unshare(CLONE_NEWNS) == 0 && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("bpf", place.c_str(), "bpf", 0, nullptr) == 0;
}

// A map as a unit of a table has it, written by nobody else.
class KernelMap {
 public:
  KernelMap() {
    bpf_map_create_opts options{};
    options.sz = sizeof options;
    options.map_flags = BPF_F_NO_PREALLOC;
    map_ = bpf_map_create(BPF_MAP_TYPE_HASH, "bench", sizeof(std::uint32_t), sizeof(InlifEntry), kEntries,
                          &options);
    if (map_ < 0) throw std::runtime_error(fmt::format("no map: {}", std::strerror(errno)));
  }

  // kPasses over all keys, so many with a call. Records a second.
  double round(Keys& keys, std::uint32_t atOnce) {
    pin(1);
    Seconds time;
    for (std::uint32_t pass = 0; pass < kPasses; ++pass) {
      auto const& order = keys.shuffled();
      for (std::uint32_t from = 0; from < kEntries; from += kBatch) {
        for (std::uint32_t i = 0; i < kBatch; ++i) {
          keys_[i] = order[from + i];
          entries_[i].inLifData = pass;
          entries_[i].key = keys_[i];
        }
        for (std::uint32_t i = 0; i < kBatch; i += atOnce) write(i, atOnce);
      }
    }
    double const rate = kPasses * kEntries / time.now();
    pin(0);
    return rate;
  }

 private:
  void write(std::uint32_t from, std::uint32_t count) {
    int const done = count == 1 ? bpf_map_update_elem(map_, &keys_[from], &entries_[from], BPF_ANY)
                                : bpf_map_update_batch(map_, &keys_[from], &entries_[from], &count, nullptr);
    if (done != 0) throw std::runtime_error(fmt::format("not written: {}", std::strerror(errno)));
  }

  int map_ = -1;
  std::array<std::uint32_t, kBatch> keys_{};
  std::array<InlifEntry, kBatch> entries_{};
};

void printRate(char const* what, double rate, std::string const& more) {
  fmt::print("{:>48} {:>10.0f} {:>8.0f} ns   {}\n", what, rate, 1e9 / rate, more);
}

void run(std::string const& directory) {
  VexSharedMem::StoreRoot::rootIs(directory + "/store");
  std::filesystem::create_directory(directory + "/store");
  std::filesystem::permissions(directory + "/store", std::filesystem::perms::owner_all);
  pin(0);
  LoamHardware::KernelOptions options;
  options.pins = directory + "/bpf/pins";
  LoamHardware::KernelHardware hardware(options);
  KernelMap map;
  Keys keys(kEntries);
  Consumer const writer([&] { writeForever(hardware); });
  LoamAgent::Host host;
  mustBeOk(host.open());
  mustBeOk(host.makeTable(kTable, 1, false));
  oursRound(host, keys, false);
  map.round(keys, 1);
  std::vector<double> road, calls, batches;
  for (int round = 0; round < kRounds; ++round) {
    road.push_back(oursRound(host, keys, false));
    calls.push_back(map.round(keys, 1));
    batches.push_back(map.round(keys, kBatch));
  }
  fmt::print("\nThe kernel as hardware (records a second; medians of {} rounds of {} records)\n", kRounds,
             kPasses * kEntries);
  printRate("published, in the kernel's maps, acknowledged", median(road),
            fmt::format("{:.2f} times the call alone", median(calls) / median(road)));
  printRate("the kernel's update call alone", median(calls), "");
  printRate("256 records with a call", median(batches), "");
}

}  // namespace
}  // namespace bench

int main() {
  std::string directory = "/dev/shm/loam-bench-XXXXXX";
  if (mkdtemp(directory.data()) == nullptr) {
    fmt::print(stderr, "bench_kernel: no directory {}\n", directory);
    return 1;
  }
  std::string const place = directory + "/bpf";
  int status = 0;
  if (!bench::hasBpfFileSystem(place)) {
    fmt::print("bench_kernel: left out, no BPF file system of its own: {}\n", std::strerror(errno));
  } else {
    try {
      bench::run(directory);
    } catch (std::exception const& failure) {
      fmt::print(stderr, "bench_kernel: {}\n", failure.what());
      status = 1;
    }
    umount2(place.c_str(), MNT_DETACH);
  }
  std::filesystem::remove_all(directory);
  return status;
}
