// The views of a document, and a value as text and as a tree.

#include <algorithm>

#include "tools/json/Document.h"
#include "tools/json/TextFault.h"

namespace Inlif {
namespace {

// What a refusal shows of a value.
constexpr std::size_t kMostShown = 80;

std::string cut(std::string_view text) {
  if (text.size() <= kMostShown) return std::string(text);
  return std::string(headOf(text, kMostShown - 3)) + "...";
}

// The length of the value that a valid text begins with.
std::size_t lengthOfValue(std::string_view text) {
  std::size_t depth = 0;
  bool quoted = false;
  for (std::size_t at = 0; at < text.size(); ++at) {
    char const c = text[at];
    if (c == '"') quoted = !quoted;
    if (quoted) {
      if (c == '\\') ++at;
      continue;
    }
    bool const ends = c == '}' || c == ']';
    if (depth == 0 && (ends || c == ',' || c == ' ' || c == '\t' || c == '\n' || c == '\r')) return at;
    if (c == '{' || c == '[') ++depth;
    if (ends) --depth;
    if (depth == 0 && (ends || c == '"')) return at + 1;
  }
  return text.size();
}

}  // namespace

Value Value::member(std::string_view name) const {
  for (Value const one : *this) {
    if (one.name() == name) return one;
  }
  return {};
}

std::string_view Value::source() const {
  std::string_view const rest = document_->text().substr(node_->source);
  return rest.substr(0, lengthOfValue(rest));
}

std::size_t Value::line() const {
  return static_cast<std::size_t>(std::ranges::count(document_->text().substr(0, node_->source), '\n')) + 1;
}

std::string shown(Value value) {
  // Line ends stand between the parts of a value only, with the indentation of the next line behind them.
  std::string line;
  bool ended = false;
  for (char const c : value.source()) {
    if (line.size() > kMostShown) break;
    ended = c == '\n' || c == '\r' || (ended && (c == ' ' || c == '\t'));
    if (!ended) line += c == '\t' ? ' ' : c;
  }
  return cut(line);
}

std::string shownText(std::string_view text) {
  // Text that is no UTF-8 must not make the refusal itself fail.
  return cut(jsonText(Json(headOf(text, kMostShown))));
}

Json jsonOf(Value value) {
  switch (value.type()) {
    case Value::Type::null:
      return nullptr;
    case Value::Type::boolean:
      return value.boolean();
    case Value::Type::natural:
      return value.natural();
    case Value::Type::negative:
      return value.negative();
    case Value::Type::real:
      return value.real();
    case Value::Type::text:
      return value.text();
    case Value::Type::array: {
      Json array = Json::array();
      for (Value const element : value) array.push_back(jsonOf(element));
      return array;
    }
    case Value::Type::object:
      break;
  }
  Json object = Json::object();
  for (Value const member : value) addMember(object, member.name(), jsonOf(member));  // by D3
  return object;
}

}  // namespace Inlif
