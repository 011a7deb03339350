#include "tools/show/AgentView.h"

#include <csignal>

#include "Shoal/StoreRoot.h"
#include "tools/agent/Listener.h"
#include "tools/demo/AgentClient.h"

namespace Inlif {
namespace {

constexpr int kPatienceMilliseconds = 1000;
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
    if (one.at("table") == shown["table"]) shown["unserved"].push_back(one.at("unit"));
  }
  Json const* const table = find(status.at("tables"), "table", shown["table"]);
  if (!table) return;
  for (Json& unit : shown["units"]) {
    Json const* const own = find(table->at("units"), "unit", unit["unit"]);
    if (!own) continue;
    for (char const* member : kOfUnit) unit[member] = own->at(member);
  }
}

bool ask(Json& status) {
  // An agent that ends while it is asked must not end this program too.
  auto const before = std::signal(SIGPIPE, SIG_IGN);
  AgentClient agent;
  bool const answered = agent.connect(socketPath(VexSharedMem::StoreRoot::root())).isOk() &&
                        agent.ask({{"op", "status"}, {"id", "show"}}, status, kPatienceMilliseconds).isOk();
  std::signal(SIGPIPE, before);
  return answered;
}

}  // namespace

void addAgentView(std::vector<Json>& view) {
  Json status;
  if (!ask(status)) return;
  try {
    for (Json& shown : view) addTable(shown, status);
  } catch (Json::exception const&) {
    // An agent of another version: it tells less, or in another way.
  }
}

}  // namespace Inlif
