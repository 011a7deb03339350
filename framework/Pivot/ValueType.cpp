#include "Pivot/ValueType.h"

#include "Pivot/OpResult.h"

namespace Pivot {

String Impl::recordText(TypeData record, void const* value) {
  TypeView const view(record);
  String text = "{";
  OpResult field;
  for (AttributeRecord const& attribute : view.attributes()) {
    if (view.inspect(field, const_cast<void*>(value), attribute.id, OpCode::read) != OpStatus::done) continue;
    if (text.size() > 1) text += ", ";
    text += fmt::format("{}: {}", attribute.name, field.text());
  }
  return text + "}";
}

}  // namespace Pivot
