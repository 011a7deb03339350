// The inspection adapter of a class: the fixed functions through which a tool reaches its fields. They stand
// in the module's table of functions and are driven by the rows of the class's record:
//
//   struct TRecord : Pivot::Inspect::Record<T, Base> {           // no base for plain values
//     static constexpr std::array attributes{...};               // FieldRows.h, CollectionRows.h
//     static constexpr auto constructor = constructedBy<&T::TIs, "a", "b">();
//   };
//
// A class without fields, or that inspection cannot make, leaves the line out.
#pragma once

#include <array>
#include <span>

#include "Pivot/CollectionRows.h"
#include "Pivot/FieldRows.h"
#include "Pivot/OpResult.h"
#include "Pivot/TypeRecords.h"

namespace Pivot {

namespace Inspect {

// How a class is made: the arguments of its constructor, and the function that makes an object by its
// ...Is operation. Both null for a class that inspection cannot make.
struct ConstructorRecord {
  Argument const* arguments = nullptr;
  void (*construct)(OpResult& result, void const* const* arguments) = nullptr;
};
template <auto Is>
void construct(OpResult& result, void const* const* arguments) {
  callInto<Is>(result, nullptr, arguments);
}
// Is: the static ...Is of the class.
template <auto Is, Name... Names>
constexpr ConstructorRecord constructedBy() {
  return {Arguments<ArgumentsOf<Is>, Names...>::list, &construct<Is>};
}

// What every record begins with.
template <class T, class BaseOfT = void>
struct Record {
  using Type = T;
  using Base = BaseOfT;
  static constexpr std::array<AttributeRecord, 0> attributes{};
  static constexpr ConstructorRecord constructor{};
};

LOAM_FRAMEWORK_EXPORT OpStatus inspectOperation(TypeData type, std::span<AttributeRecord const> rows,
                                                OpResult& result, void* object, FieldDescriptor field,
                                                OpCode opCode, void const* key, void const* value);
LOAM_FRAMEWORK_EXPORT Vex::CollectionIteratorBase* genericIfIterator(std::span<AttributeRecord const> rows,
                                                                     void* object, void const* startKey,
                                                                     FieldDescriptor field);

}  // namespace Inspect

// Record: the record of T.
template <class T, class Record>
struct HideMe {
  // Empties the result first. See TypeView::inspect for what key and value are; here the field is one of this
  // class.
  static OpStatus inspectOperation(OpResult& result, void* object, FieldDescriptor field, OpCode opCode,
                                   void const* key, void const* value) {
    return Inspect::inspectOperation(TypeNamed<T>::record, Record::attributes, result, object, field, opCode,
                                     key, value);
  }
  // Null, and functions as it was, for a field that is no collection of this class. The caller frees the
  // iterator with iterDel.
  static Vex::CollectionIteratorBase* genericIfIterator(void* object, void const* startKey,
                                                        FieldDescriptor field,
                                                        Vex::IteratorFunctions const*& functions) {
    auto* const iterator = Inspect::genericIfIterator(Record::attributes, object, startKey, field);
    if (iterator != nullptr) functions = &iteratorFunctions;
    return iterator;
  }
  // Makes an object; the result owns it. REQUIRES: the class has a constructor list.
  static void genericIfConstructFromCtorArgs(OpResult& result, void const* const* arguments) {
    result.clear();
    Record::constructor.construct(result, arguments);
  }

  static constexpr Vex::IteratorFunctions iteratorFunctions{&Vex::iterObj, &Vex::iterKey, &Vex::iterNonnull,
                                                            &Vex::iterInc, &Vex::iterDel};
};

}  // namespace Pivot
