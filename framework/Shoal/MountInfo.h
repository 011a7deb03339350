// What a client says of a collection before it is mounted: the attribute that holds it and how many records
// it may have.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace VexShoal {

class MountInfo {
 public:
  // Type 0, a map, is the only one.
  explicit MountInfo(std::uint32_t type = 0) : type_(type) {}

  std::uint32_t type() const { return type_; }
  // Flag 0 is the only one. maxEntries is what the client promises not to exceed; what the store takes may be
  // more (the registration of the type).
  void collectionInfoIs(std::string attribute, std::uint32_t maxEntries, std::uint32_t flag = 0) {
    attribute_ = std::move(attribute);
    maxEntries_ = maxEntries;
    flag_ = flag;
  }
  std::string const& attribute() const { return attribute_; }
  std::uint32_t maxEntries() const { return maxEntries_; }
  std::uint32_t flag() const { return flag_; }

 private:
  std::uint32_t type_;
  std::string attribute_;
  std::uint32_t maxEntries_ = 0;
  std::uint32_t flag_ = 0;
};

}  // namespace VexShoal
