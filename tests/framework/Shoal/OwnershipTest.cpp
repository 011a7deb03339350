// One owner for each collection: in one process, over a fork, and when somebody deletes a lock.
#include <signal.h>

#include <filesystem>
#include <fstream>

#include "TestRecords.h"
#include "support/OwnFileSystem.h"
#include "support/Processes.h"

namespace ShoalTest {
namespace {

using TestSupport::exitCode;
using TestSupport::forked;
using TestSupport::TempStore;
using VexSharedMem::StoreRoot;

TEST(Owner, APathIsMountedOnceInAProcess) {
  TempStore store;
  store.claim();
  auto first = mounted("rows", 64);
  put(*first, 1, 7);
  RowMap second;
  EXPECT_EQ(second.mount({"rows", 64, 64, Role::agent}).message(),
            "collection 'rows' of " + store.directory() + " is mounted in this process already");
  EXPECT_FALSE(second.mounted());
  put(*first, 2, 8);
  // A map that outlives the release owns nothing, and does not stand in the way of the next one.
  store.reopen();
  auto next = mounted("rows", 64);
  first.reset();
  EXPECT_EQ(contents(*next), (Oracle{{1, 7}, {2, 8}}));
  EXPECT_FALSE(second.mount({"rows", 64, 64, Role::agent}).isOk());
  next.reset();
  EXPECT_TRUE(second.mount({"rows", 64, 64, Role::agent}).isOk());
}

// Whatever a forked child does with a map of its parent, it ends, and the parent finds nothing changed.
TEST(Owner, AForkedChildOwnsNothing) {
  TempStore store;
  store.claim();
  auto map = mounted("rows", 64);
  put(*map, 1, 7);
  Row const* const row = map->find(1);
  Shoal::IterHint hint;
  std::function<void()> const acts[] = {
      [&] { map->set(Row::of(1, 9)); },
      [&] { map->del(1); },
      [&] { static_cast<void>(map->reserve(60)); },
      [&] { map->collectionControl().scratchpadIs(5); },
      [&] { map->collectionControl().clearWiped(); },
      [&] { map->collectionControl().watermarkIs(5); },
      [&] { map->collectionControl().notePartLost(); },
      [&] { map->mend(); },
      [&] { static_cast<void>(map->giveUp("it came back older")); },
      [&] { static_cast<void>(map->find(1)); },
      [&] { static_cast<void>(map->first(hint)); },
  };
  for (std::size_t i = 0; i < std::size(acts); ++i) {
    pid_t const child = forked([&] { return acts[i](), 0; });
    EXPECT_EQ(exitCode(child), -SIGABRT) << "act " << i;
  }
  EXPECT_EQ(exitCode(forked([&] { return static_cast<int>(row->value) - 7; })), -SIGSEGV)
      << "the mapping is not there";
  // It holds no role, and ends as any process does; what it maps of its own it may use.
  EXPECT_EQ(exitCode(forked([&] {
              if (StoreRoot::holds(Role::agent) || StoreRoot::claim(Role::agent).isOk()) return 1;
              map.reset();
              StoreRoot::release();
              StoreRoot::rootIs(store.directory() + "/childs");
              store.claim();
              put(*mounted("rows", 64), 2, 3);
              return 0;
            })),
            0);
  EXPECT_EQ(contents(*map), (Oracle{{1, 7}}));
  EXPECT_FALSE(map->collectionControl().corrupted());
}

// A child that lives on holds no lock of an owner that died.
TEST(Owner, AChildThatOutlivesItsParentKeepsNobodyOut) {
  TempStore store;
  Signal ready;
  Signal over;
  pid_t const owner = forked([&] {
    store.claim();
    auto const map = mounted("rows", 64);
    forked([&] {
      ::alarm(60);  // whatever becomes of the test
      ready.give();
      return over.await(), 0;
    });
    ::pause();
    return 0;
  });
  ready.await();
  EXPECT_FALSE(StoreRoot::claim(Role::agent).isOk());
  ::kill(owner, SIGKILL);
  EXPECT_EQ(exitCode(owner), -SIGKILL);
  Pivot::Status const claimed = StoreRoot::claim(Role::agent);
  EXPECT_TRUE(claimed.isOk()) << claimed.message();
  mounted("rows", 64);
  over.give();
}

// Who deletes the file of a lock lets nobody in, and the owner is told when it asks.
TEST(Owner, ADeletedLockLetsNobodyIn) {
  TempStore store;
  Signal ready;
  Signal gone;
  pid_t const owner = forked([&] {
    store.claim();
    auto const map = mounted("rows", 64);
    if (!StoreRoot::stillHeld(Role::agent).isOk()) return 1;
    ready.give();
    gone.await();
    RowMap late;
    std::string const why = store.directory() + ": .lock-agent of this process was deleted";
    if (StoreRoot::stillHeld(Role::agent).message().find(why) == std::string::npos) return 2;
    if (late.mount({"late", 64, 64, Role::agent}).message().find(why) == std::string::npos) return 3;
    put(*map, 1, 7);  // what it has, it still owns
    return 0;
  });
  ready.await();
  std::filesystem::remove(store.directory() + "/.lock-agent");
  EXPECT_NE(StoreRoot::claim(Role::agent)
                .message()
                .find("'.manifest-agent' in " + store.directory() + ": another process owns it"),
            std::string::npos);
  gone.give();
  EXPECT_EQ(exitCode(owner), 0);
  store.claim();
  EXPECT_EQ(contents(*mounted("rows", 64)), (Oracle{{1, 7}}));
}

// What is kept aside is bounded: the newest three of a path, and of older ones no more than an eighth of the
// file system; the newest of each path stays.
TEST(Lost, OnlyTheNewestFilesAreKeptAside) {
  TempStore store;
  TestSupport::inOwnFileSystem(store.directory(), "size=16m", [&] {
    store.claim();
    std::string const lost = store.directory() + "/.lost";
    auto const lose = [&](std::string const& path, std::uint32_t rows) {
      auto map = mounted(path, 1 << 16);
      for (std::uint32_t key = 0; key < rows; ++key) put(*map, key, key);
      map.reset();
      std::fstream(store.fileOf(path), std::ios::in | std::ios::out | std::ios::binary).write("damaged!", 8);
      mounted(path, 1 << 16);
    };
    auto const count = [&](char const* path) {
      std::size_t found = 0;
      for (auto const& file : std::filesystem::directory_iterator(lost))
        found += file.path().filename().string().starts_with(std::string(path) + "-agent-");
      return found;
    };
    for (int n = 0; n < 6; ++n) lose("small", 4);
    if (count("small") != 3) return 1;
    for (int n = 0; n < 3; ++n) lose("large-one", 8000);  // about a megabyte each
    if (count("large-one") != 1 || count("small") != 3) return 2;
    lose("a/large", 20000);  // alone more than an eighth
    return count("a%large") == 1 && count("large-one") == 1 && count("small") == 1 ? 0 : 3;
  });
}

}  // namespace
}  // namespace ShoalTest
