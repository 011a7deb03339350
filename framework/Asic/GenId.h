// A generation in the central store: a number that rises when something of that name has started anew, and
// stays over restarts.
//
//   field id  attribute  published
//        130  majorId    on each change, with the old value
#pragma once

#include <cstdint>

#include "Cobble/Slab.h"
#include "Pivot/Node.h"
#include "Pivot/Publisher.h"

namespace Asic {

class LOAM_FRAMEWORK_EXPORT GenId final : public Pivot::Node {
 public:
  COBBLE_SLAB(GenId, Cobble::SlabAllocationPattern::kDefault)

  static constexpr Pivot::FieldId kFieldMajorId = 130;
  // The name under which the central store loads and saves entities of this type.
  static constexpr char const* kTypeName = "Asic::GenId";

  explicit GenId(std::uint64_t majorId = 0) : majorId_(majorId) {}

  std::uint64_t majorId() const { return majorId_; }
  // Raises the generation and returns it. The central store keeps the new value through its subscription.
  std::uint64_t majorIdInc(std::uint64_t by);

  Pivot::Publisher* publisher() const override { return &publisher_; }

 private:
  std::uint64_t majorId_;
  mutable Pivot::Publisher publisher_;
};

}  // namespace Asic
