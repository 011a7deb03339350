#include "tools/inspect/NodePrinter.h"

#include <fmt/format.h>

#include <vector>

namespace Inlif {
namespace {

// "name: value", "name  Class", "name: 3 members, Key to Class".
class TreePrinter final : public NodePrinter {
 public:
  explicit TreePrinter(Output const& output) : output_(output) {}
  void print(Json const& node) override {
    std::string line(2 * node["depth"].get<std::size_t>(), ' ');
    line += bareText(node["name"]);
    if (node.contains("problem")) {
      line += fmt::format(": ({})", bareText(node["problem"]));
    } else if (node.contains("count")) {
      line += fmt::format(": {} {}", jsonText(node["count"]), node["count"] == 1 ? "member" : "members");
      if (node.contains("keyType"))
        line += fmt::format(", {} to {}", bareText(node["keyType"]), bareText(node["type"]));
    } else if (node.contains("value")) {
      line += ": " + bareText(node["value"]);
    } else {
      line += "  " + bareText(node["type"]);
    }
    output_.print({std::move(line)});
  }
  void end() override {}

 private:
  Output const output_;
};

// One document: an object or struct is {"@type": class, field: ...}, a collection {"@count": n, key: ...}, a
// word itself. It is written as the nodes come, so that its size does not matter.
class JsonPrinter final : public NodePrinter {
 public:
  void print(Json const& node) override {
    auto const depth = node["depth"].get<std::size_t>();
    closeTo(depth);
    if (depth > 0) {
      fmt::print("{}\n{:{}}{}: ", open_.back() ? "," : "", "", 2 * depth,
                 jsonText(Json(bareText(node["name"]))));
      open_.back() = true;
    }
    if (node.contains("problem")) {
      fmt::print("{}", jsonText({{"@problem", node["problem"]}}));
    } else if (node.contains("value")) {
      fmt::print("{}", jsonText(node["value"]));
    } else {
      bool const isCollection = node.contains("count");
      fmt::print("{{\n{:{}}\"{}\": {}", "", 2 * depth + 2, isCollection ? "@count" : "@type",
                 jsonText(node[isCollection ? "count" : "type"]));
      open_.push_back(true);
    }
  }
  void end() override {
    closeTo(0);
    fmt::print("\n");
  }

 private:
  // Ends what is open at `depth` and below.
  void closeTo(std::size_t depth) {
    while (open_.size() > depth) {
      open_.pop_back();
      fmt::print("\n{:{}}}}", "", 2 * open_.size());
    }
  }

  // The objects that are open, and whether each has a member.
  std::vector<bool> open_;
};

}  // namespace

std::unique_ptr<NodePrinter> NodePrinter::make(bool json, Output const& output) {
  if (json) return std::make_unique<JsonPrinter>();
  return std::make_unique<TreePrinter>(output);
}

}  // namespace Inlif
