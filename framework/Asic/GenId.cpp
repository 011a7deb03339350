// Generations of the central store.
#include "Asic/GenId.h"

#include <utility>

#include "Vex/Assert.h"

namespace Asic {

void GenId::typeRegister() {
  Statehub::typeRegister(kTypeName,
                         [](Pivot::Ptr<Statehub::PersistedValue> const& value) -> Pivot::Ptr<Pivot::Node> {
                           return Pivot::make<GenId>(value);
                         });
}

GenId::GenId(Pivot::Ptr<Statehub::PersistedValue> value) : value_(std::move(value)) {
  VEX_ASSERT(value_ != nullptr, "persistedValue");
}

GenId::~GenId() = default;

std::uint64_t GenId::majorIdInc(std::uint64_t by) {
  std::uint64_t const old = majorId();
  value_->valueIs(old + by);
  if (by != 0) publisher_.publish(kFieldMajorId, nullptr, &old);
  return old + by;
}

}  // namespace Asic
