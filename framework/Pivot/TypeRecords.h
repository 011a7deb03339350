// The records by which classes describe themselves, so that a generic tool can list, read, change and call
// them without knowing them at compile time.
//
// A module holds the records of one source unit. It is constant data, announced when its library is loaded:
//
//   types          one row per class: name, its run of attributes, its constructor's arguments, its base
//   attributes     one row per attribute or operation, class by class, ids ascending within a class
//   argumentLists  the argument lists of the constructors, operations and setters
//   typePool       every type that the module refers to, by its full name, each once
//   namePool       every name of an attribute or argument, each once
//   imports        (module, index) of the types of other modules that this one refers to
//   functions      one row per class: how its root class is counted, and the adapter's functions
//   version, typeCount, name, typeNames: the head, ModuleInspectData
//
// Structs that are plain values (keys, entries, versions) have records too, without a base and without a
// counted root. An object is handed around as void*: for a class of nodes it is the address of its
// Pivot::Node, for a plain value the address of the value.
//
// TypeView is what a tool works with. Everything here may be read from any thread; the operations on objects
// belong to the agent's one thread.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "Cobble/Export.h"
#include "Pivot/Node.h"
#include "Pivot/Types.h"

namespace Vex {
class CollectionIteratorBase;
struct IteratorFunctions;
}  // namespace Vex

namespace Pivot {

class OpResult;

// What an attribute is to an inspector.
enum class AttributeKind : std::uint8_t {
  stored,      // a value or pointer held in the object
  computed,    // read through the adapter, from other attributes
  collection,  // a map or set: operations take a key, and an iterator walks it
  queue,       // an indexed queue
  operation,   // a member function with its arguments and its result
};
LOAM_FRAMEWORK_EXPORT char const* attributeKindName(AttributeKind kind);

// What inspectOperation can be asked for. The numbers never change.
enum class OpCode : std::uint8_t {
  read = 0,           // an attribute; a member of a collection by its key; whether a key is in a set
  write = 1,          // an attribute that allows it; a member of a collection
  remove = 2,         // a member of a collection by its key; the result is what was there
  count = 3,          // number of members, or length of a queue, 32 bits
  secondSize = 4,     // the map's second size word, 23 bits
  has = 5,            // whether a key is a member
  front = 6,          // of a queue: the oldest element
  back = 7,           // the newest
  enqueue = 8,        // appends the value; the result is its index
  dequeue = 9,        // takes the oldest
  call = 10,          // an operation, with its arguments
  readIfMember = 28,  // as read, but noMember for a missing key where the class reports it
};

enum class OpStatus : std::uint8_t {
  done = 0,          // the result holds what was asked for
  notAvailable = 1,  // the field has no such operation
  noField = 2,       // the class has no such field
  noMember = 4,      // a keyed read found no member
};

// Names a field of a class.
class FieldDescriptor {
 public:
  explicit constexpr FieldDescriptor(FieldId id) : id_(id) {}
  constexpr FieldId fieldId() const { return id_; }

 private:
  FieldId id_;
};

// How the values of one type are handled by a tool that does not know it.
struct ValueType {
  // The full name, for instance "Pivot::Ptr<LoamInLif::InLif1EntryLog>".
  char const* name;
  std::uint32_t size;
  // The record of the type, or of the class that a pointer points to; no module when there is none.
  TypeData record;
  // For a pointer to a node: where it points. Null for every other type.
  Node* (*node)(void const* value);
  // One line for people: the value, or for a pointer the class of the object, or "null".
  String (*text)(void const* value);
  // How a tool makes a value to hand in: a default one, owned by the caller, which it then sets. Each of the
  // three is null for a type that does not offer it.
  std::shared_ptr<void> (*make)();
  // From its text: a number in decimal or 0x..., a name, "true". False, and the value as it was, when the text
  // is none of the type.
  bool (*fromText)(void* value, std::string_view text);
  // For a pointer to a node: lets it point to the object, or to nothing. False, and the pointer as it was, for
  // an object of another class.
  bool (*pointTo)(void* value, Node* object);

  bool isPointer() const { return node != nullptr; }
};

// An argument list is a run of these that ends with an empty pair.
struct Argument {
  char const* name = nullptr;
  ValueType const* type = nullptr;
};

struct AttributeRecord;

// One call of inspectOperation on its way to the field's row.
struct OpCall {
  OpResult& result;
  void* object;
  TypeData type;
  AttributeRecord const& attribute;
  OpCode code;
  void const* key;
  void const* value;
};

struct AttributeRecord {
  static constexpr std::uint32_t kNoPlace = ~std::uint32_t{0};

