// The floor under a publication: what the bytes alone cost. 784 bytes of configuration and 112 bytes of log
// record are copied into pre-faulted shared mappings of the size that the collections have, each record found
// through a hash. No check, no order, no reader: nothing that keeps a promise can be faster. Owns both
// mappings.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <array>
#include <cstddef>
#include <cstdint>

namespace bench {

class Floor {
 public:
  static constexpr std::size_t kConfigSize = 784;
  static constexpr std::size_t kLogSize = 112;

  // entries: keys that are found in each unit; logRecords: the log is a ring of this many records.
  Floor(std::uint32_t entries, std::uint32_t units, std::uint32_t logRecords);
  ~Floor();
  Floor(Floor const&) = delete;
  Floor& operator=(Floor const&) = delete;

  void publish(std::uint32_t unit, std::uint32_t key, std::byte const* config, std::byte const* log);

 private:
  std::byte* config_;
  std::byte* log_;
  std::size_t configBytes_;
  std::size_t logBytes_;
  std::uint32_t logRecords_;
  std::uint64_t version_ = 0;
  absl::flat_hash_map<std::uint64_t, std::uint32_t> slots_;
};

}  // namespace bench
