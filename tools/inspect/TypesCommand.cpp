#include "tools/inspect/TypesCommand.h"

#include <fmt/format.h>

#include <algorithm>
#include <vector>

#include "Pivot/TypeRecords.h"
#include "tools/inspect/Values.h"
#include "tools/support/Text.h"

namespace Inlif {
namespace {

using Pivot::Argument;
using Pivot::AttributeKind;
using Pivot::AttributeRecord;
using Pivot::TypeView;

// Modules are announced in an order of no meaning.
std::vector<Pivot::ModuleInspectData const*> modules() {
  auto all = Pivot::ModuleInspectData::all();
  std::ranges::sort(all, {}, [](auto const* module) { return std::string_view(module->name); });
  return all;
}

bool endsIn(std::string_view fullName, std::string_view name) {
  if (!fullName.ends_with(name)) return false;
  auto const before = fullName.substr(0, fullName.size() - name.size());
  return before.empty() || before.ends_with("::");
}

// A full name or a module excludes what merely ends in the name.
std::vector<TypeView> typesNamed(std::string const& name) {
  std::vector<TypeView> exact;
  std::vector<TypeView> ending;
  for (auto const* module : modules()) {
    for (std::uint32_t index = 0; index < module->typeCount; ++index) {
      TypeView const type(Pivot::TypeData{module, index});
      if (name.empty() || name == module->name || name == type.name()) exact.push_back(type);
      if (endsIn(type.name(), name)) ending.push_back(type);
    }
  }
  return exact.empty() ? ending : exact;
}

Json argumentsJson(Argument const* list) {
  Json out = Json::array();
  for (; list->name != nullptr; ++list) out.push_back({{"name", list->name}, {"type", list->type->name}});
  return out;
}

Json fieldJson(TypeView::Field const& field) {
  AttributeRecord const& row = *field.attribute;
  Json out = {{"attributeId", row.id}, {"name", row.name}, {"kind", attributeKindName(row.kind)}};
  out["type"] = row.type != nullptr ? Json(row.type->name) : Json();
  if (row.keyType != nullptr) out["keyType"] = row.keyType->name;
  if (row.kind == AttributeKind::operation)
    out["callable"] = row.operate != nullptr;
  else
    out["writable"] = row.writable;
  if (row.arguments != nullptr) out["arguments"] = argumentsJson(row.arguments);
  out["declaredBy"] = field.declaredBy.name();
  return out;
}

Json typeJson(TypeView const& type) {
  Json out = {{"type", type.name()}, {"moduleName", type.module().name}, {"index", type.typeData().index}};
  auto const base = type.base();
  out["base"] = base ? Json(base->name()) : Json();
  if (type.record().constructorArguments != nullptr)
    out["constructor"] = argumentsJson(type.record().constructorArguments);
  out["fields"] = Json::array();
  for (TypeView::Field const& field : type.fields()) out["fields"].push_back(fieldJson(field));
  return out;
}

std::string argumentsText(Argument const* list) {
  std::string text;
  for (; list->name != nullptr; ++list)
    text += fmt::format("{}{}: {}", text.empty() ? "" : ", ", list->name, list->type->name);
  return text;
}

// "stored rw", "collection rw (resPtr)", "operation, listed only": kind, and what may be done beyond reading it, with
// the arguments that a setter takes in place of a value.
std::string kindText(AttributeRecord const& row) {
  std::string text = attributeKindName(row.kind);
  if (row.writable) text += " rw";
  if (row.writable && row.arguments != nullptr) text += fmt::format(" ({})", argumentNames(row.arguments));
  if (row.kind == AttributeKind::operation && row.operate == nullptr) text += ", listed only";
  return text;
}

std::string nameText(AttributeRecord const& row) {
  if (row.kind != AttributeKind::operation) return row.name;
  return fmt::format("{}({})", row.name, argumentNames(row.arguments));
}

std::string typeText(AttributeRecord const& row) {
  std::string const type = row.type != nullptr ? row.type->name : "-";
  return row.keyType != nullptr ? fmt::format("{} to {}", row.keyType->name, type) : type;
}

void printType(TypeView const& type, Output const& output) {
  static Columns const kColumns{{"", 7, kRight}, {"", 34}, {"", 22}, {""}};
  output.print({type.name(), Tone::heading});
  output.print({fmt::format("  module {}, index {}", type.module().name, type.typeData().index)});
  if (auto const base = type.base()) output.print({fmt::format("  base {}", base->name())});
  if (type.record().constructorArguments != nullptr)
    output.print({fmt::format("  made from ({})", argumentsText(type.record().constructorArguments))});
  Pivot::TypeData declaredBy{};
  for (TypeView::Field const& field : type.fields()) {
    bool const inherited =
        field.declaredBy.module != type.typeData().module || field.declaredBy.index != type.typeData().index;
    if (declaredBy.module != field.declaredBy.module || declaredBy.index != field.declaredBy.index)
      output.print({inherited ? "  from " + std::string(field.declaredBy.name()) : "  own"});
    declaredBy = field.declaredBy;
    AttributeRecord const& row = *field.attribute;
    output.print(rowOf(kColumns, {std::to_string(row.id), nameText(row), kindText(row), typeText(row)}));
  }
}

void printModules(Output const& output) {
  for (auto const* module : modules()) {
    output.print({module->name, Tone::heading});
    for (std::uint32_t index = 0; index < module->typeCount; ++index) {
      TypeView const type(Pivot::TypeData{module, index});
      auto const base = type.base();
      output.print({fmt::format("  {:>2}  {}{}, {} of {} fields its own", index, type.name(),
                                base ? fmt::format(" on {}", base->name()) : "", type.attributes().size(),
                                type.fields().size())});
    }
  }
}

}  // namespace

Outcome runTypes(TypesOptions const& options) {
  Output const output(options.verbose);
  if (options.name.empty() && !options.json) {
    printModules(output);
    return Outcome::done();
  }
  std::vector<TypeView> const types = typesNamed(options.name);
  for (TypeView const& type : types) {
    if (options.json)
      fmt::print("{}\n", jsonText(typeJson(type)));
    else
      printType(type, output);
  }
  if (!types.empty()) return Outcome::done();
  return Outcome::wrong(Pivot::Status::refused(fmt::format(
      "types {}: there is no such type or module; expected the full name of one or its end behind "
      "::, as inlif types lists them",
      options.name)));
}

}  // namespace Inlif
