// What a client does wrong ends in a refusal where there is one, else in the end of the process with a line that names it:
// the wrong thread, the wrong time, and what there is not.
#include <gmock/gmock.h>

#include <filesystem>
#include <functional>
#include <thread>

#include "AgentLife.h"
#include "Asic/SwTableInterfacesSingleton.h"
#include "LoamInLif/InLifNInterface.h"
#include "LoamInLif/InLifNSwTable.h"
#include "LoamInLif/Resources.h"

namespace {

using namespace AgentLife;
using testing::Contains;
using testing::HasSubstr;
using testing::StartsWith;

class MisuseTest : public AgentLife::Test {
 protected:
  MisuseTest() { begin(); }

  static void elsewhere(std::function<void()> const& act) { std::thread(act).join(); }
};

TEST_F(MisuseTest, endsTheProcessWithALineThatNamesIt) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto const table = unit(kInLif1, 5);
  Pivot::Ptr<Asic::OrderedTableInterface> const framework(&host_->framework());
  auto const interface = LoamInLif::InLif1Interface::getIntf(framework);
  LoamTunnelNiLib::InLifModelEntryKey const key(1);
  auto const bare = Pivot::make<Asic::OrderedTableInterface>(framework->entityManager());
  struct {
    std::function<void()> act;
    char const* line;
  } const cases[] = {
      {[&] { elsewhere([&] { write(*table, 1); }); },
       "on the thread that made their group: entryWrite of .*InLif1 unit 5: thread [0-9]+, expected [0-9]+"},
      {[&] { elsewhere([&] { table->entryHas(key); }); }, "made their group: entryHas of .*InLif1 unit 5"},
      {[&] { elsewhere([&] { host_->turn(); }); }, "made their group: Host::turn: thread"},
      {[&] { elsewhere([&] { interface->makeSwTable(6, nullptr, false); }); },
       "made their group: .*InLif1Interface"},
      {[&] { host_->close(), write(*table, 1); },
       "after the take-down of its group: entryWrite of .*InLif1 unit 5"},
      {[&] { host_->close(), table->entry(key); },
       "after the take-down of its group: entry of .*InLif1 unit 5"},
      {[&] { host_->close(), interface->makeSwTable(6, nullptr, false); },
       "groupIntf: InLif1: no group .*taken down"},
      {[&] { host_->close(), LoamInLif::InLif1Interface::getIntf(framework); },
       "before the take-down of the framework"},
      {[&] { host_->close(), host_->turn(); }, "between open\\(\\) and close\\(\\): Host::turn, closed"},
      {[&] {
         table->entryWriteWithResponseHandler(key, {}, nullptr, [&](auto const&) { host_->close(); });
         settle();
       },
       "not closed within its turn"},
      {[&] { Host().pending(); }, "between open\\(\\) and close\\(\\): Host::pending, never opened"},
      {[&] { host_->front(7); }, "table 7, expected 0 to 2"},
      {[&] { LoamInLif::resourceTable<LoamInLif::QosProfileKind>(*bare); },
       "no resource table ResourceTable.LoamQos::QosProfile.LoamInLif"},
  };
  for (auto const& [act, line] : cases) EXPECT_DEATH(act(), line);
}

TEST_F(MisuseTest, isRefusedWhereACallCanRefuse) {
  EXPECT_THAT(host_->makeTable(kInLif1, 65535, false).message(), HasSubstr("unit 65535: expected"));
  EXPECT_THAT(host_->makeTable(3, 1, false).message(),
              HasSubstr("table 3 unit 1: expected a table of 0 to 2"));
  EXPECT_THAT(host_->open().message(), HasSubstr("the host was opened before"));
  EXPECT_THAT(Host().open().message(), HasSubstr("this process has an agent there already"));
  RestartClients own;
  EXPECT_TRUE(own.open({"ports"}).isOk());
  EXPECT_THAT(own.add("vlans").message(), HasSubstr("client \"vlans\" is not known"));
  // Everything that a start mounts is asked for before anything relies on it.
  end();
  std::string const announced = store_.fileOf(LoamInLif::groupInfo().announcedPath);
  std::filesystem::remove(announced);
  std::filesystem::create_symlink("/dev/null", announced);
  EXPECT_THAT(Host().open().message(), HasSubstr("announced"));
  std::filesystem::remove(announced);
}

TEST_F(MisuseTest, whatIsHeldPastTheEndIsToldAndMayGoAtAnyTime) {
  auto table = unit(kInLif1, 5);
  auto handle = write(*table, 1);
  settle();
  auto queued = table->entryRemove(LoamTunnelNiLib::InLifModelEntryKey(1), handle);
  Pivot::Ptr<Asic::OrderedTableInterface> framework(&host_->framework());
  auto resources = framework->resourceTables().begin()->second;
  writer_.reset();
  EXPECT_THAT(host_->close(), Contains(StartsWith("InLif1SwTable: 1 live objects more")));
  EXPECT_EQ(handle->entryState(), Asic::EntryState::entryStateDone);
  host_.emplace();
  TestSupport::mustBeOk(host_->open());
  table.reset();
  framework.reset();
  queued.reset();
  resources.reset();
  handle.reset();
  EXPECT_EQ(unit(kInLif1, 5)->entrys(), 1u);
}

}  // namespace
