#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>

#include "LoamTunnelNiLib/InLifImage.h"
#include "tools/config/InterfaceName.h"
#include "tools/json/EntryJson.h"
#include "tools/json/FailureJson.h"
#include "tools/json/MemberNames.h"
#include "tools/show/EntryText.h"
#include "tools/show/Interfaces.h"
#include "tools/support/Text.h"

namespace Inlif {

using namespace LoamTunnelNiLib;

namespace {

// Of several, so many are told.
constexpr std::ptrdiff_t kMostPlaces = 5;

// Calls take(table, unit, record) for each record about the interface, which is spelled out.
template <class Take>
bool walkInterface(Selection const& selection, std::string const& name, Take take) {
  bool whole = true;
  for (std::size_t const table : selection.tables) {
    whole &= selection.walkConfigs(tables()[table],
                                   [&](Asic::UnitId unit, InLifModelConfigShoalEntry const& record) {
                                     std::string const own = interfaceName(record.rsrcKeys);
                                     if (!own.empty() && (own == name || spelledOut(own) == name))
                                       take(tables()[table], unit, record);
                                   });
  }
  return whole;
}

// What the hardware has of a record: "stands", "failed" with the failure, or "on its way".
void addHardware(Json& out, TableInfo const& table, Asic::UnitId unit,
                 InLifModelConfigShoalEntry const& record) {
  Shoal::SteadyReader<InLifFailureRow> failures(table.failuresPath);
  InLifFailureRow failure;
  InLifFailureKey failureKey;
  failureKey.unitId = unit;
  failureKey.entryKey = record.key();
  if (failures.ready() && failures.lookup(failureKey, failure) == Shoal::Read::found) {
    out["inHardware"] = "failed";
    out["failure"] = failureJson(table.name, failure);
    return;
  }
  Shoal::SteadyReader<InLifImageEntry> image(table.imagePath);
  InLifImageEntry entry;
  InLifImageKey imageKey;
  imageKey.unitId = unit;
  imageKey.entryKey = record.key();
  bool const isThere = image.ready() && image.lookup(imageKey, entry) == Shoal::Read::found;
  bool const isSettled =
      isThere ? !record.isDeleted && entry.logVersion == record.logVersion : record.isDeleted;
  out["inHardware"] = !isSettled ? "on its way" : isThere ? "stands" : "gone";
}

void printEntry(Json const& one, Output const& output) {
  output.print({fmt::format("{}: {} unit {} key {}, {} at version {}; in the hardware: {}",
                            one["interface"].get<std::string>(), one["table"].get<std::string>(),
                            jsonText(one["unit"]), jsonText(one["key"]), one["state"].get<std::string>(),
                            jsonText(one["version"]), one["inHardware"].get<std::string>()),
                one.contains("failure") ? Tone::fault : Tone::plain});
  if (one.contains("failure")) output.print({"  " + failureText(one["failure"]), Tone::fault});
  for (std::size_t kind = 0; kind < kKeyNames.size(); ++kind) {
    if (!one.contains(kKeyNames[kind]) && !output.isVerbose()) continue;
    output.print({fmt::format("  {:<30} {} -> {}", kKeyNames[kind],
                              one.contains(kKeyNames[kind]) ? jsonText(one[kKeyNames[kind]]) : "-",
                              jsonText(one["resolved"][kValueNames[kind]]))});
  }
  if (std::string const client = clientText(one, output.isVerbose()); !client.empty())
    output.print({fmt::format("  {:<30} {}", "client", client)});
}

// `selection` is where was looked.
Pivot::Status noneIs(std::string const& name, Selection const& selection) {
  std::string const where =
      selection.tables.size() == 1 ? tables()[selection.tables.front()].name : "the store";
  return Pivot::Status::refused(fmt::format("no entry of {}{} is about the interface {}", where,
                                            selection.unit ? fmt::format(" unit {}", *selection.unit) : "",
                                            name));
}

}  // namespace

std::string Interfaces::nameOf(std::string const& table, Asic::UnitId unit, std::uint32_t key,
                               std::optional<std::uint64_t> version) {
  std::unique_ptr<Config>& config = units_[{table, unit}];
  if (!config) {
    std::size_t index = 0;
    if (!tableIndex(table, index).isOk()) return {};
    config = std::make_unique<Config>(tables()[index].configPath(unit));
  }
  InLifModelConfigShoalEntry record;
  bool const found =
      config->ready(false) && config->lookup(InLifModelEntryKey(key), record) == Shoal::Read::found;
  bool const isMeant = found && (!version || record.logVersion.value() == *version);
  return isMeant ? interfaceName(record.rsrcKeys) : std::string();
}

void Interfaces::addTo(Json& message) {
  if (message.is_object()) {
    auto const hasNumber = [&](char const* name) {
      return message.contains(name) && message[name].is_number_unsigned();
    };
    bool const isPlace =
        message.contains("table") && message["table"].is_string() && hasNumber("unit") && hasNumber("key");
    if (isPlace) {
      std::optional<std::uint64_t> version;
      if (hasNumber("version")) version = message["version"].get<std::uint64_t>();
      std::string name = nameOf(message["table"].get<std::string>(), message["unit"].get<Asic::UnitId>(),
                                message["key"].get<std::uint32_t>(), version);
      if (!name.empty()) message["interface"] = std::move(name);
    }
  }
  if (message.is_structured()) {
    for (Json& part : message) addTo(part);
  }
}

std::string keyText(Json const& place) {
  std::string text = "key " + jsonText(place["key"]);
  if (place.contains("interface")) text += fmt::format(" ({})", place["interface"].get<std::string>());
  return text;
}

Outcome showInterface(Selection const& selection, std::string const& given) {
  std::string name;
  Pivot::Status status = interfaceNameFrom(given, name);
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  std::size_t count = 0;
  Output const output(selection.verbose);
  bool const whole =
      walkInterface(selection, name,
                    [&](TableInfo const& table, Asic::UnitId unit, InLifModelConfigShoalEntry const& record) {
                      ++count;
                      Json out = {{"interface", interfaceName(record.rsrcKeys)},
                                  {"table", table.name},
                                  {"unit", unit},
                                  {"key", record.key().value()},
                                  {"version", record.logVersion.value()},
                                  {"state", record.isDeleted ? "removed" : "live"}};
                      addHardware(out, table, unit, record);
                      addEntry(out, record.entry());
                      if (selection.json)
                        fmt::print("{}\n", jsonText(out));
                      else
                        printEntry(out, output);
                    });
  if (!whole) return Outcome::done(kFound);
  return count == 0 ? Outcome::refused(noneIs(name, selection)) : Outcome::done();
}

namespace {

// A name, alone or as the key, becomes the three of them. REQUIRES: the root of the store is set.
Pivot::Status findInterface(std::string& table, std::string& unit, std::string& key) {
  std::size_t index = 0;
  std::uint64_t number = 0;
  bool const isAlone = !table.empty() && unit.empty() && key.empty() && !tableIndex(table, index).isOk();
  std::string const given = isAlone ? table : key;
  if (given.empty() || numberFrom(std::string_view(given), number)) return Pivot::Status::ok();
  std::string name;
  // What is none, as a table that is none, is refused by who takes it.
  if (!interfaceNameFrom(given, name).isOk()) return Pivot::Status::ok();
  ShowOptions options;
  options.table = isAlone ? "" : table;
  options.unit = unit;
  Selection selection;
  if (!Selection::from(options, selection).isOk()) return Pivot::Status::ok();
  std::vector<std::string> places;
  walkInterface(selection, name,
                [&](TableInfo const& of, Asic::UnitId at, InLifModelConfigShoalEntry const& record) {
                  table = of.name;
                  unit = std::to_string(at);
                  key = std::to_string(record.key().value());
                  places.push_back(fmt::format("{} unit {} key {}", table, unit, key));
                });
  if (places.size() == 1) return Pivot::Status::ok();
  if (places.empty()) return noneIs(name, selection);
  std::ptrdiff_t const shown = std::min<std::ptrdiff_t>(std::ssize(places), kMostPlaces);
  return Pivot::Status::refused(fmt::format(
      "{} is in several places: {}{}; expected a table and a unit beside it, or a key", name,
      fmt::join(places.begin(), places.begin() + shown, ", "), shown < std::ssize(places) ? ", ..." : ""));
}

}  // namespace

Outcome selectPlace(ShowOptions& options, Selection& out) {
  Pivot::Status const store = storeIs(options.store, false);
  if (store.isOk())
    if (Pivot::Status found = findInterface(options.table, options.unit, options.key); !found.isOk())
      return Outcome::refused(std::move(found));
  if (Pivot::Status well = Selection::from(options, out); !well.isOk())
    return Outcome::wrong(std::move(well));
  return store.isOk() ? Outcome::done() : Outcome::refused(store);
}

void addPlace(ShowOptions const& options, Json& operation) {
  if (!options.table.empty()) operation["table"] = options.table;
  if (!options.unit.empty()) operation["unit"] = options.unit;
  if (!options.key.empty()) operation["key"] = options.key;
}

}  // namespace Inlif