  FieldId id;
  char const* name;
  AttributeKind kind;
  // Whether code 1 is served. What it takes is told at TypeView::inspect.
  bool writable = false;
  // Of the value, the member of a collection (bool for a set) or the result; null for no result.
  ValueType const* type = nullptr;
  // Of a collection's key or a queue's index; else null.
  ValueType const* keyType = nullptr;
  // Of an operation, or of the setter of an attribute or member that is made from arguments; else null.
  Argument const* arguments = nullptr;
  // Bytes from the beginning of the object, for an attribute that is stored there and tells its place.
  std::uint32_t place = kNoPlace;
  // Null for an operation that inspection cannot call.
  OpStatus (*operate)(OpCall const& call) = nullptr;
  // Null for everything but a collection.
  Vex::CollectionIteratorBase* (*iterate)(void* object, void const* startKey) = nullptr;
};

// Where a type stands: nowhere, in the module itself, or in its import table.
struct TypeRef {
  enum class Where : std::uint8_t { none, own, import };
  Where where = Where::none;
  std::uint32_t index = 0;
};

struct TypeRecord {
  char const* name;
  std::uint32_t attributeCount;
  std::uint32_t firstAttribute;
  // Null for a class that inspection cannot make.
  Argument const* constructorArguments;
  TypeRef base;
};

// How an object of a counted class is held and let go.
struct PointerInterface {
  char const* rootClass;
  void (*acquire)(void const* object);
  void (*release)(void const* object);
};

struct TypeFunctions {
  // Null for a plain value.
  PointerInterface const* root;
  // Null for a class that inspection cannot make.
  void (*genericIfConstructFromCtorArgs)(OpResult& result, void const* const* arguments);
  OpStatus (*inspectOperation)(OpResult& result, void* object, FieldDescriptor field, OpCode opCode,
                               void const* key, void const* value);
  Vex::CollectionIteratorBase* (*genericIfIterator)(void* object, void const* startKey, FieldDescriptor field,
                                                    Vex::IteratorFunctions const*& functions);
};

// The type of every announced module.
struct ModuleRecords : ModuleInspectData {
  std::span<TypeRecord const> types;
  std::span<AttributeRecord const> attributes;
  std::span<Argument const* const> argumentLists;
  std::span<ValueType const* const> typePool;
  std::span<char const* const> namePool;
  std::span<TypeData const> imports;
  std::span<TypeFunctions const> functions;
};

// A class as a tool sees it: its record, with what it inherits.
class LOAM_FRAMEWORK_EXPORT TypeView {
 public:
  // REQUIRES: type names a module and an index in it.
  explicit TypeView(TypeData type) : type_(type) {}
  // The most derived class of an object.
  static TypeView of(Node const& object) { return TypeView(object.typeData()); }
  // A class of any announced module by its full name, such as "LoamInLif::InLif1SwTable".
  static std::optional<TypeView> find(std::string_view fullName);

  TypeData typeData() const { return type_; }
  ModuleRecords const& module() const { return *static_cast<ModuleRecords const*>(type_.module); }
  TypeRecord const& record() const { return module().types[type_.index]; }
  TypeFunctions const& functions() const { return module().functions[type_.index]; }
  char const* name() const { return record().name; }
  // Nothing for Pivot::Node and for plain values. A base of another module is found by the import table.
  std::optional<TypeView> base() const;

  // What the class declares itself.
  std::span<AttributeRecord const> attributes() const {
    return module().attributes.subspan(record().firstAttribute, record().attributeCount);
  }
  struct Field {
    // The class that declares it, whose adapter serves it. Here typeData() and attribute belong together.
    TypeData declaredBy;
    AttributeRecord const* attribute;
  };
  // What the class has, the root's first: ids ascend.
  std::vector<Field> fields() const;
  // The field of that id, or of that name, here or in a base.
  std::optional<Field> field(FieldId id) const;
  std::optional<Field> field(std::string_view name) const;

  // Operates on a field of an object of this class, its own or an inherited one: the adapter of the class
  // that declares it is asked. Keys, values and arguments are pointers to objects of the types that the row
  // names, not null where the code needs one:
  //
  //   code          key             value
  //   0, 2, 5, 28   of the member   -                (an attribute is read without a key)
  //   1             of the member   the value; for a set a bool; for a row with an argument list an array
  //                                 of pointers to the arguments. A map that takes the key from the value
  //                                 or its arguments does not look at the key.
  //   8             -               the element
  //   10            -               an array of pointers to the arguments
  //
  // The result holds what came of it; it is empty where nothing does. An exception of the operation passes
  // through.
  OpStatus inspect(OpResult& result, void* object, FieldId id, OpCode code, void const* key = nullptr,
                   void const* value = nullptr) const;
  // An iterator over a collection of the object, own or inherited, with the functions that drive it; null for
  // any other field. Vex::MemberWalk wraps both.
  Vex::CollectionIteratorBase* iterator(void* object, FieldId id, void const* startKey,
                                        Vex::IteratorFunctions const*& functions) const;

 private:
  TypeData type_;
};

}  // namespace Pivot

// At global scope of a header: a module of the framework, by the name under which it is exported.
#define PIVOT_DECLARE_MODULE(symbol) extern LOAM_FRAMEWORK_EXPORT Pivot::ModuleRecords const symbol;
