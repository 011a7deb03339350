// The names under which an entry's resource keys and resolved values stand in JSON: those of the fields, in
// linkage order.
#pragma once

#include <array>

#include "LoamInLif/Kinds.h"
#include "LoamInLif/Names.h"

namespace Inlif {

#define INLIF_KEY_NAME(Kind, keyField, handleField, resolvedField) #keyField,
inline constexpr std::array<char const*, LoamInLif::Kinds::size> kKeyNames{
    LOAM_INLIF_EACH_KIND(INLIF_KEY_NAME)};
#undef INLIF_KEY_NAME
#define INLIF_VALUE_NAME(Kind, keyField, handleField, resolvedField) #resolvedField,
inline constexpr std::array<char const*, LoamInLif::Kinds::size> kValueNames{
    LOAM_INLIF_EACH_KIND(INLIF_VALUE_NAME)};
#undef INLIF_VALUE_NAME

template <class Kind>
constexpr char const* keyName() {
  return kKeyNames[LoamInLif::Kinds::indexOf<Kind>()];
}
template <class Kind>
constexpr char const* valueName() {
  return kValueNames[LoamInLif::Kinds::indexOf<Kind>()];
}

}  // namespace Inlif
