// The members of each resource key as people write them: name, place in the key, and bounds. One description
// serves both directions, so that what is printed can always be read back.
//
// fields(visitor, key type) names the members in order. A visitor has three operations, each with a member of the key,
// or what gives its place within one: intf (an interface name), number (with its greatest value) and word (an
// enumeration; the words count from 0). Members that are omitted keep the default of the key; a default is
// not printed, except that an interface or object always is.
#pragma once

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <functional>
#include <initializer_list>
#include <string_view>
#include <type_traits>

#include "LoamAdjLib/L2AdjToFecResourceTableEntryKey.h"
#include "LoamCountersLib/CrpsIndexRequestEntryKey.h"
#include "LoamQos/QosProfileEntryKey.h"
#include "LoamTunnelNiLib/InLifDataEntryKey.h"
#include "LoamTunnelNiLib/IveResourceTableEntryKey.h"
#include "LoamTunnelNiLib/LearnEnableEntryKey.h"
#include "Wirekit/IntfId.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {

using Words = std::initializer_list<std::string_view>;

template <class V>
void fields(V& v, LoamTunnelNiLib::InLifDataEntryKey*) {
  using Key = LoamTunnelNiLib::InLifDataEntryKey;
  v.intf("intf", &Key::intfId);
  v.number("module", Key::kNoModule, &Key::moduleId);
}

template <class V>
void fields(V& v, LoamCountersLib::CrpsIndexRequestEntryKey*) {
  using Key = LoamCountersLib::CrpsIndexRequestEntryKey;
  v.number("object", UINT64_MAX, &Key::objectId);
  v.number("module", Key::kNoModule, &Key::moduleId);
  v.number("engine", Key::kAnyEngine, &Key::engineId);
  v.number("direction", UINT8_MAX, &Key::direction);
}

template <class V>
void fields(V& v, LoamTunnelNiLib::LearnEnableEntryKey*) {
  v.intf(
      "intf", [](auto& key) -> auto& { return key.intfOrVlanId.intfId; });
  v.word(
      "kind", {"interface", "vlan"}, [](auto& key) -> auto& { return key.intfOrVlanId.kind; });
}

template <class V>
void fields(V& v, LoamQos::QosProfileEntryKey*) {
  v.intf("intf", &LoamQos::QosProfileEntryKey::intfId);
}

template <class V>
void fields(V& v, LoamTunnelNiLib::VlanOp*) {
  using Key = LoamTunnelNiLib::VlanOp;
  v.word("action", {"none", "drop", "edit"}, &Key::action);
  v.number("tagsRemoved", 2, &Key::tagsRemoved);
  v.number("tagsAdded", 2, &Key::tagsAdded);
  v.number("keepPriority", 1, &Key::keepPriority);
  v.number("outerVlan", 4095, &Key::outerVlan);
  v.number("outerTpid", UINT16_MAX, &Key::outerTpid);
  v.number("innerVlan", 4095, &Key::innerVlan);
  v.number("innerTpid", UINT16_MAX, &Key::innerTpid);
  v.number("outerPriority", 7, &Key::outerPriority);
  v.number("innerPriority", 7, &Key::innerPriority);
  v.number("editHint", UINT16_MAX, &Key::editHint);
}

// Fills a key from an object.
template <class Key>
class KeyReader {
 public:
  KeyReader(ObjectReader& in, Key& key) : in_(in), key_(key) {}

  template <class Place>
  void intf(char const* name, Place place) {
    if (!in_.required(name, "an interface name such as \"Ethernet1.100\"")) return;
    Pivot::Status const status = Wirekit::IntfId::parse(in_.text(name), std::invoke(place, key_));
    if (!status.isOk()) in_.refuse(fmt::format("'{}': {}", name, status.message()));
  }
  template <class Place>
  void number(char const* name, std::uint64_t most, Place place) {
    auto& field = std::invoke(place, key_);
    field = static_cast<std::remove_reference_t<decltype(field)>>(in_.numberOr(name, field, most));
  }
  template <class Place>
  void word(char const* name, Words words, Place place) {
    auto& field = std::invoke(place, key_);
    std::string_view const text = in_.textOr(name, *(words.begin() + static_cast<unsigned>(field)));
    auto const found = std::ranges::find(words, text);
    if (found == words.end())
      return in_.refuse(fmt::format("'{}' is {}; expected one of \"{}\"", name, shownText(text),
                                    fmt::join(words, "\", \"")));
    field = static_cast<std::remove_reference_t<decltype(field)>>(found - words.begin());
  }

 private:
  ObjectReader& in_;
  Key& key_;
};

// Makes an object of a key.
template <class Key>
class KeyWriter {
 public:
  KeyWriter(Json& out, Key const& key) : out_(out), key_(key) {}

  template <class Place>
  void intf(char const* name, Place place) {
    out_[name] = std::invoke(place, key_).name();
  }
  template <class Place>
  void number(char const* name, std::uint64_t, Place place) {
    if (std::invoke(place, key_) != std::invoke(place, default_)) out_[name] = std::invoke(place, key_);
  }
  template <class Place>
  void word(char const* name, Words words, Place place) {
    auto const value = static_cast<unsigned>(std::invoke(place, key_));
    if (std::invoke(place, key_) == std::invoke(place, default_)) return;
    // A stored value that has no word is shown as the number that it is.
    if (value < words.size())
      out_[name] = *(words.begin() + value);
    else
      out_[name] = value;
  }

 private:
  Json& out_;
  Key const& key_;
  Key const default_{};
};

}  // namespace Inlif
