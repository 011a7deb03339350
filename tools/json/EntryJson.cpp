#include "tools/json/EntryJson.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "LoamInLif/Kinds.h"
#include "tools/json/KeyFields.h"
#include "tools/json/MemberNames.h"

namespace Inlif {
namespace {

using namespace LoamTunnelNiLib;

// Made once: a reader keeps the names that it was asked for.
std::array<std::string, kTagFormatCount> const& tagFormatNames() {
  static auto const names = [] {
    std::array<std::string, kTagFormatCount> all;
    for (std::size_t i = 0; i < kTagFormatCount; ++i) all[i] = tagFormatName(static_cast<TagFormat>(i));
    return all;
  }();
  return names;
}

int hexDigit(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

void clientFrom(ObjectReader& in, InLifModelLogEntry& out) {
  auto const bytes = out.clientBytes();
  std::fill(bytes.begin(), bytes.end(), std::byte{0});
  if (!in.has("client")) return;
  std::string_view const text = in.text("client");
  if (!in.isOk()) return;
  if (text.size() != 2 * bytes.size()) {
    in.refuse(fmt::format("'client' has {} characters; expected {} hex digits for {} bytes", text.size(),
                          2 * bytes.size(), bytes.size()));
    return;
  }
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    int const high = hexDigit(text[2 * i]);
    int const low = hexDigit(text[2 * i + 1]);
    if (high < 0 || low < 0) {
      in.refuse(fmt::format("'client' has {} at byte {}; expected hex digits",
                            shownText(text.substr(2 * i, 2)), i));
      return;
    }
    bytes[i] = static_cast<std::byte>(high << 4 | low);
  }
}

}  // namespace

template <class Key>
Json keyJson(Key const& key) {
  Json out = Json::object();
  if (key == Key{}) return out;
  KeyWriter<Key> writer(out, key);
  fields(writer, static_cast<Key*>(nullptr));
  return out;
}

template <class Key>
Pivot::Status keyFrom(Value value, ObjectPlace const& place, Key& out) {
  ObjectReader in(value, place);
  Key key;
  // {} is the null key, as it is printed.
  if (in.isOk() && value.size() > 0) {
    KeyReader<Key> reader(in, key);
    fields(reader, static_cast<Key*>(nullptr));
  }
  Pivot::Status status = in.finish();
  if (status.isOk()) out = key;
  return status;
}

template <>
Json keyJson(LoamAdjLib::L2AdjToFecResourceTableEntryKey const& key) {
  return key.adjId;
}

template <>
Json keyJson(IveResourceTableEntryKey const& key) {
  Json out = Json::object();
  for (std::size_t i = 0; i < kTagFormatCount; ++i) {
    auto const format = static_cast<TagFormat>(i);
    VlanOp const& op = key.vlanEdit.ops[format];
    if (op != VlanOp{}) out[tagFormatNames()[i]] = keyJson(op);
  }
  return out;
}

template <>
Pivot::Status keyFrom(Value value, ObjectPlace const& place,
                      LoamAdjLib::L2AdjToFecResourceTableEntryKey& out) {
  std::uint64_t number = 0;
  if (!numberFrom(value, number) || number > UINT32_MAX) {
    return Pivot::Status::refused(
        fmt::format("{}: {} is no adjacency; expected a whole number from 0 to {}, decimal or \"0x...\"",
                    place.text(), shown(value), UINT32_MAX));
  }
  out.adjId = static_cast<std::uint32_t>(number);
  return Pivot::Status::ok();
}

template <>
Pivot::Status keyFrom(Value value, ObjectPlace const& place, IveResourceTableEntryKey& out) {
  ObjectReader in(value, place);
  IveResourceTableEntryKey key;
  for (std::size_t i = 0; i < kTagFormatCount; ++i) {
    Value const op = in.member(tagFormatNames()[i]);
    if (op)
      in.adopt(keyFrom(op, place.inside(tagFormatNames()[i]), key.vlanEdit.ops[static_cast<TagFormat>(i)]));
  }
  Pivot::Status status = in.finish();
  if (status.isOk()) out = key;
  return status;
}

template Json keyJson(InLifDataEntryKey const&);
template Pivot::Status keyFrom(Value, ObjectPlace const&, InLifDataEntryKey&);
template Json keyJson(LoamCountersLib::CrpsIndexRequestEntryKey const&);
template Pivot::Status keyFrom(Value, ObjectPlace const&, LoamCountersLib::CrpsIndexRequestEntryKey&);
template Json keyJson(LearnEnableEntryKey const&);
template Pivot::Status keyFrom(Value, ObjectPlace const&, LearnEnableEntryKey&);
template Json keyJson(LoamQos::QosProfileEntryKey const&);
template Pivot::Status keyFrom(Value, ObjectPlace const&, LoamQos::QosProfileEntryKey&);

namespace {

void addKeys(Json& out, InLifModelEntry const& entry) {
  LoamInLif::forEachKind([&]<class Kind>() {
    auto const& key = entry.rsrcKeys.*Kind::keyField;
    if (!Kind::isNullKey(key)) out[keyName<Kind>()] = keyJson(key);
  });
}

}  // namespace

void entryFrom(ObjectReader& in, InLifModelEntry& out) {
  InLifModelEntry entry;
  entry.logEntry.key = InLifModelEntryKey(static_cast<std::uint32_t>(in.number("key", UINT32_MAX)));
  clientFrom(in, entry.logEntry);
  LoamInLif::forEachKind([&]<class Kind>() {
    char const* name = keyName<Kind>();
    Value const value = in.member(name);
    if (value) in.adopt(keyFrom(value, in.place().inside(name), entry.rsrcKeys.*Kind::keyField));
  });
  if (in.isOk()) out = entry;
}

std::string hexOf(std::span<std::byte const> bytes) {
  std::string text;
  text.reserve(bytes.size() * 2);
  for (std::byte byte : bytes)
    fmt::format_to(std::back_inserter(text), "{:02x}", static_cast<unsigned>(byte));
  return text;
}

void addLogEntry(Json& out, InLifModelLogEntry const& entry) {
  out["client"] = hexOf(entry.clientBytes());
  Json resolved = Json::object();
  LoamInLif::forEachKind([&]<class Kind>() { resolved[valueName<Kind>()] = entry.*Kind::resolvedField; });
  out["resolved"] = std::move(resolved);
}

void addWritten(Json& out, InLifModelEntry const& entry) {
  addKeys(out, entry);
  auto const bytes = entry.logEntry.clientBytes();
  if (std::ranges::any_of(bytes, [](std::byte byte) { return byte != std::byte{0}; }))
    out["client"] = hexOf(bytes);
}

void addEntry(Json& out, InLifModelEntry const& entry) {
  addKeys(out, entry);
  addLogEntry(out, entry.logEntry);
}

}  // namespace Inlif
