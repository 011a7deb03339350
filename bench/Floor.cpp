// See Floor.h. The slots are handed out in a shuffled order, as a store that has lived for a while has them.
#include "bench/Floor.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <numeric>
#include <random>
#include <vector>

namespace bench {
namespace {

std::byte* mapping(std::size_t bytes) {
  void* memory =
      mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
  if (memory == MAP_FAILED) throw std::bad_alloc();
  return static_cast<std::byte*>(memory);
}

std::uint64_t place(std::uint32_t unit, std::uint32_t key) {
  return std::uint64_t{unit} << 32U | key;
}

}  // namespace

Floor::Floor(std::uint32_t entries, std::uint32_t units, std::uint32_t logRecords)
    : configBytes_(std::size_t{entries} * units * kConfigSize),
      logBytes_(std::size_t{logRecords} * kLogSize),
      logRecords_(logRecords) {
  config_ = mapping(configBytes_);
  log_ = mapping(logBytes_);
  std::vector<std::uint32_t> slots(std::size_t{entries} * units);
  std::iota(slots.begin(), slots.end(), 0U);
  std::shuffle(slots.begin(), slots.end(), std::mt19937{7});
  slots_.reserve(slots.size());
  auto slot = slots.begin();
  for (std::uint32_t unit = 0; unit < units; ++unit)
    for (std::uint32_t key = 0; key < entries; ++key) slots_[place(unit, key)] = *slot++;
}

Floor::~Floor() {
  munmap(config_, configBytes_);
  munmap(log_, logBytes_);
}

void Floor::publish(std::uint32_t unit, std::uint32_t key, std::byte const* config, std::byte const* log) {
  std::uint32_t const slot = slots_.find(place(unit, key))->second;
  std::memcpy(config_ + std::size_t{slot} * kConfigSize, config, kConfigSize);
  std::memcpy(log_ + (version_++ % logRecords_) * kLogSize, log, kLogSize);
}

}  // namespace bench
