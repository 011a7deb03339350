#include "tools/inspect/Values.h"

#include <fmt/format.h>

#include <algorithm>

namespace Inlif {
namespace {

using Pivot::AttributeRecord;
using Pivot::OpCode;
using Pivot::OpResult;
using Pivot::OpStatus;
using Pivot::Status;
using Pivot::TypeView;
using Pivot::ValueType;

template <class Number>
bool numberJson(OpResult const& value, Json& out) {
  Number const* const number = value.as<Number>();
  if (number) out = *number;
  return number != nullptr;
}

bool isPlaced(AttributeRecord const& field) {
  return field.place != AttributeRecord::kNoPlace && field.type != nullptr;
}

std::optional<TypeView> structOf(ValueType const& type) {
  if (type.isPointer() || type.record.module == nullptr) return std::nullopt;
  return TypeView(type.record);
}

// Of a struct that is one word under a name of its own.
AttributeRecord const* onlyField(TypeView const& view) {
  return view.attributes().size() == 1 ? &view.attributes().front() : nullptr;
}

Status fill(Given const& from, ValueType const& type, std::string const& place, ObjectFinder const& find,
            void* value);

Status fillPointer(Given const& from, ValueType const& type, std::string const& place,
                   ObjectFinder const& find, void* value) {
  Pivot::Ptr<Pivot::Node> object;
  if (!from.isNull()) {
    if (!from.isText())
      return Status::refused(
          fmt::format("{}: {} is no {}; expected the path of one, or null", place, from.shown(), type.name));
    Status status = find(std::string(from.text()), object);
    if (!status.isOk()) return Status::refused(fmt::format("{}: {}", place, status.message()));
  }
  if (type.pointTo(value, object.get())) return Status::ok();
  return Status::refused(fmt::format("{}: {} is a {}; expected a {}", place, from.shown(),
                                     object->typeData().name(), type.name));
}

Status fillStruct(Value from, TypeView const& view, std::string const& place, ObjectFinder const& find,
                  void* value) {
  for (Value const part : from) {
    auto const field = view.field(part.name());
    if (!field || !isPlaced(*field->attribute)) {
      std::string names;
      for (AttributeRecord const& one : view.attributes()) {
        if (isPlaced(one)) names += fmt::format("{}{}", names.empty() ? "" : ", ", one.name);
      }
      return Status::refused(fmt::format("{}: {} has no field {} to set; expected {}", place, view.name(),
                                         shownText(part.name()),
                                         names.empty() ? "none, it cannot be given" : "some of " + names));
    }
    Status status = fill(part, *field->attribute->type, fmt::format("{}: {}", place, part.name()), find,
                         static_cast<char*>(value) + field->attribute->place);
    if (!status.isOk()) return status;
  }
  return Status::ok();
}

Status fill(Given const& from, ValueType const& type, std::string const& place, ObjectFinder const& find,
            void* value) {
  if (type.pointTo != nullptr) return fillPointer(from, type, place, find, value);
  auto const view = structOf(type);
  if (from.isObject() && view) return fillStruct(from.object(), *view, place, find, value);
  if (AttributeRecord const* const only = view ? onlyField(*view) : nullptr; only && isPlaced(*only))
    return fill(from, *only->type, place, find, static_cast<char*>(value) + only->place);
  if (type.fromText != nullptr && type.fromText(value, from.text())) return Status::ok();
  return Status::refused(fmt::format("{}: {} is no {}; expected {}", place, from.shown(), type.name,
                                     type.fromText != nullptr ? "its text"
                                     : view                   ? "an object with its fields"
                                                              : "nothing, it cannot be given"));
}

}  // namespace

Json leafJson(OpResult const& value) {
  Json out;
  if (value.empty() || (value.type()->isPointer() && !value.node())) return out;
  if (numberJson<bool>(value, out) || numberJson<std::uint8_t>(value, out) ||
      numberJson<std::uint16_t>(value, out) || numberJson<std::uint32_t>(value, out) ||
      numberJson<std::uint64_t>(value, out) || numberJson<double>(value, out)) {
    return out;
  }
  auto const view = structOf(*value.type());
  if (AttributeRecord const* const only = view ? onlyField(*view) : nullptr) {
    OpResult field;
    if (view->inspect(field, value.object(), only->id, OpCode::read) == OpStatus::done)
      return leafJson(field);
  }
  return value.text();
}

std::string wordOf(OpResult const& value) {
  return bareText(leafJson(value));
}

bool hasParts(OpResult const& value) {
  if (value.empty()) return false;
  if (value.type()->isPointer()) return value.node() != nullptr;
  auto const view = structOf(*value.type());
  return view && view->attributes().size() > 1 && std::ranges::any_of(view->attributes(), isPlaced);
}

Status makeValue(Given const& from, ValueType const& type, std::string const& place, ObjectFinder const& find,
                 std::shared_ptr<void>& value) {
  if (type.make == nullptr) return Status::refused(fmt::format("{}: a {} cannot be given", place, type.name));
  value = type.make();
  return fill(from, type, place, find, value.get());
}

std::string argumentNames(Pivot::Argument const* list) {
  std::string names;
  for (; list != nullptr && list->name != nullptr; ++list)
    names += fmt::format("{}{}", names.empty() ? "" : ", ", list->name);
  return names;
}

Status ArgumentValues::make(std::span<Given const> from, Pivot::Argument const* list,
                            std::string const& place, ObjectFinder const& find) {
  std::size_t count = 0;
  while (list[count].name != nullptr) ++count;
  if (from.size() != count) {
    return Status::refused(fmt::format("{}: {} arguments given; expected {}{}", place, from.size(), count,
                                       count == 0 ? "" : ": " + argumentNames(list)));
  }
  for (std::size_t i = 0; i < count; ++i) {
    std::shared_ptr<void> value;
    Status status =
        makeValue(from[i], *list[i].type, fmt::format("{}: {}", place, list[i].name), find, value);
    if (!status.isOk()) return status;
    pointers_.push_back(value.get());
    values_.push_back(std::move(value));
  }
  return Status::ok();
}

}  // namespace Inlif
