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
#include "Statehub/EntityManager.h"

namespace Asic {

class LOAM_FRAMEWORK_EXPORT GenId final : public Pivot::Node {
 public:
  COBBLE_SLAB(GenId, Cobble::SlabAllocationPattern::kDefault)

  static constexpr Pivot::FieldId kFieldMajorId = 130;
  // The name under which the central store knows entities of this type.
  static constexpr char const* kTypeName = "Asic::GenId";
  // Tells the central store how entities of this type are made. Before the first one is asked for; again is
  // harmless.
  static void typeRegister();

  // value keeps the number beyond this process. REQUIRES: not null.
  explicit GenId(Pivot::Ptr<Statehub::PersistedValue> value);
  ~GenId() override;

  std::uint64_t majorId() const { return value_->value(); }
  // Raises the generation and returns it; it is kept when this returns.
  std::uint64_t majorIdInc(std::uint64_t by);

  Pivot::Publisher* publisher() const override { return &publisher_; }

 private:
  Pivot::Ptr<Statehub::PersistedValue> value_;
  mutable Pivot::Publisher publisher_;
};

}  // namespace Asic
