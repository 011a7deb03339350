#include "Asic/DependencyEntryHandle.h"

#include <utility>

namespace Asic {

DependencyEntryHandle::~DependencyEntryHandle() = default;

Pivot::Publisher* DependencyEntryHandle::publisher() const {
  if (!publisher_) publisher_ = std::make_unique<Pivot::Publisher>();
  return publisher_.get();
}

void DependencyEntryHandle::entryStateChange(EntryState state) {
  EntryState const old = std::exchange(entryState_, state);
  handleEntryState();
  if (publisher_) publisher_->publish(kFieldEntryState, nullptr, &old);
}

}  // namespace Asic
