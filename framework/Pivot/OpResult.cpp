#include "Pivot/OpResult.h"

namespace Pivot {

std::optional<TypeView> OpResult::view() const {
  if (Ptr<Node> const object = node()) return TypeView::of(*object);
  if (type_ == nullptr || type_->isPointer() || type_->record.module == nullptr) return std::nullopt;
  return TypeView(type_->record);
}

void* OpResult::object() const {
  if (type_ == nullptr) return nullptr;
  return type_->isPointer() ? type_->node(value()) : const_cast<void*>(value());
}

}  // namespace Pivot
