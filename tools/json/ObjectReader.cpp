#include "tools/json/ObjectReader.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <set>

#include "Vex/PlainText.h"
#include "tools/json/NearName.h"

namespace Inlif {
namespace {

// A refusal may hold what others made of a text from outside. The value stands at its beginning and the expectation
// at its end: what is too long is cut between them.
std::string oneLine(std::string message) {
  constexpr std::size_t kMostHead = 400;
  constexpr std::size_t kMostTail = 600;
  if (message.size() > kMostHead + kMostTail)
    message.replace(kMostHead, message.size() - kMostHead - kMostTail, " ... ");
  return Vex::withoutControls(message);
}

}  // namespace

bool numberFrom(std::string_view text, std::uint64_t& out) {
  bool const hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), out, hex ? 16 : 10);
  return error == std::errc() && end == text.data() + text.size();
}

bool numberFrom(Value value, std::uint64_t& out) {
  if (value.isText()) return numberFrom(value.text(), out);
  if (value.type() != Value::Type::natural) return false;
  out = value.natural();
  return true;
}

Pivot::Status operationFrom(std::string_view line, Document& out) {
  Pivot::Status status = out.parse(line);
  if (!status.isOk()) return Pivot::Status::refused("no operation: " + status.message());
  if (out.root().isObject()) return status;
  return Pivot::Status::refused(
      fmt::format("no operation: {}; expected one JSON object a line", shown(out.root())));
}

std::string ObjectPlace::text() const {
  std::string text = outer_ ? outer_->text() + ": " : "";
  text += what_;
  if (!name_.empty()) text += " " + shownText(name_);
  return text;
}

ObjectReader::ObjectReader(Value object, ObjectPlace const& place)
    : object_(object.isObject() ? object : Value()), place_(place) {
  if (!object_) refuse(fmt::format("{} is no object; expected {{\"name\": value, ...}}", shown(object)));
}

Value ObjectReader::member(std::string_view name) {
  known_.push_back(name);
  return object_ ? object_.member(name) : Value();
}

Value ObjectReader::required(std::string_view name, std::string_view expected) {
  Value const value = member(name);
  if (!value) refuse(fmt::format("'{}' is missing; expected {}", name, expected));
  return value;
}

std::uint64_t ObjectReader::numberOf(std::string_view name, Value value, std::uint64_t most,
                                     std::uint64_t least) {
  std::uint64_t number = 0;
  if (numberFrom(value, number) && number >= least && number <= most) return number;
  refuse(fmt::format("'{}' is {}; expected a whole number from {} to {}, decimal or \"0x...\"", name,
                     shown(value), least, most));
  return least;
}

std::uint64_t ObjectReader::number(std::string_view name, std::uint64_t most, std::uint64_t least) {
  Value const value = member(name);
  if (value) return numberOf(name, value, most, least);
  refuse(fmt::format("'{}' is missing; expected a whole number from {} to {}", name, least, most));
  return least;
}

std::uint64_t ObjectReader::numberOr(std::string_view name, std::uint64_t fallback, std::uint64_t most,
                                     std::uint64_t least) {
  Value const value = member(name);
  return value ? numberOf(name, value, most, least) : fallback;
}

bool ObjectReader::booleanOr(std::string_view name, bool fallback) {
  Value const value = member(name);
  if (!value) return fallback;
  if (value.type() == Value::Type::boolean) return value.boolean();
  refuse(fmt::format("'{}' is {}; expected true or false", name, shown(value)));
  return fallback;
}

std::string_view ObjectReader::text(std::string_view name) {
  if (!has(name)) refuse(fmt::format("'{}' is missing; expected a text", name));
  return textOr(name, "");
}

std::string_view ObjectReader::textOr(std::string_view name, std::string_view fallback) {
  Value const value = member(name);
  if (!value) return fallback;
  if (value.isText()) return value.text();
  refuse(fmt::format("'{}' is {}; expected a text", name, shown(value)));
  return fallback;
}

void ObjectReader::refuse(std::string const& message) {
  if (refusal_.empty()) refusal_ = oneLine(place_.text() + ": " + message);
}

void ObjectReader::adopt(Pivot::Status const& nested) {
  if (refusal_.empty() && !nested.isOk()) refusal_ = nested.message();
}

Pivot::Status ObjectReader::finish() {
  if (isOk()) {
    for (Value const member : object_) {
      if (std::ranges::find(known_, member.name()) != known_.end()) continue;
      std::set<std::string_view> const names(known_.begin(), known_.end());
      refuse(fmt::format("{} is no member here; expected some of {}", shownText(member.name()),
                         fmt::join(names, ", ")));
      break;
    }
  }
  return status();
}

Pivot::Status ObjectReader::finishLenient() {
  if (!isOk()) return status();
  for (Value const member : object_) {
    auto const near =
        std::ranges::find_if(known_, [&](std::string_view known) { return isNear(member.name(), known); });
    if (near == known_.end() || object_.member(*near)) continue;
    refuse(fmt::format("{} is no member here; expected \"{}\", if that is meant", shownText(member.name()),
                       *near));
    break;
  }
  return status();
}

Pivot::Status ObjectReader::status() const {
  return isOk() ? Pivot::Status::ok() : Pivot::Status::refused(refusal_);
}

}  // namespace Inlif
