// The vocabulary of JSON, as its page tells it, held against what the programs really print: every name must be on the
// page, with the type that the page gives it.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "tools/json/Json.h"

namespace Inlif {

class Members {
 public:
  // Those of the page, type by name.
  static std::map<std::string, std::string> const& known() {
    static std::map<std::string, std::string> const members = read();
    return members;
  }
  // Every member of a message, at any depth.
  static void expectKnown(Json const& message) {
    if (message.is_array()) {
      for (Json const& one : message) expectKnown(one);
    } else if (message.is_object()) {
      for (auto const& [name, value] : message.items()) expectMember(name, value);
    }
  }
  // The lines of an output that are JSON, or the one document that it is.
  static void expectKnownIn(std::string const& output) {
    Json const document = Json::parse(output, nullptr, false);
    if (document.is_object() && !document.empty() && document.begin().key().starts_with('@'))
      return expectMember(document.begin().key(),
                          document.begin().value());  // the other names are those of fields
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);)
      if (Json const message = Json::parse(line, nullptr, false); message.is_object()) expectKnown(message);
  }

 private:
  static std::map<std::string, std::string> read() {
    std::map<std::string, std::string> members;
    std::ifstream page(MEMBERS_PAGE);
    for (std::string line; std::getline(page, line);) {
      if (!line.starts_with("| `")) continue;
      std::size_t const end = line.find("` | ");
      std::string const name = line.substr(3, end - 3);
      std::size_t const type = end + 4;
      EXPECT_TRUE(members.emplace(name, line.substr(type, line.find(" |", type) - type)).second) << name;
    }
    return members;
  }
  static char const* typeOf(Json const& value) {
    return value.is_number()    ? "number"
           : value.is_string()  ? "text"
           : value.is_boolean() ? "bool"
           : value.is_array()   ? "list"
           : value.is_null()    ? "null"
                                : "object";
  }
  static void expectMember(std::string const& name, Json const& value) {
    auto const member = known().find(name);
    if (member == known().end()) {
      ADD_FAILURE() << name << " is not on the page of members: " << value;
    } else if (member->second.starts_with("map")) {
      EXPECT_TRUE(value.is_object()) << name << ": " << value;
      if (member->second == "map")
        for (Json const& one : value) expectKnown(one);
    } else if (member->second != "any") {
      EXPECT_NE((" or " + member->second + " or ").find(std::string(" or ") + typeOf(value) + " or "),
                std::string::npos)
          << name << " is " << value << ", not " << member->second;
      expectKnown(value);
    }
  }
};

}  // namespace Inlif
