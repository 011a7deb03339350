// What an inspected operation hands over: nothing, or one value of a type that the caller need not know. The
// result owns the value; a pointer among them owns one count of its object.
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>

#include "Cobble/Export.h"
#include "Pivot/Node.h"
#include "Pivot/TypeRecords.h"
#include "Pivot/ValueType.h"

namespace Pivot {

class LOAM_FRAMEWORK_EXPORT OpResult {
 public:
  bool empty() const { return value_ == nullptr; }
  // Null when empty.
  ValueType const* type() const { return type_; }
  void const* value() const { return value_.get(); }
  // The value as a T, or null when it is none. A plain pointer is handed over as the counted one, so ask for
  // Ptr<X>.
  template <class T>
  T const* as() const {
    bool const isT = type_ != nullptr && std::string_view(type_->name) == valueType<T>.name;
    return isT ? static_cast<T const*>(value()) : nullptr;
  }

  // The object that a pointer result points to; null for a null pointer and for every other result.
  Ptr<Node> node() const {
    return Ptr<Node>(type_ != nullptr && type_->isPointer() ? type_->node(value()) : nullptr);
  }
  // The class of the object, or of the value where its type has a record: what to go on with.
  std::optional<TypeView> view() const;
  // The object to go on with: the node or the value. It lives as long as the result, and for a node as long
  // as anybody holds it.
  void* object() const;
  // One line for people; empty for an empty result.
  String text() const { return empty() ? String() : type_->text(value()); }

  void clear() {
    value_.reset();
    type_ = nullptr;
  }
  // Takes a value in, in place of the present one.
  template <class T>
  void take(T value) {
    value_ = std::make_shared<T const>(std::move(value));
    type_ = &valueType<T>;
  }

 private:
  std::shared_ptr<void const> value_;
  ValueType const* type_ = nullptr;
};

namespace Inspect {

// Moves a counted pointer into the result: the reference is the caller's from then on.
template <class T>
void opResEncRelNode(OpResult& result, Ptr<T>&& node) {
  result.take<Ptr<T>>(std::move(node));
}

// Hands a result over. A counted pointer gives its reference away; for a plain pointer the caller gets a new
// one.
template <class T>
void opResultEncode(OpResult& result, T value) {
  if constexpr (std::is_pointer_v<T>) {
    opResEncRelNode(result, Ptr<std::remove_pointer_t<T>>(value));
  } else if constexpr (isNodePointer<T>) {
    opResEncRelNode(result, std::move(value));
  } else {
    result.take<T>(std::move(value));
  }
}

}  // namespace Inspect
}  // namespace Pivot
