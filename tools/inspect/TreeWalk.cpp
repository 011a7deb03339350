#include "tools/inspect/TreeWalk.h"

#include <exception>

#include "Pivot/RootRecords.h"
#include "tools/inspect/Values.h"

namespace Inlif {
namespace {

using Pivot::AttributeKind;
using Pivot::OpCode;
using Pivot::OpResult;
using Pivot::OpStatus;
using Pivot::TypeView;
using Below = std::unique_ptr<TreeWalk::Level>;
using NamedValue = std::pair<std::string, OpResult>;

void tellValue(OpResult const& value, Json& node, Below& below);

// Values at hand.
class ValuesLevel final : public TreeWalk::Level {
 public:
  explicit ValuesLevel(std::vector<NamedValue> values) : values_(std::move(values)) {}

  bool next(Json& node, Below& below) override {
    if (at_ == values_.size()) return false;
    auto const& [name, value] = values_[at_++];
    node["name"] = name;
    tellValue(value, node, below);
    return true;
  }

 private:
  std::vector<NamedValue> values_;
  std::size_t at_ = 0;
};

class MembersLevel final : public TreeWalk::Level {
 public:
  MembersLevel(OpResult const& owner, Pivot::FieldId collection)
      : walk_(*owner.view(), owner.object(), collection) {}

  bool next(Json& node, Below& below) override {
    if (!walk_) return false;
    OpResult result;
    walk_.key(result);
    node["name"] = wordOf(result);
    walk_.object(result);
    tellValue(result, node, below);
    walk_.inc();
    return true;
  }

 private:
  Vex::MemberWalk walk_;
};

// Fields of an object or a struct, which it keeps. Operations are left out: they have no value.
class FieldsLevel final : public TreeWalk::Level {
 public:
  FieldsLevel(OpResult owner, std::vector<TypeView::Field> fields)
      : owner_(std::move(owner)), type_(*owner_.view()), fields_(std::move(fields)) {}

  bool next(Json& node, Below& below) override {
    while (at_ < fields_.size() && fields_[at_].attribute->kind == AttributeKind::operation) ++at_;
    if (at_ == fields_.size()) return false;
    Pivot::AttributeRecord const& row = *fields_[at_++].attribute;
    node["name"] = row.name;
    try {
      if (row.keyType != nullptr) {
        tellCollection(row, node, below);
      } else {
        OpResult value;
        if (read(value, row, OpCode::read))
          tellValue(value, node, below);
        else
          node["problem"] = "cannot be read";
      }
    } catch (std::exception const& failure) {
      node["problem"] = failure.what();
    }
    return true;
  }

 private:
  bool read(OpResult& result, Pivot::AttributeRecord const& row, OpCode code) const {
    return type_.inspect(result, owner_.object(), row.id, code) == OpStatus::done;
  }
  void tellCollection(Pivot::AttributeRecord const& row, Json& node, Below& below) const {
    OpResult result;
    read(result, row, OpCode::count);
    node["count"] = leafJson(result);
    node["keyType"] = row.keyType->name;
    node["type"] = row.type->name;
    if (row.kind != AttributeKind::queue) {
      below = std::make_unique<MembersLevel>(owner_, row.id);
      return;
    }
    // A queue has no iterator; its ends can be seen.
    std::vector<NamedValue> ends;
    if (node["count"] != 0 && read(result, row, OpCode::front)) ends.emplace_back("front", result);
    if (node["count"] != 0 && read(result, row, OpCode::back)) ends.emplace_back("back", result);
    below = std::make_unique<ValuesLevel>(std::move(ends));
  }

  OpResult const owner_;
  TypeView const type_;
  std::vector<TypeView::Field> const fields_;
  std::size_t at_ = 0;
};

// One node above values: the top of all roots.
class TopLevel final : public TreeWalk::Level {
 public:
  explicit TopLevel(std::vector<NamedValue> values) : values_(std::move(values)) {}

  bool next(Json& node, Below& below) override {
    if (told_) return false;
    told_ = true;
    node["name"] = "/";
    node["count"] = values_.size();
    below = std::make_unique<ValuesLevel>(std::move(values_));
    return true;
  }

 private:
  std::vector<NamedValue> values_;
  bool told_ = false;
};

void tellValue(OpResult const& value, Json& node, Below& below) {
  if (!hasParts(value)) {
    node["value"] = leafJson(value);
    return;
  }
  TypeView const type = *value.view();
  node["type"] = type.name();
  // A struct shows its text where its parts are not shown.
  if (!value.type()->isPointer()) node["value"] = value.text();
  below = std::make_unique<FieldsLevel>(value, type.fields());
}

}  // namespace

TreeWalk::TreeWalk(Place const& place, std::string name, unsigned depth)
    : name_(std::move(name)), depth_(depth) {
  // A collection as a whole is told as a field of its object.
  if (place.isWhole())
    levels_.push_back(std::make_unique<FieldsLevel>(place.owner, std::vector{*place.field}));
  else
    levels_.push_back(std::make_unique<ValuesLevel>(std::vector{NamedValue(name_, place.value)}));
}

TreeWalk::TreeWalk(std::vector<Root> const& roots, unsigned depth) : name_("/"), depth_(depth) {
  std::vector<NamedValue> values;
  for (Root const& root : roots) {
    OpResult value;
    Pivot::Inspect::opResEncRelNode(value, Pivot::Ptr<Pivot::Node>(root.object));
    values.emplace_back(root.name, std::move(value));
  }
  levels_.push_back(std::make_unique<TopLevel>(std::move(values)));
}

bool TreeWalk::step(Json& node) {
  while (!levels_.empty()) {
    std::size_t const level = levels_.size() - 1;
    node = {{"depth", level}};
    std::unique_ptr<Level> below;
    if (!levels_.back()->next(node, below)) {
      levels_.pop_back();
      continue;
    }
    if (level == 0) node["name"] = name_;
    if (below && level < depth_) {
      // Of a struct whose parts follow, the text would say them twice.
      if (node.contains("type") && !node.contains("count")) node.erase("value");
      levels_.push_back(std::move(below));
    }
    return true;
  }
  return false;
}

}  // namespace Inlif
