// Agent and writer as neighbours: started at the same moment, and what the commands say of the one that is not there,
// stands still or has told errors.
#include <gmock/gmock.h>
#include <sys/mount.h>

#include "Programs.h"
#include "support/OwnFileSystem.h"

namespace {

using namespace Inlif;
using namespace std::chrono_literals;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using VexSharedMem::StoreRoot;

class LivenessTest : public ProgramsTest {
 protected:
  static bool runs(StoreRoot::Role role) { return StoreRoot::holder(role).alive; }
  template <class Holds>
  static bool comes(Holds holds) {
    for (int i = 0; i < 5000 && !holds(); ++i) std::this_thread::sleep_for(2ms);
    return holds();
  }
};

// Half of the stores are missing, the others are directories that somebody made by hand, open to others.
TEST_F(LivenessTest, agentAndWriterMayStartAtTheSameMomentOnNoStore) {
  for (int i = 0; i < 60; ++i) {
    std::string const store = store_.directory() + "/at-once" + std::to_string(i);
    StoreRoot::rootIs(store);
    if (i / 2 % 2 == 1) {
      std::filesystem::create_directory(store);
      std::filesystem::permissions(store, std::filesystem::perms(0755));
    }
    Program first = start({i % 2 == 0 ? "agent" : "writer", "--store", store});
    Program second = start({i % 2 == 0 ? "writer" : "agent", "--store", store});
    auto const bothRun = [] { return runs(StoreRoot::Role::agent) && runs(StoreRoot::Role::writer); };
    comes([&] { return bothRun() || !first.err().empty() || !second.err().empty(); });
    EXPECT_TRUE(bothRun()) << first.err() << second.err();
  }
}

}  // namespace
