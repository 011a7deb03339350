#include "tools/show/EntryText.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <vector>

#include "LoamInLif/Kinds.h"
#include "tools/json/EntryJson.h"
#include "tools/json/MemberNames.h"

namespace Inlif {
namespace {

using Texts = std::vector<std::string>;

std::string joined(Texts const& texts, char const* none) {
  return texts.empty() ? none : fmt::format("{}", fmt::join(texts, ", "));
}

void addClient(Texts& texts, Json const& entry, bool all) {
  if (std::string const client = clientText(entry, all); !client.empty()) texts.push_back("client " + client);
}

// The run of bytes in which two texts of hex digits differ: "client[3..4] 0102 -> 0304".
std::string clientChange(std::string const& old, std::string const& now) {
  std::size_t first = 0;
  std::size_t last = old.size() / 2 - 1;
  while (old.compare(2 * first, 2, now, 2 * first, 2) == 0) ++first;
  while (old.compare(2 * last, 2, now, 2 * last, 2) == 0) --last;
  std::string const place = first == last ? std::to_string(first) : fmt::format("{}..{}", first, last);
  std::size_t const digits = 2 * (last - first + 1);
  return fmt::format("client[{}] {} -> {}", place, old.substr(2 * first, digits),
                     now.substr(2 * first, digits));
}

}  // namespace

std::string clientText(Json const& entry, bool all) {
  std::string client = entry["client"].get<std::string>();
  std::size_t const end = client.find_last_not_of('0');
  if (all) return client;
  return end == std::string::npos ? std::string() : client.substr(0, (end / 2 + 1) * 2);
}

std::string contentText(Json const& entry, bool all) {
  LoamTunnelNiLib::InLifModelLogEntry const blank;
  Texts texts;
  LoamInLif::forEachKind([&]<class Kind>() {
    Json const& value = entry["resolved"][valueName<Kind>()];
    if (all || value != Json(blank.*Kind::resolvedField))
      texts.push_back(fmt::format("{} {}", valueName<Kind>(), jsonText(value)));
  });
  addClient(texts, entry, all);
  return joined(texts, "defaults alone");
}

std::string keysText(Json const& entry, bool all) {
  Texts texts;
  for (std::size_t kind = 0; kind < kKeyNames.size(); ++kind) {
    if (!entry.contains(kKeyNames[kind])) continue;
    texts.push_back(fmt::format("{} {} -> {}", kKeyNames[kind], jsonText(entry[kKeyNames[kind]]),
                                jsonText(entry["resolved"][kValueNames[kind]])));
  }
  addClient(texts, entry, all);
  return joined(texts, "no resources");
}

std::string changesText(Json const& changedFields) {
  Texts texts;
  for (auto const& [name, pair] : changedFields.items()) {
    texts.push_back(name == "client"
                        ? clientChange(pair[0].get<std::string>(), pair[1].get<std::string>())
                        : fmt::format("{} {} -> {}", name, jsonText(pair[0]), jsonText(pair[1])));
  }
  return joined(texts, "nothing changed");
}

std::string withInterface(Json const& entry, std::string text) {
  if (!entry.contains("interface")) return text;
  std::string const name = entry["interface"].get<std::string>();
  return text.empty() ? name : name + ": " + text;
}

}  // namespace Inlif
