// How a tool finds its way from type to type: by name over all announced modules, and to bases by the import
// tables.
#include "Pivot/TypeRecords.h"

#include "Pivot/OpResult.h"

namespace Pivot {

char const* attributeKindName(AttributeKind kind) {
  switch (kind) {
    case AttributeKind::stored:
      return "stored";
    case AttributeKind::computed:
      return "computed";
    case AttributeKind::collection:
      return "collection";
    case AttributeKind::queue:
      return "queue";
    case AttributeKind::operation:
      return "operation";
  }
  return "kind?";
}

std::optional<TypeView> TypeView::find(std::string_view fullName) {
  for (ModuleInspectData const* module : ModuleInspectData::all()) {
    for (std::uint32_t index = 0; index < module->typeCount; ++index) {
      if (module->typeNames[index] == fullName) return TypeView(TypeData{module, index});
    }
  }
  return std::nullopt;
}

std::optional<TypeView> TypeView::base() const {
  TypeRef const ref = record().base;
  switch (ref.where) {
    case TypeRef::Where::none:
      return std::nullopt;
    case TypeRef::Where::own:
      return TypeView(TypeData{type_.module, ref.index});
    case TypeRef::Where::import:
      return TypeView(module().imports[ref.index]);
  }
  return std::nullopt;
}

std::vector<TypeView::Field> TypeView::fields() const {
  std::vector<Field> fields;
  if (auto const inherited = base()) fields = inherited->fields();
  for (AttributeRecord const& attribute : attributes()) fields.push_back({type_, &attribute});
  return fields;
}

std::optional<TypeView::Field> TypeView::field(FieldId id) const {
  for (std::optional<TypeView> view = *this; view; view = view->base()) {
    for (AttributeRecord const& attribute : view->attributes()) {
      if (attribute.id == id) return Field{view->type_, &attribute};
    }
  }
  return std::nullopt;
}

std::optional<TypeView::Field> TypeView::field(std::string_view name) const {
  for (std::optional<TypeView> view = *this; view; view = view->base()) {
    for (AttributeRecord const& attribute : view->attributes()) {
      if (attribute.name == name) return Field{view->type_, &attribute};
    }
  }
  return std::nullopt;
}

OpStatus TypeView::inspect(OpResult& result, void* object, FieldId id, OpCode code, void const* key,
                           void const* value) const {
  auto const found = field(id);
  if (!found) return OpStatus::noField;
  return TypeView(found->declaredBy)
      .functions()
      .inspectOperation(result, object, FieldDescriptor(id), code, key, value);
}

Vex::CollectionIteratorBase* TypeView::iterator(void* object, FieldId id, void const* startKey,
                                                Vex::IteratorFunctions const*& functions) const {
  auto const found = field(id);
  if (!found) return nullptr;
  return TypeView(found->declaredBy)
      .functions()
      .genericIfIterator(object, startKey, FieldDescriptor(id), functions);
}

}  // namespace Pivot
