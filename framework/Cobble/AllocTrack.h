// Counts of the live objects of one class, so that a leak check and an inspection can list them.
//
// A tracker is static data, constant-initialised, so that it counts from the first allocation of any static
// initialiser. It enters the registry with its first allocation and stays there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "Cobble/Export.h"
#include "Cobble/ThreadControl.h"

namespace Vex {

struct LOAM_FRAMEWORK_EXPORT AllocTrackTypeInfo {
  explicit constexpr AllocTrackTypeInfo(char const* name) : typeName(name) {}
  AllocTrackTypeInfo(AllocTrackTypeInfo const&) = delete;
  AllocTrackTypeInfo& operator=(AllocTrackTypeInfo const&) = delete;

  char const* const typeName;

  // One object of that many bytes came or went.
  void allocated(std::size_t bytes) {
    if (Pivot::ThreadControl::tsp_ || !registered_) [[unlikely]]
      enterRegistry();
    add(1, static_cast<std::int64_t>(bytes));
  }
  void freed(std::size_t bytes) { add(-1, -static_cast<std::int64_t>(bytes)); }

  // Live objects and their bytes.
  std::int64_t count() const { return count_; }
  std::int64_t bytes() const { return bytes_; }

  // Every tracker that has counted something.
  static std::vector<AllocTrackTypeInfo const*> all();

 private:
  void enterRegistry();
  void addAtomically(std::int64_t count, std::int64_t bytes);
  void add(std::int64_t count, std::int64_t bytes) {
    if (Pivot::ThreadControl::tsp_) [[unlikely]] {
      addAtomically(count, bytes);
      return;
    }
    count_ += count;
    bytes_ += bytes;
  }

  std::int64_t count_ = 0;
  std::int64_t bytes_ = 0;
  bool registered_ = false;
};

}  // namespace Vex
