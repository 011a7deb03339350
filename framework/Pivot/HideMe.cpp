// The part of every adapter that is the same: it finds the field's row and lets it act.
#include "Pivot/HideMe.h"

#include <algorithm>

namespace Pivot::Inspect {
namespace {

AttributeRecord const* rowOf(std::span<AttributeRecord const> rows, FieldDescriptor field) {
  auto const at = std::lower_bound(rows.begin(), rows.end(), field.fieldId(),
                                   [](AttributeRecord const& row, FieldId id) { return row.id < id; });
  return at == rows.end() || at->id != field.fieldId() ? nullptr : &*at;
}

}  // namespace

OpStatus inspectOperation(TypeData type, std::span<AttributeRecord const> rows, OpResult& result,
                          void* object, FieldDescriptor field, OpCode opCode, void const* key,
                          void const* value) {
  result.clear();
  AttributeRecord const* const row = rowOf(rows, field);
  if (row == nullptr) return OpStatus::noField;
  if (row->operate == nullptr) return OpStatus::notAvailable;
  return row->operate({result, object, type, *row, opCode, key, value});
}

Vex::CollectionIteratorBase* genericIfIterator(std::span<AttributeRecord const> rows, void* object,
                                               void const* startKey, FieldDescriptor field) {
  AttributeRecord const* const row = rowOf(rows, field);
  return row == nullptr || row->iterate == nullptr ? nullptr : row->iterate(object, startKey);
}

}  // namespace Pivot::Inspect
