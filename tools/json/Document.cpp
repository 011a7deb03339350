#include "tools/json/Document.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>

#include <simdjson.h>

#include "tools/json/TextFault.h"

namespace Inlif {
namespace {

namespace ondemand = simdjson::ondemand;
using simdjson::error_code;

// An object of so many members is searched for doubles by comparing each pair, a larger one by sorting.
constexpr std::size_t kFewMembers = 16;
constexpr std::size_t kBytesOfValue = 16;  // with its name and what stands between values, in most texts
constexpr std::size_t kLeastCapacity = std::size_t{4} << 10;
constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";

}  // namespace

struct Document::Parser {
  ondemand::parser parser;
};

// One walk through a text that the parser has looked over: makes the nodes, and keeps the first fault. What is
// false has refused.
class Document::Walk {
 public:
  Walk(Document& document, std::size_t mostValues) : document_(document), mostValues_(mostValues) {}

  Pivot::Status run();

 private:
  bool root();
  bool value(ondemand::value from, std::string_view name, unsigned depth);
  template <class Source>
  bool container(Source& from, ondemand::json_type type, std::string_view name, unsigned depth);
  bool members(ondemand::object from, std::size_t node, unsigned depth);
  bool elements(ondemand::array from, std::size_t node, unsigned depth);
  bool scalar(ondemand::value& from, ondemand::json_type type, Value::Node& node);
  bool number(ondemand::value& from, Value::Node& node);
  bool namesDiffer(std::size_t object);

  // Makes the node of a value that begins where the parser stands.
  bool begin(std::string_view name, Value::Type type);
  void end(std::size_t node, std::size_t size);
  // Where the parser stands; the end of the text when it is behind it.
  std::size_t here();

  bool refuse(std::size_t at, std::string_view found, std::string_view expected);
  bool refuse(error_code error, std::string_view expected);
  bool refuseText(error_code error);

