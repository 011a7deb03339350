#include "tools/show/AgentView.h"

#include "Shoal/StoreRoot.h"
#include "tools/demo/AgentClient.h"

namespace Inlif {

using VexSharedMem::StoreRoot;

namespace {

constexpr char const* kOfUnit[] = {"restored", "marking", "marked", "suppressed", "swept"};

// The element of an array whose member has the value, or null.
Json const* find(Json const& array, char const* member, Json const& value) {
  for (Json const& one : array) {
    if (one.at(member) == value) return &one;
  }
  return nullptr;
}

void addTable(Json& shown, Json const& status) {
  shown["clients"] = status.at("clients");
  shown["unserved"] = Json::array();
  for (Json const& one : status.at("unserved")) {
    if (one.at("table") == shown["table"]) shown["unserved"].push_back(one);
  }
  Json const* const table = find(status.at("tables"), "table", shown["table"]);
  if (!table) return;
  if (shown.contains("behind") && table->contains("behindMs")) shown["behindMs"] = table->at("behindMs");
  for (Json& unit : shown["units"]) {
    Json const* const own = find(table->at("units"), "unit", unit["unit"]);
    if (!own) continue;
    for (char const* member : kOfUnit) unit[member] = own->at(member);
  }
}

}  // namespace

Outcome addAgentView(std::string const& store, std::vector<Json>& view) {
  if (!StoreRoot::holder(StoreRoot::Role::agent).alive) return Outcome::done();
  AgentClient agent;
  Json status;
  Outcome outcome = connectToAgent(store, agent);
  if (outcome.isWell()) outcome = agent.outcome(agent.ask({{"op", "status"}, {"id", "show"}}, status));
  if (!outcome.isWell()) return outcome;
  try {
    for (Json& shown : view) addTable(shown, status);
  } catch (Json::exception const&) {
    // An agent of another version: it tells less, or in another way.
  }
  return outcome;
}

}  // namespace Inlif
