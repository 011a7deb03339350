#include "Asic/DependencyEntryHandle.h"

#include <utility>

namespace Asic {

DependencyEntryHandle::~DependencyEntryHandle() {
  delete publisher_;
}

Pivot::Publisher* DependencyEntryHandle::publisher() const {
  if (publisher_ == nullptr) publisher_ = new Pivot::Publisher;
  return publisher_;
}

void DependencyEntryHandle::changeEntryState(EntryState state) {
  EntryState const old = std::exchange(entryState_, state);
  handleEntryState();
  if (publisher_) publisher_->publish(kFieldEntryState, nullptr, &old);
}

}  // namespace Asic
