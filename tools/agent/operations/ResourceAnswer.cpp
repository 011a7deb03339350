#include "tools/agent/operations/ResourceAnswer.h"

#include <fmt/format.h>

#include <optional>
#include <vector>

#include "Bursar/Steering.h"
#include "LoamInLif/Kinds.h"
#include "OrderedTable/TableName/TableName.h"
#include "tools/agent/operations/Target.h"
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
struct Wish {
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
void wishAt(Asic::OrderedTableInterface& framework, ObjectReader& in, char const* name, Wish& wish) {
  Asic::CanonicalTableName const canonical(Asic::OrderedTableType::resourceTable, "", Kind::resourceNamespace,
                                           Kind::resourceTableName);
  wish.table = dynamic_cast<Steering*>(framework.resourceTable(canonical.name()).get());
  Value const value = in.member("key");
  if (!value) return;
  typename Kind::Key key;
  in.adopt(keyFrom(value, in.place().inside(name), key));
  if (in.isOk() && Kind::isNullKey(key))
    in.refuse(fmt::format("'key' is {}, the null key; expected a key that names a {}", shown(value), name));
  auto const* bytes = reinterpret_cast<std::byte const*>(&key);
  wish.key.assign(bytes, bytes + sizeof key);
}

void resourceFrom(Asic::OrderedTableInterface& framework, ObjectReader& in, Wish& wish) {
  std::string_view const name = in.text("resource");
  LoamInLif::forEachKind([&]<class Kind>() {
    char const* known = keyName<Kind>();
    if (name == known) wishAt<Kind>(framework, in, known, wish);
  });
  if (wish.table || !in.isOk()) return;
  std::string names;
  for (char const* known : kKeyNames) names += fmt::format("{}{}", names.empty() ? "" : ", ", known);
  in.refuse(fmt::format("'resource' is {}; expected one of {}", shownText(name), names));
}

void neededFrom(ObjectReader& in, Wish& wish) {
  Value const value = in.member("needed");
  if (!value) return;
  ObjectReader needed(value, in.place().inside("needed"));
  std::size_t const index = tableFrom(needed);
  std::uint64_t const version = needed.number("version", UINT64_MAX, 1);
  in.adopt(needed.finish());
  if (in.isOk()) wish.change.needed = Asic::TableVersion(tables()[index].id, Asic::LogVersion(version));
}

Wish wishFrom(Asic::OrderedTableInterface& framework, ObjectReader& in) {
  Wish wish;
  resourceFrom(framework, in, wish);
  wish.change.state = stateFrom(in, "state");
  if (in.has("value")) wish.change.value = in.number("value", UINT64_MAX);
  neededFrom(in, wish);
  wish.defaultState = stateFrom(in, "defaultState");
  if (in.has("capacity")) wish.capacity = in.number("capacity", UINT32_MAX);
  bool const steersKey = wish.change.state || wish.change.value || wish.change.needed;
  if (in.isOk() && steersKey && wish.key.empty())
    in.refuse("'key' is missing; expected the key of the resource to change");
  if (in.isOk() && (wish.defaultState || wish.capacity) && !wish.key.empty()) {
    in.refuse("'defaultState' and 'capacity' are of the whole table; expected no 'key' beside them");
  }
  static_cast<void>(in.finish());
  return wish;
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

bool resourceAnswer(Asic::OrderedTableInterface& framework, ObjectReader& in, Json& report) {
  Wish const wish = wishFrom(framework, in);
  if (!in.isOk()) return false;
  Steering& table = *wish.table;
  Pivot::Status status = Pivot::Status::ok();
  if (wish.change.state || wish.change.value || wish.change.needed) {
    status = table.steer(wish.key, wish.change);
  }
  // The default state is the only one of the two that can be refused; it goes first.
  if (status.isOk() && wish.defaultState) status = table.defaultStateIs(*wish.defaultState);
  if (status.isOk() && wish.capacity) status = table.capacityIs(*wish.capacity);
  if (!status.isOk()) {
    in.refuse(status.message());
    return false;
  }
  report = wish.key.empty() ? Json{{"capacity", table.capacity()}} : reportOf(table, wish.key);
  return true;
}

}  // namespace Inlif
