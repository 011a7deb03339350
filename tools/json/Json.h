// JSON as it is printed: messages and reports are made as trees of this type. What comes from outside is never
// parsed into it; see Document.h.
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

namespace Inlif {

// Members keep the order in which they were written, so that answers read the way they were made.
using Json = nlohmann::ordered_json;

// A value on one line. What people, files and other programs have given may be no UTF-8: such bytes are replaced, since the
// library's own function would throw. Control characters are escaped, those too that JSON need not escape.
std::string jsonText(Json const& value);
// The same for people: a text without its quotes.
std::string bareText(Json const& value);

// Adds a member without the search for one of its name, which would make large objects cost the square of their
// size. REQUIRES: `object` is an object and has no such member.
inline void addMember(Json& object, std::string_view name, Json value) {
  Json::object_t::Container& members = object.get_ref<Json::object_t&>();
  members.emplace_back(name, std::move(value));
}

}  // namespace Inlif
