// An agent with one table that has everything a record can show: a committed entry with all ten resources, the
// same key written again and still waiting, another removed, a marked key. All of it is reached as a tool
// reaches it, from the interface through the records.
#pragma once

#include <algorithm>

#include "Pivot/CollectionIterator.h"
#include "Pivot/OpResult.h"
#include "support/TableFixture.h"
#include "types/TypeNames.h"

namespace TestSupport {

inline bool isAttribute(Pivot::AttributeRecord const& row) {
  return row.kind == Pivot::AttributeKind::stored || row.kind == Pivot::AttributeKind::computed;
}

// The objects that an object holds or points to, found through its record.
inline std::vector<Pivot::Ptr<Pivot::Node>> neighbours(Pivot::Node& object) {
  auto const type = Pivot::TypeView::of(object);
  std::vector<Pivot::Ptr<Pivot::Node>> found;
  Pivot::OpResult result;
  for (auto const& field : type.fields()) {
    Pivot::AttributeRecord const& row = *field.attribute;
    if (isAttribute(row)) {
      EXPECT_EQ(type.inspect(result, &object, row.id, Pivot::OpCode::read), Pivot::OpStatus::done)
          << row.name;
      if (auto node = result.node()) found.push_back(node);
    } else if (row.kind == Pivot::AttributeKind::queue) {
      type.inspect(result, &object, row.id, Pivot::OpCode::front);
      if (auto node = result.node()) found.push_back(node);
    }
    for (Vex::MemberWalk walk(type, &object, row.id); walk; walk.inc()) {
      walk.object(result);
      if (auto node = result.node()) found.push_back(node);
    }
  }
  return found;
}

// Everything that can be reached from an object, the nearest first.
inline std::vector<Pivot::Ptr<Pivot::Node>> reachable(Pivot::Node& from) {
  std::vector<Pivot::Ptr<Pivot::Node>> all{Pivot::Ptr<Pivot::Node>(&from)};
  for (std::size_t at = 0; at < all.size(); ++at) {
    Pivot::Ptr<Pivot::Node> const object = all[at];
    for (auto const& other : neighbours(*object)) {
      if (std::find(all.begin(), all.end(), other) == all.end()) all.push_back(other);
    }
  }
  return all;
}

template <class I>
class InspectedWorld : public TableFixture<I> {
 protected:
  // Unit 0, so that a default unit id names it.
  void SetUp() override {
    this->world_ = std::make_unique<AgentWorld>();
    this->table_ = this->makeTable(0);
    auto complete = this->write(0);
    LoamInLif::forEachKind([&]<class Kind>() { complete.template needs<Kind>(1); });
    complete.go();
    this->resolve();
    this->table_->mark();
    this->write(0, 2).go();
    this->remove(1).go();
  }

  Pivot::Ptr<Pivot::Node> interface() { return this->world_->template interface<I>(); }

  // An object of a type for a key, value or argument: of an id or a number one that fits the world, of a
  // pointer the nearest object that it can point to.
  static std::shared_ptr<void> made(Pivot::ValueType const& type,
                                    std::vector<Pivot::Ptr<Pivot::Node>> const& near) {
    auto const value = type.make();
    if (std::string_view(type.name) == "Asic::SwTableId") {
      *static_cast<Asic::SwTableId*>(value.get()) = I::tableId;
    }
    for (std::size_t i = 0; type.isPointer() && i < near.size(); ++i) {
      if (type.pointTo(value.get(), near[i].get())) break;
    }
    return value;
  }

  // The arguments of a list, and the array of pointers that an operation takes.
  struct Arguments {
    std::vector<std::shared_ptr<void>> values;
    std::vector<void const*> pointers;
  };
  static Arguments arguments(Pivot::Argument const* list, std::vector<Pivot::Ptr<Pivot::Node>> const& near) {
    Arguments arguments;
    for (; list->name != nullptr; ++list) {
      arguments.values.push_back(made(*list->type, near));
      arguments.pointers.push_back(arguments.values.back().get());
    }
    return arguments;
  }
};

}  // namespace TestSupport
