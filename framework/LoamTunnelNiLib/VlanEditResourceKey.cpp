#include "LoamTunnelNiLib/VlanEditResourceKey.h"

#include <fmt/format.h>

#include <iterator>

namespace LoamTunnelNiLib {
namespace {

constexpr char const* kTagKinds[] = {"priority", "customer", "service", "old", "user"};
constexpr char const* kActions[] = {"none", "drop", "edit"};

void slotText(std::string& text, std::size_t slot, VlanOp const& op) {
  auto out = std::back_inserter(text);
  auto const action = static_cast<std::size_t>(op.action);
  fmt::format_to(out, "{}{}: {} -{} +{}", text.empty() ? "" : ", ",
                 tagFormatName(static_cast<TagFormat>(slot)),
                 action < std::size(kActions) ? kActions[action] : "unknown", op.tagsRemoved, op.tagsAdded);
  if (op.tagsAdded > 0) fmt::format_to(out, " {:04x}:{}/{}", op.outerTpid, op.outerVlan, op.outerPriority);
  if (op.tagsAdded > 1) fmt::format_to(out, " {:04x}:{}/{}", op.innerTpid, op.innerVlan, op.innerPriority);
  if (op.keepPriority != 0) fmt::format_to(out, " keep");
  if (op.editHint != 0) fmt::format_to(out, " hint {}", op.editHint);
}

}  // namespace

std::string tagFormatName(TagFormat format) {
  auto const number = static_cast<std::size_t>(format);
  if (number == 0) return "untagged";
  if (number <= 5) return kTagKinds[number - 1];
  if (number <= 30) return fmt::format("{}+{}", kTagKinds[(number - 6) / 5], kTagKinds[(number - 6) % 5]);
  if (format == TagFormat::manyTags) return "manyTags";
  if (format == TagFormat::lengthField) return "lengthField";
  if (format == TagFormat::other) return "other";
  return {};
}

VlanEditResourceKey::operator bool() const noexcept {
  static VlanEditResourceKey const none;
  return !isEq(none);
}

std::string VlanEditResourceKey::text() const {
  std::string text;
  for (std::size_t slot = 0; slot < kTagFormatCount; ++slot) {
    VlanOp const& op = ops[static_cast<TagFormat>(slot)];
    if (op != VlanOp{}) slotText(text, slot, op);
  }
  return text.empty() ? "none" : text;
}

}  // namespace LoamTunnelNiLib
