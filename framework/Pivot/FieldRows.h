// The rows of a record, one line per field. A row is made from the members that serve it; its types follow
// from theirs:
//
//   stored<&T::foo, &T::fooIs>(130, "foo", place)    held in the object; without a setter read only
//   made<&T::foo, &T::fooIs, "a", "b">(131, "foo")   held in the object, set by the arguments of its making
//   computed<&T::foo>(132, "foo")                    read from other attributes; may have a setter
//   operation<&T::run, "a", "b">(133, "run")         called with arguments of these names
//   listed<&T::run, "a">(134, "run")                 as above, but inspection cannot call it
//   queue<Access>(135, "foo")                        an indexed queue
//
// Collections are in CollectionRows.h. A getter is a member function, a data member, or a function of the
// object. Records of a class are written by its library alone; tools read TypeRecords.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <utility>

#include "Pivot/OpResult.h"
#include "Pivot/TypeRecords.h"
#include "Pivot/ValueType.h"
#include "Vex/Assert.h"
#include "Vex/Exceptions.h"

namespace Pivot::Inspect {

// A name as a template argument.
template <std::size_t N>
struct Name {
  char text[N];
  consteval Name(char const (&name)[N]) {
    for (std::size_t i = 0; i < N; ++i) text[i] = name[i];
  }
};

// What a member (function) is made of: Class, the object that it is called on, Result, and its arguments.
template <class... A>
struct TypeList {
  static constexpr std::size_t size = sizeof...(A);
};
template <class Member>
struct MemberTraits;
template <class C, class R, class... A>
struct MemberTraits<R (C::*)(A...)> {
  using Class = C;
  using Result = R;
  using Arguments = TypeList<std::remove_cvref_t<A>...>;
};
template <class C, class R, class... A>
struct MemberTraits<R (C::*)(A...) const> : MemberTraits<R (C::*)(A...)> {};
template <class C, class R, class... A>
struct MemberTraits<R (C::*)(A...) noexcept> : MemberTraits<R (C::*)(A...)> {};
template <class C, class R, class... A>
struct MemberTraits<R (C::*)(A...) const noexcept> : MemberTraits<R (C::*)(A...)> {};
template <class C, class R>
struct MemberTraits<R C::*> {
  using Class = C;
  using Result = R;
  using Arguments = TypeList<>;
};
// A static member function is called without an object.
template <class R, class... A>
struct MemberTraits<R (*)(A...)> {
  using Class = void;
  using Result = R;
  using Arguments = TypeList<std::remove_cvref_t<A>...>;
};

template <auto Member>
using ClassOf = typename MemberTraits<decltype(Member)>::Class;
// The class whose objects a getter reads.
template <auto Get>
struct GetterOf {
  template <class C, class R>
  static C* objectOf(R (*)(C const&));
  template <class M>
  static ClassOf<Get>* objectOf(M);
  using Object = std::remove_pointer_t<decltype(objectOf(Get))>;
};
template <auto Member>
using ResultOf = std::remove_cvref_t<typename MemberTraits<decltype(Member)>::Result>;
template <auto Member>
using ArgumentsOf = typename MemberTraits<decltype(Member)>::Arguments;

// The object behind what a tool hands around: a node by its Node, a plain value by its address.
template <class Class>
Class& objectAs(void* object) {
  VEX_ASSERT(object != nullptr, "object");
  if constexpr (std::is_base_of_v<Node, Class>) {
    return *static_cast<Class*>(static_cast<Node*>(object));
  } else {
    return *static_cast<Class*>(object);
  }
}

// A key, value or argument that a code needs.
template <class T>
T const& given(void const* argument) {
  VEX_ASSERT(argument != nullptr, "argument");
  return *static_cast<T const*>(argument);
}

// Calls f with the arguments that an array of pointers names.
template <class F, class... A>
auto withArguments(TypeList<A...>, void const* array, F&& f) {
  return [&]<std::size_t... I>(std::index_sequence<I...>) {
    [[maybe_unused]] auto const* const arguments = static_cast<void const* const*>(array);
    return f(given<A>(arguments[I])...);
  }
  (std::index_sequence_for<A...>());
}

template <class List, Name... Names>
struct Arguments {
  template <class>
  struct Of;
  template <class... A>
  struct Of<TypeList<A...>> {
    static_assert(sizeof...(A) == sizeof...(Names), "each argument has a name");
    static constexpr Argument list[] = {Argument{Names.text, &valueType<A>}..., Argument{}};
  };
  static constexpr Argument const* list = Of<List>::list;
};

inline constexpr std::nullptr_t noSetter = nullptr;
template <auto Set>
inline constexpr bool isSetter = !std::is_null_pointer_v<decltype(Set)>;

// Calls a member function with the arguments and hands its result over.
template <auto Function>
void callInto(OpResult& result, [[maybe_unused]] void* object, void const* arguments) {
  withArguments(ArgumentsOf<Function>(), arguments, [&](auto const&... argument) {
    auto const run = [&]() -> decltype(auto) {
      if constexpr (std::is_void_v<ClassOf<Function>>) {
        return Function(argument...);
      } else {
        return std::invoke(Function, objectAs<ClassOf<Function>>(object), argument...);
      }
    };
    if constexpr (std::is_void_v<ResultOf<Function>>) {
      run();
    } else {
      opResultEncode<ResultOf<Function>>(result, run());
    }
  });
}

// Codes 0 and 1 of an attribute. FromArguments: the setter takes the array of the arguments of the making.
template <auto Get, auto Set, bool FromArguments>
OpStatus operateAttribute(OpCall const& call) {
  if (call.code == OpCode::read) {
    opResultEncode<ResultOf<Get>>(call.result,
                                  std::invoke(Get, objectAs<typename GetterOf<Get>::Object>(call.object)));
    return OpStatus::done;
  }
  if constexpr (isSetter<Set>) {
    if (call.code == OpCode::write) {
      void const* const one[] = {call.value};
      callInto<Set>(call.result, call.object, FromArguments ? call.value : one);
      return OpStatus::done;
    }
  }
  return OpStatus::notAvailable;
}

// Code 10.
template <auto Function>
OpStatus operateOperation(OpCall const& call) {
  if (call.code != OpCode::call) return OpStatus::notAvailable;
  callInto<Function>(call.result, call.object, call.value);
  return OpStatus::done;
}

// Codes 3 and 6 to 9 of an indexed queue, and a read and a test by index. Access gives Object, Element, and
// the static functions size, at, has, front, back, enq and deq.
template <class Access>
OpStatus operateQueue(OpCall const& call) {
  using Element = typename Access::Element;
  auto& object = objectAs<typename Access::Object>(call.object);
  // Without an index there is no read and no test: a tool that takes the queue for an attribute gives none.
  if (call.key == nullptr && (call.code == OpCode::read || call.code == OpCode::has))
    return OpStatus::notAvailable;
  switch (call.code) {
    case OpCode::read:
      opResultEncode<Element>(call.result, Access::at(object, given<std::uint32_t>(call.key)));
      return OpStatus::done;
    case OpCode::has:
      opResultEncode<bool>(call.result, Access::has(object, given<std::uint32_t>(call.key)));
      return OpStatus::done;
    case OpCode::count:
      opResultEncode<std::uint32_t>(call.result, Access::size(object));
      return OpStatus::done;
    case OpCode::front:
      opResultEncode<Element>(call.result, Access::front(object));
      return OpStatus::done;
    case OpCode::back:
      opResultEncode<Element>(call.result, Access::back(object));
      return OpStatus::done;
    case OpCode::enqueue:
      if (given<Element>(call.value) == nullptr) {
        Vex::throwMutatorArgNullPointerException(call.type.module->name, call.type.name(),
                                                 call.attribute.name, call.attribute.id);
      }
      opResultEncode<std::uint32_t>(call.result, Access::enq(object, given<Element>(call.value)));
      return OpStatus::done;
    case OpCode::dequeue:
      opResultEncode<Element>(call.result, Access::deq(object));
      return OpStatus::done;
    default:
      return OpStatus::notAvailable;
  }
}

template <class Result>
constexpr ValueType const* resultType() {
  if constexpr (std::is_void_v<Result>) {
    return nullptr;
  } else {
    return &valueType<Result>;
  }
}

template <auto Get, auto Set = noSetter>
constexpr AttributeRecord attribute(AttributeKind kind, FieldId id, char const* name, std::size_t place) {
  return {.id = id,
          .name = name,
          .kind = kind,
          .writable = isSetter<Set>,
          .type = &valueType<ResultOf<Get>>,
          .place = static_cast<std::uint32_t>(place),
          .operate = &operateAttribute<Get, Set, false>};
}
template <auto Get, auto Set = noSetter>
constexpr AttributeRecord stored(FieldId id, char const* name,
                                 std::size_t place = AttributeRecord::kNoPlace) {
  return attribute<Get, Set>(AttributeKind::stored, id, name, place);
}
template <auto Get, auto Set = noSetter>
constexpr AttributeRecord computed(FieldId id, char const* name) {
  return attribute<Get, Set>(AttributeKind::computed, id, name, AttributeRecord::kNoPlace);
}
template <auto Get, auto Set, Name... Names>
constexpr AttributeRecord made(FieldId id, char const* name, std::size_t place = AttributeRecord::kNoPlace) {
  AttributeRecord row = attribute<Get, Set>(AttributeKind::stored, id, name, place);
  row.arguments = Arguments<ArgumentsOf<Set>, Names...>::list;
  row.operate = &operateAttribute<Get, Set, true>;
  return row;
}
template <auto Function, Name... Names>
constexpr AttributeRecord listed(FieldId id, char const* name) {
  return {.id = id,
          .name = name,
          .kind = AttributeKind::operation,
          .type = resultType<ResultOf<Function>>(),
          .arguments = Arguments<ArgumentsOf<Function>, Names...>::list};
}
template <auto Function, Name... Names>
constexpr AttributeRecord operation(FieldId id, char const* name) {
  AttributeRecord row = listed<Function, Names...>(id, name);
  row.operate = &operateOperation<Function>;
  return row;
}
template <class Access>
constexpr AttributeRecord queue(FieldId id, char const* name) {
  return {.id = id,
          .name = name,
          .kind = AttributeKind::queue,
          .type = &valueType<typename Access::Element>,
          .keyType = &valueType<std::uint32_t>,
          .operate = &operateQueue<Access>};
}

}  // namespace Pivot::Inspect
