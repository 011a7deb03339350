// Values whose type nobody here knows: printed as JSON, and made from JSON, by what their records tell.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Pivot/OpResult.h"
#include "Pivot/Status.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {

// The object that a path leads to, for an argument that is a pointer.
using ObjectFinder = std::function<Pivot::Status(std::string const& path, Pivot::Ptr<Pivot::Node>& object)>;

// A value without its parts: numbers and truth values as such, everything else as its text; a struct with a
// single field as this field; null for a null pointer and for no value.
Json leafJson(Pivot::OpResult const& value);
// The same as a text: how a key stands in a path.
std::string wordOf(Pivot::OpResult const& value);

// Whether the value has parts that are worth a level of their own: an object, or a struct that is more than
// one word. Ids and versions are words although they are made of several numbers.
bool hasParts(Pivot::OpResult const& value);

// What a value is made from: a value of an operation, or a text of a path.
class Given {
 public:
  Given(Value value) : value_(value) {}
  Given(std::string_view text) : text_(text) {}

  bool isObject() const { return value_ && value_.isObject(); }
  bool isNull() const { return text() == "null"; }
  bool isText() const { return !value_ || value_.isText(); }
  // REQUIRES: it is an object.
  Value object() const { return value_; }
  // A number or truth value as it was written.
  std::string_view text() const {
    return !value_ ? text_ : value_.isText() ? value_.text() : value_.source();
  }
  std::string shown() const { return value_ ? Inlif::shown(value_) : shownText(text_); }

 private:
  Value value_;
  std::string_view text_;
};

// Makes a value of the type: from a text or number, for a struct from an object with some of its fields (the
// others are as in a new struct), for a pointer from a path or null. `place` heads a refusal.
Pivot::Status makeValue(Given const& from, Pivot::ValueType const& type, std::string const& place,
                        ObjectFinder const& find, std::shared_ptr<void>& value);

// The arguments of an operation or of a setter, and the array of pointers through which they are handed in.
class ArgumentValues {
 public:
  // `list` ends with an empty pair.
  Pivot::Status make(std::span<Given const> from, Pivot::Argument const* list, std::string const& place,
                     ObjectFinder const& find);
  void const* array() const { return pointers_.data(); }

 private:
  std::vector<std::shared_ptr<void>> values_;
  std::vector<void const*> pointers_;
};

// "key, entry, dependantEntryHandle": the names of an argument list.
std::string argumentNames(Pivot::Argument const* list);

}  // namespace Inlif