  Document& document_;
  std::size_t const mostValues_;
  std::string_view const text_ = document_.text();
  ondemand::document source_;
  Pivot::Status fault_ = Pivot::Status::ok();
};

Pivot::Status Document::Walk::run() {
  document_.nodes_.clear();
  // For as many as there are in dense text: what is not used is never touched.
  document_.nodes_.reserve(std::min(text_.size() / kBytesOfValue + 1, mostValues_));
  if (!root()) document_.nodes_.clear();
  return std::move(fault_);
}

bool Document::Walk::root() {
  if (text_.starts_with(kByteOrderMark)) return refuse(0, "found a byte order mark", "UTF-8 without one");
  simdjson::padded_string_view const padded(text_.data(), text_.size(), document_.text_.size());
  error_code error = document_.parser_->parser.iterate(padded).get(source_);
  if (error) return refuseText(error);
  ondemand::json_type type{};
  error = source_.type().get(type);
  if (error || (type != ondemand::json_type::object && type != ondemand::json_type::array))
    return refuse(error, "{ or [");
  if (!container(source_, type, {}, 0)) return false;
  bool const atEnd = source_.current_location().error() == simdjson::OUT_OF_BOUNDS;
  return atEnd || refuse(simdjson::TRAILING_CONTENT, "the end of the text");
}

bool Document::Walk::value(ondemand::value from, std::string_view name, unsigned depth) {
  ondemand::json_type type{};
  if (error_code const error = from.type().get(type)) return refuse(error, "a value");
  if (type == ondemand::json_type::object || type == ondemand::json_type::array)
    return container(from, type, name, depth);
  return begin(name, Value::Type::null) && scalar(from, type, document_.nodes_.back());
}

template <class Source>
bool Document::Walk::container(Source& from, ondemand::json_type type, std::string_view name,
                               unsigned depth) {
  bool const isObject = type == ondemand::json_type::object;
  if (depth == kMostDepth)
    return refuse(here(), fmt::format("found one more {} inside {}", isObject ? "{" : "[", depth),
                  fmt::format("at most {} inside each other", kMostDepth));
  std::size_t const node = document_.nodes_.size();
  if (!begin(name, isObject ? Value::Type::object : Value::Type::array)) return false;
  if (isObject) {
    ondemand::object object;
    error_code const error = from.get_object().get(object);
    return error ? refuse(error, "}") : members(object, node, depth + 1);
  }
  ondemand::array array;
  error_code const error = from.get_array().get(array);
  return error ? refuse(error, "]") : elements(array, node, depth + 1);
}

bool Document::Walk::members(ondemand::object from, std::size_t node, unsigned depth) {
  std::size_t size = 0;
  for (auto field : from) {
    std::string_view name;
    if (error_code const error = field.error())
      return refuse(error, size == 0 ? "\"NAME\": or }" : ", \"NAME\": or }");
    std::size_t const at = static_cast<std::size_t>(field.key().value_unsafe().raw() - 1 - text_.data());
    if (field.unescaped_key().get(name))
      return refuse(at, foundAt(text_, at), "a text with escapes that stand for characters");
    if (!value(field.value().value_unsafe(), name, depth)) return false;
    ++size;
  }
  end(node, size);
  return namesDiffer(node);
}

bool Document::Walk::elements(ondemand::array from, std::size_t node, unsigned depth) {
  std::size_t size = 0;
  for (auto element : from) {
    if (error_code const error = element.error()) return refuse(error, ", or ]");
    if (!value(element.value_unsafe(), {}, depth)) return false;
    ++size;
  }
  end(node, size);
  return true;
}

bool Document::Walk::scalar(ondemand::value& from, ondemand::json_type type, Value::Node& node) {
  if (type == ondemand::json_type::string) {
    std::string_view text;
    if (from.get_string().get(text))
      return refuse(node.source, foundAt(text_, node.source),
                    "a text with escapes that stand for characters");
    node.type = Value::Type::text;
    node.text = text.data();
    node.size = static_cast<std::uint32_t>(text.size());
    return true;
  }
  if (type == ondemand::json_type::number) return number(from, node);
  if (type == ondemand::json_type::boolean) {
    node.type = Value::Type::boolean;
    error_code const error = from.get_bool().get(node.boolean);
    return !error || refuse(error, "a value");
  }
  bool isNull = false;
  error_code const error = from.is_null().get(isNull);
  return isNull || refuse(error, "a value");
}

bool Document::Walk::number(ondemand::value& from, Value::Node& node) {
  ondemand::number number;
  if (error_code const error = from.get_number().get(number))
    return refuse(error, "a number that fits into 64 bits");
  if (number.is_double()) {
    node.type = Value::Type::real;
    node.real = number.get_double();
  } else if (number.is_int64() && number.get_int64() < 0) {
    node.type = Value::Type::negative;
    node.negative = number.get_int64();
  } else {
    node.type = Value::Type::natural;
    node.natural = number.is_uint64() ? number.get_uint64() : static_cast<std::uint64_t>(number.get_int64());
  }
  return true;
}

bool Document::Walk::begin(std::string_view name, Value::Type type) {
  if (document_.nodes_.size() == mostValues_)
    return refuse(here(), fmt::format("found more than {} values", mostValues_), "at most so many");
  Value::Node node{};
  node.name = name;
  node.type = type;
  node.source = static_cast<std::uint32_t>(here());
  node.extent = 1;
  document_.nodes_.push_back(node);
  return true;
}

void Document::Walk::end(std::size_t node, std::size_t size) {
  document_.nodes_[node].size = static_cast<std::uint32_t>(size);
  document_.nodes_[node].extent = static_cast<std::uint32_t>(document_.nodes_.size() - node);
}

bool Document::Walk::namesDiffer(std::size_t node) {
  Value const object(document_, document_.nodes_[node]);
  auto& names = document_.names_;
  names.clear();
  bool const few = object.size() <= kFewMembers;
  Value twice;
  for (Value const member : object) {
    std::size_t const hash = few ? 0 : std::hash<std::string_view>()(member.name());
    if (few && std::ranges::any_of(names, [&](auto const& one) { return one.second == member.name(); }))
      twice = member;
    names.emplace_back(hash, member.name());
  }
  if (!few) {
    std::ranges::sort(names);
    auto const found = std::ranges::adjacent_find(names);
    if (found != names.end()) {
      for (Value const member : object) {
        if (member.name() == found->second) twice = member;
      }
    }
  }
  if (!twice) return true;
  return refuse(twice.node_->source, fmt::format("member {} stands there twice", shownText(twice.name())),
                "each name once in an object");
}

std::size_t Document::Walk::here() {
  char const* at = nullptr;
  if (source_.current_location().get(at)) return text_.size();
  return std::min(static_cast<std::size_t>(at - text_.data()), text_.size());
}

bool Document::Walk::refuse(std::size_t at, std::string_view found, std::string_view expected) {
  fault_ = Pivot::Status::refused(faultAt(text_, at, found, expected));
  return false;
}

bool Document::Walk::refuse(error_code error, std::string_view expected) {
  std::size_t const at = error == simdjson::INCOMPLETE_ARRAY_OR_OBJECT ? text_.size() : here();
  return refuse(at, foundAt(text_, at), expected);
}

// What the parser finds when it looks the text over, before the walk.
bool Document::Walk::refuseText(error_code error) {
  auto const byteAt = [this](std::size_t at) {
    return fmt::format("found the byte 0x{:02x}", static_cast<unsigned char>(text_[at]));
  };
  if (error == simdjson::UTF8_ERROR) {
    std::size_t const at = badCharacter(text_);
    return refuse(at, byteAt(at), "UTF-8");
  }
  if (error == simdjson::UNESCAPED_CHARS || error == simdjson::UNCLOSED_STRING) {
    std::size_t const at = std::min(badString(text_), text_.size());
    if (at == text_.size()) return refuse(at, "the text ends", "an even number of quotes");
    // The parser takes it for an escape, so that the next quote begins nothing.
    if (text_[at] == '\\') return refuse(at, "found a \\ outside of a text", "a value");
    if (text_[at] == '"') return refuse(at, "found a text that does not end", "its closing \"");
    return refuse(at, byteAt(at) + " in a text", "it escaped, as in \\u0009");
  }
  if (error == simdjson::EMPTY) return refuse(text_.size(), "the text ends", "{ or [");
  return refuse(0, simdjson::error_message(error), "a text that can be read");
}

Document::Document() : parser_(std::make_unique<Parser>()) {}
Document::~Document() = default;
Document::Document(Document&&) noexcept = default;
Document& Document::operator=(Document&&) noexcept = default;

Pivot::Status Document::parse(std::string_view text, std::size_t mostValues) {
  if (text_.size() < text.size() + simdjson::SIMDJSON_PADDING)
    text_.resize(std::bit_ceil(std::max(text.size() + simdjson::SIMDJSON_PADDING, kLeastCapacity)));
  std::ranges::copy(text, text_.begin());
  size_ = text.size();
  return parseText(mostValues);
}

Pivot::Status Document::parseText(std::size_t mostValues) {
  // A bracket behind the text would be taken for a part of it.
  std::fill_n(text_.begin() + static_cast<std::ptrdiff_t>(size_), simdjson::SIMDJSON_PADDING, '\0');
  auto& parser = parser_->parser;
  if (parser.capacity() < size_) {
    if (parser.allocate(std::bit_ceil(std::max(size_, kLeastCapacity)), kMostDepth + 2)) {
      nodes_.clear();
      return Pivot::Status::refused(fmt::format("no memory for a text of {} bytes", size_));
    }
  }
  return Walk(*this, mostValues).run();
}

Pivot::Status Document::read(std::string const& path, std::size_t mostBytes) {
  nodes_.clear();
  auto const refused = [&path](std::string_view what) {
    return Pivot::Status::refused(fmt::format("{}: {}; expected a file of JSON", path, what));
  };
  if (path.find('\0') != std::string::npos) return refused("holds a zero byte");
  // Without waiting: the opening of a pipe would not return before somebody writes to it.
  int const descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (descriptor < 0) return refused(std::strerror(errno));
  struct stat found {};
  Pivot::Status status = Pivot::Status::ok();
  if (::fstat(descriptor, &found) != 0)
    status = refused(std::strerror(errno));
  else if (!S_ISREG(found.st_mode))
    status = refused(S_ISDIR(found.st_mode) ? "is a directory" : "is no regular file");
  else
    status = load(descriptor, path, mostBytes, static_cast<std::size_t>(found.st_size));
  ::close(descriptor);
  if (!status.isOk()) return status;
  status = parseText(kMostValuesOfFile);
  return status.isOk() ? status : Pivot::Status::refused(fmt::format("{}: {}", path, status.message()));
}

Pivot::Status Document::load(int descriptor, std::string const& path, std::size_t mostBytes,
                             std::size_t expected) {
  size_ = 0;
  // Growing step by step would touch twice the memory, and most of a large text's reading is first touches.
  expected = std::min(expected, mostBytes) + simdjson::SIMDJSON_PADDING + 1;
  if (text_.size() < expected) text_.resize(expected);
  for (;;) {
    // One byte more than may be there, so that a file that grows is noticed too.
    if (size_ + simdjson::SIMDJSON_PADDING >= text_.size())
      text_.resize(std::max(text_.size() * 2, kLeastCapacity));
    std::size_t const room =
        std::min(text_.size() - size_ - simdjson::SIMDJSON_PADDING, mostBytes + 1 - size_);
    ssize_t const count = ::read(descriptor, text_.data() + size_, room);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0)
      return Pivot::Status::refused(
          fmt::format("{}: {}; expected a file of JSON", path, std::strerror(errno)));
    if (count == 0) return Pivot::Status::ok();
    size_ += static_cast<std::size_t>(count);
    if (size_ > mostBytes)
      return Pivot::Status::refused(fmt::format(
          "{}: is longer than {} MiB; expected a smaller file, or a higher limit", path, mostBytes >> 20));
  }
}

}  // namespace Inlif
