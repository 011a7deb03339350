// What the resource tables have handed out, read from the store beside the agent: the value of each key. A
// comparison takes from here what an entry that asks for a key must have got.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "LoamInLif/Kinds.h"

namespace Inlif {

class ResourceValues {
 public:
  // Reads all tables that the store has.
  ResourceValues();

  // Whether the store has the table of the kind.
  template <class Kind>
  bool has() const {
    return tables_.contains(Kind::resourceTableName);
  }
  // The value of a key, or nothing when it is not handed out.
  template <class Kind>
  std::optional<std::uint64_t> value(typename Kind::Key const& key) const {
    auto const found = values_.find(textOf<Kind>(key));
    return found == values_.end() ? std::nullopt : std::optional(found->second);
  }
  template <class Kind>
  static std::string textOf(typename Kind::Key const& key) {
    return fmt::format("{} {}", Kind::resourceTableName, key);
  }
  std::size_t size() const { return values_.size(); }
  // Tables that cannot be read, and indices that two keys have.
  std::vector<std::string> const& problems() const { return problems_; }

 private:
  template <class Kind>
  void read();

  std::set<std::string> tables_;
  std::map<std::string, std::uint64_t> values_;
  std::vector<std::string> problems_;
};

}  // namespace Inlif
