#include "tools/json/ObjectReader.h"

#include <fmt/format.h>

#include <charconv>

namespace Inlif {

std::string shown(Json const& value) {
  // Text that is no UTF-8 must not make the refusal itself fail.
  std::string text = value.dump(-1, ' ', false, Json::error_handler_t::replace);
  if (text.size() > 80) text = text.substr(0, 77) + "...";
  return text;
}

bool numberFrom(std::string_view text, std::uint64_t& out) {
  bool const hex = text.starts_with("0x") || text.starts_with("0X");
  if (hex) text.remove_prefix(2);
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), out, hex ? 16 : 10);
  return error == std::errc() && end == text.data() + text.size();
}

bool numberFrom(Json const& value, std::uint64_t& out) {
  // A number that a program made may be of a signed type.
  if (value.is_number_unsigned() || (value.is_number_integer() && value.get<std::int64_t>() >= 0)) {
    out = value.get<std::uint64_t>();
    return true;
  }
  return value.is_string() && numberFrom(std::string_view(value.get_ref<std::string const&>()), out);
}

Pivot::Status objectFrom(std::string_view line, Json& out) {
  try {
    out = Json::parse(line);
  } catch (Json::parse_error const& error) {
    std::string_view head = line.substr(0, 60);
    return Pivot::Status::refused(
        fmt::format("not JSON at character {}: {}{}; expected one JSON object a line", error.byte, head,
                    line.size() > head.size() ? "..." : ""));
  }
  if (out.is_object()) return Pivot::Status::ok();
  return Pivot::Status::refused(
      fmt::format("{} is no operation; expected one JSON object a line", shown(out)));
}

ObjectReader::ObjectReader(Json const& object, std::string place)
    : object_(&object), place_(std::move(place)) {
  if (!object.is_object())
    refuse(fmt::format("{} is no object; expected {{\"name\": value, ...}}", shown(object)));
}

bool ObjectReader::has(std::string_view name) const {
  return object_->is_object() && object_->contains(name);
}

Json const* ObjectReader::member(std::string_view name) {
  known_.emplace(name);
  if (!object_->is_object()) return nullptr;
  auto const found = object_->find(name);
  return found == object_->end() ? nullptr : &*found;
}

Json const* ObjectReader::required(std::string_view name, std::string_view expected) {
  Json const* value = member(name);
  if (!value) refuse(fmt::format("'{}' is missing; expected {}", name, expected));
  return value;
}

std::uint64_t ObjectReader::numberOf(std::string_view name, Json const& value, std::uint64_t most,
                                     std::uint64_t least) {
  std::uint64_t number = 0;
  if (numberFrom(value, number) && number >= least && number <= most) return number;
  refuse(fmt::format("'{}' is {}; expected a whole number from {} to {}, decimal or \"0x...\"", name,
                     shown(value), least, most));
  return least;
}

std::uint64_t ObjectReader::number(std::string_view name, std::uint64_t most, std::uint64_t least) {
  Json const* value = member(name);
  if (value) return numberOf(name, *value, most, least);
  refuse(fmt::format("'{}' is missing; expected a whole number from {} to {}", name, least, most));
  return least;
}

std::uint64_t ObjectReader::numberOr(std::string_view name, std::uint64_t fallback, std::uint64_t most,
                                     std::uint64_t least) {
  Json const* value = member(name);
  return value ? numberOf(name, *value, most, least) : fallback;
}

bool ObjectReader::booleanOr(std::string_view name, bool fallback) {
  Json const* value = member(name);
  if (!value) return fallback;
  if (value->is_boolean()) return value->get<bool>();
  refuse(fmt::format("'{}' is {}; expected true or false", name, shown(*value)));
  return fallback;
}

std::string ObjectReader::text(std::string_view name) {
  if (!has(name)) refuse(fmt::format("'{}' is missing; expected a text", name));
  return textOr(name, "");
}

std::string ObjectReader::textOr(std::string_view name, std::string fallback) {
  Json const* value = member(name);
  if (!value) return fallback;
  if (value->is_string()) return value->get<std::string>();
  refuse(fmt::format("'{}' is {}; expected a text", name, shown(*value)));
  return fallback;
}

void ObjectReader::refuse(std::string const& message) {
  if (refusal_.empty()) refusal_ = place_ + ": " + message;
}

void ObjectReader::adopt(Pivot::Status const& nested) {
  if (refusal_.empty() && !nested.isOk()) refusal_ = nested.message();
}

Pivot::Status ObjectReader::finish() {
  if (isOk()) {
    for (auto const& [name, value] : object_->items()) {
      if (known_.contains(name)) continue;
      std::string names;
      for (auto const& known : known_) names += (names.empty() ? "" : ", ") + known;
      refuse(fmt::format("'{}' is no member here; expected some of {}", name, names));
      break;
    }
  }
  return finishLenient();
}

Pivot::Status ObjectReader::finishLenient() const {
  return isOk() ? Pivot::Status::ok() : Pivot::Status::refused(refusal_);
}

}  // namespace Inlif
