// The generated work is the same for the same seed and holds what the demo promises.
#include <gtest/gtest.h>

#include <map>
#include <set>

#include "tools/json/EntryJson.h"
#include "tools/workload/Workload.h"

namespace {

using namespace Inlif;

TEST(Workload, holdsWhatTheDemoPromises) {
  WorkloadShape shape;
  shape.entries = 3000;
  Workload const workload(shape);
  EXPECT_EQ(workload.operations(), Workload(shape).operations());
  EXPECT_EQ(workload.preparation().size(), 14u);

  std::map<std::string, int> count;
  std::set<std::string> keys;
  std::set<std::string> profiles;
  Document line;
  for (Json const& operation : workload.operations()) {
    std::string const name = operation["op"];
    ++count[name];
    if (name != "write") continue;
    ASSERT_TRUE(operationFrom(operation.dump(), line).isOk());
    ObjectReader in(line.root(), ObjectPlace("write"));
    LoamTunnelNiLib::InLifModelEntry entry;
    for (char const* known : {"op", "id", "table", "unit", "after"}) in.member(known);
    entryFrom(in, entry);
    Pivot::Status const status = in.finish();
    ASSERT_TRUE(status.isOk()) << status.message();
    count["mustFail"] += Workload::mustFail(operation);
    count["rewritten"] +=
        !keys.insert(operation["table"].dump() + operation["unit"].dump() + operation["key"].dump()).second;
    profiles.insert(operation["qosProfileKey"].dump());
    if (operation.contains("after")) {
      ++count["after"];
      ASSERT_LT(operation["after"], operation["id"]);
      ASSERT_NE(workload.operations()[operation["after"].get<std::size_t>() - 1]["table"],
                operation["table"]);
    }
  }
  EXPECT_GE(keys.size(), 3000u);
  EXPECT_LT(profiles.size(), 255u) << "a QoS profile has 8 bits";
  EXPECT_EQ(count["removeAll"], 1);
  for (char const* some : {"remove", "mustFail", "rewritten", "after"}) EXPECT_GT(count[some], 20) << some;
}

}  // namespace
