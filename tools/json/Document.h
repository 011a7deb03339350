// JSON that comes from outside, read whole and bounded: lines of the protocol, files, arguments.
//
// A Document keeps the text it has read and a flat list of its values, both reused from text to text, so that
// reading line after line allocates nothing once the buffers have grown. Values are views of it. Every value
// is visited while reading, so what has been accepted is valid to its end. One thread at a time.
//
// D1. No input makes reading fail otherwise than by a refusal: one line with the position of the fault, what
//     stands there and what was expected. The parser underneath is used without exceptions.
// D2. Depth and number of values are bounded while reading, and each step costs no more than sorting does.
// D3. The names in one object differ, so that no reader can take the first of two where another takes the last.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Pivot/Status.h"
#include "tools/json/Json.h"

namespace Inlif {

class Document;

// A value of a document, or none; as long as the document is not used again.
class Value {
 public:
  enum class Type : std::uint8_t { null, boolean, natural, negative, real, text, array, object };
  class Iterator;

  Value() = default;
  explicit operator bool() const { return node_ != nullptr; }

  // REQUIRES for all that follow: there is a value, and it is of the type that is asked for.
  inline Type type() const;
  bool isText() const { return type() == Type::text; }
  bool isObject() const { return type() == Type::object; }
  bool isArray() const { return type() == Type::array; }
  inline bool boolean() const;
  inline std::uint64_t natural() const;
  inline std::int64_t negative() const;
  inline double real() const;
  inline std::string_view text() const;
  // Of a member; empty for any other value.
  inline std::string_view name() const;

  // Members of an object or elements of an array, in the order of the text.
  inline Iterator begin() const;
  inline Iterator end() const;
  inline std::size_t size() const;
  Value member(std::string_view name) const;

  // As it was written.
  std::string_view source() const;
  // The line of the text, from 1.
  std::size_t line() const;

 private:
  friend class Document;
  struct Node;
  Value(Document const& document, Node const& node) : document_(&document), node_(&node) {}

  Document const* document_ = nullptr;
  Node const* node_ = nullptr;
};

struct Value::Node {
  std::string_view name;
  union {
    char const* text;
    std::uint64_t natural;
    std::int64_t negative;
    double real;
    bool boolean;
  };
  std::uint32_t size;    // of a text in bytes, of an object or array in values
  std::uint32_t source;  // where it begins in the text of the document
  std::uint32_t extent;  // nodes of this value and all its parts: the next value lies so far behind it
  Type type;
};

class Value::Iterator {
 public:
  using value_type = Value;
  using difference_type = std::ptrdiff_t;

  Iterator() = default;
  Value operator*() const { return {*document_, *node_}; }
  Iterator& operator++() {
    node_ += node_->extent;
    return *this;
  }
  Iterator operator++(int) {
    Iterator const before = *this;
    ++*this;
    return before;
  }
  bool operator==(Iterator const& other) const { return node_ == other.node_; }

 private:
  friend class Value;
  Iterator(Document const& document, Node const* node) : document_(&document), node_(node) {}

  Document const* document_ = nullptr;
  Node const* node_ = nullptr;
};

inline Value::Type Value::type() const {
  return node_->type;
}
inline bool Value::boolean() const {
  return node_->boolean;
}
inline std::uint64_t Value::natural() const {
  return node_->natural;
}
inline std::int64_t Value::negative() const {
  return node_->negative;
}
inline double Value::real() const {
  return node_->real;
}
inline std::string_view Value::text() const {
  return {node_->text, node_->size};
}
inline std::string_view Value::name() const {
  return node_->name;
}
inline std::size_t Value::size() const {
  return node_->size;
}
inline Value::Iterator Value::begin() const {
  return {*document_, node_ + 1};
}
inline Value::Iterator Value::end() const {
  return {*document_, node_ + node_->extent};
}

class Document {
 public:
  static constexpr unsigned kMostDepth = 32;
  static constexpr std::size_t kMostValuesOfLine = std::size_t{1} << 12;
  static constexpr std::size_t kMostValuesOfFile = std::size_t{1} << 22;
  static constexpr std::size_t kMostFile = std::size_t{64} << 20;  // bytes, unless the user says otherwise

  Document();
  ~Document();
  Document(Document&&) noexcept;
  Document& operator=(Document&&) noexcept;

  // Takes a text that is an object or an array. Afterwards root() is that, or no value when it was refused.
  Pivot::Status parse(std::string_view text, std::size_t mostValues = kMostValuesOfLine);
  // The same for a regular file of at most so many bytes; `path` heads the refusal. What is no regular file is
  // refused without being waited for.
  Pivot::Status read(std::string const& path, std::size_t mostBytes = kMostFile);
  Value root() const { return nodes_.empty() ? Value() : Value(*this, nodes_.front()); }

 private:
  friend class Value;
  struct Parser;
  class Walk;

  Pivot::Status load(int descriptor, std::string const& path, std::size_t mostBytes, std::size_t expected);
  Pivot::Status parseText(std::size_t mostValues);
  std::string_view text() const { return {text_.data(), size_}; }

  std::unique_ptr<Parser> parser_;  // keeps the texts of the values
  std::vector<char> text_;          // with the padding that the parser asks for
  std::size_t size_ = 0;
  std::vector<Value::Node> nodes_;
  std::vector<std::pair<std::size_t, std::string_view>>
      names_;  // of one object, while it is looked for doubles
};

// A value as a refusal shows it: its source on one line, cut after 80 characters.
std::string shown(Value value);
// A text as JSON, cut in the same way: what people or programs wrote must not break the line that tells of it.
std::string shownText(std::string_view text);

// A value as a tree, for whoever prints it or builds on it.
Json jsonOf(Value value);

}  // namespace Inlif
