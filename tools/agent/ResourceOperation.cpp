#include "tools/agent/ResourceOperation.h"

#include <fmt/format.h>

#include <optional>
#include <vector>

#include "Bursar/Steering.h"
#include "LoamInLif/Kinds.h"
#include "OrderedTable/TableName/TableName.h"
#include "tools/json/EntryJson.h"
#include "tools/json/MemberNames.h"
#include "tools/support/Tables.h"

namespace Inlif {
namespace {

using Asic::EntryState;
using BursarResourceTable::Steering;

struct StateWord {
  char const* word;
  EntryState state;
};
constexpr StateWord kStates[] = {
    {"unresolved", EntryState::entryStateUnresolved}, {"inLog", EntryState::entryStateInLog},
    {"rejected", EntryState::entryStateRejected},     {"done", EntryState::entryStateDone},
    {"failed", EntryState::entryStateFailed},         {"resolveFailed", EntryState::entryStateResolveFailed}};

// What one operation asks for.
struct Aim {
  Steering* table = nullptr;
  std::vector<std::byte> key;  // empty: the table as a whole
  Steering::Change change;
  std::optional<EntryState> defaultState;
  std::optional<std::uint64_t> capacity;
};

std::optional<EntryState> stateFrom(ObjectReader& in, char const* name) {
  if (!in.has(name)) return std::nullopt;
  std::string_view const text = in.text(name);
  std::string words;
  for (StateWord const& known : kStates) {
    if (text == known.word) return known.state;
    words += fmt::format("{}{}", words.empty() ? "" : ", ", known.word);
  }
  in.refuse(fmt::format("'{}' is {}; expected one of {}", name, shownText(text), words));
  return std::nullopt;
}

template <class Kind>
void aimAt(Asic::OrderedTableInterface& framework, ObjectReader& in, char const* name, Aim& aim) {
  Asic::CanonicalTableName const canonical(Asic::OrderedTableType::resourceTable, "", Kind::resourceNamespace,
                                           Kind::resourceTableName);
  aim.table = dynamic_cast<Steering*>(framework.resourceTable(canonical.name()).get());
  Value const value = in.member("key");
  if (!value) return;
  typename Kind::Key key;
  in.adopt(keyFrom(value, in.place().inside(name), key));
  if (in.isOk() && Kind::isNullKey(key))
    in.refuse(fmt::format("'key' is {}, the null key; expected a key that names a {}", shown(value), name));
  auto const* bytes = reinterpret_cast<std::byte const*>(&key);
  aim.key.assign(bytes, bytes + sizeof key);
}

void tableFrom(Asic::OrderedTableInterface& framework, ObjectReader& in, Aim& aim) {
  std::string_view const name = in.text("resource");
  LoamInLif::forEachKind([&]<class Kind>() {
    char const* known = keyName<Kind>();
    if (name == known) aimAt<Kind>(framework, in, known, aim);
  });
  if (aim.table || !in.isOk()) return;
  std::string names;
  for (char const* known : kKeyNames) names += fmt::format("{}{}", names.empty() ? "" : ", ", known);
  in.refuse(fmt::format("'resource' is {}; expected one of {}", shownText(name), names));
}

void neededFrom(ObjectReader& in, Aim& aim) {
  Value const value = in.member("needed");
  if (!value) return;
  ObjectReader needed(value, in.place().inside("needed"));
  std::string_view const name = needed.text("table");
  std::size_t index = 0;
  if (needed.isOk()) {
    Pivot::Status const status = tableIndex(name, index);
    if (!status.isOk()) needed.refuse(status.message());
  }
  std::uint64_t const version = needed.number("version", UINT64_MAX, 1);
  in.adopt(needed.finish());
  if (in.isOk()) aim.change.needed = Asic::TableVersion(tables()[index].id, Asic::LogVersion(version));
}

Aim aimFrom(Asic::OrderedTableInterface& framework, ObjectReader& in) {
  Aim aim;
  tableFrom(framework, in, aim);
  aim.change.state = stateFrom(in, "state");
  if (in.has("value")) aim.change.value = in.number("value", UINT64_MAX);
  neededFrom(in, aim);
  aim.defaultState = stateFrom(in, "defaultState");
  if (in.has("capacity")) aim.capacity = in.number("capacity", UINT32_MAX);
  bool const steersKey = aim.change.state || aim.change.value || aim.change.needed;
  if (in.isOk() && steersKey && aim.key.empty())
    in.refuse("'key' is missing; expected the key of the resource to change");
  if (in.isOk() && (aim.defaultState || aim.capacity) && !aim.key.empty()) {
    in.refuse("'defaultState' and 'capacity' are of the whole table; expected no 'key' beside them");
  }
  static_cast<void>(in.finish());
  return aim;
}

Json reportOf(Steering const& table, Steering::KeyBytes key) {
  std::optional<Steering::Report> const report = table.report(key);
  if (!report) return {{"handedOut", false}};
  return {{"handedOut", true},
          {"state", stateWord(report->state)},
          {"value", report->value},
          {"users", report->users},
          {"postRelease", report->postRelease},
          {"updateVersion", report->updateVersion}};
}

}  // namespace

char const* stateWord(EntryState state) {
  for (StateWord const& known : kStates) {
    if (known.state == state) return known.word;
  }
  return "?";
}

bool resourceOperation(Asic::OrderedTableInterface& framework, ObjectReader& in, Json& report) {
  Aim const aim = aimFrom(framework, in);
  if (!in.isOk()) return false;
  Steering& table = *aim.table;
  Pivot::Status status = Pivot::Status::ok();
  if (aim.change.state || aim.change.value || aim.change.needed) {
    status = table.steer(aim.key, aim.change);
  }
  // The default state is the only one of the two that can be refused; it goes first.
  if (status.isOk() && aim.defaultState) status = table.defaultStateIs(*aim.defaultState);
  if (status.isOk() && aim.capacity) status = table.capacityIs(*aim.capacity);
  if (!status.isOk()) {
    in.refuse(status.message());
    return false;
  }
  report = aim.key.empty() ? Json{{"capacity", table.capacity()}} : reportOf(table, aim.key);
  return true;
}

}  // namespace Inlif
