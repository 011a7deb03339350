// Two processes and two lives: owners that are killed, readers beside a running owner, the locks, and a file
// system that fills up.
#include <signal.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "Asic/GroupShoal.h"
#include "Shoal/ShoalReader.h"
#include "TestRecords.h"
#include "support/OutOfDescriptors.h"
#include "support/OwnFileSystem.h"
#include "support/Processes.h"

namespace ShoalTest {
namespace {

using namespace std::chrono_literals;
using Shoal::ReadResult;
using Shoal::WaitResult;
using TestSupport::exitCode;
using TestSupport::forked;
using TestSupport::TempStore;
using RowReader = Shoal::ShoalReader<Row>;

// The state of each key before and after the operation under way, and the key of that operation.
constexpr std::uint32_t kKeys = 200;
struct Journal {
  std::atomic<std::uint32_t> done[kKeys];  // value, 0 = absent
  std::atomic<std::uint32_t> key{kKeys};
  std::atomic<std::uint32_t> value{0};
  std::atomic<std::uint64_t> scratchpad{0};
  std::atomic<std::uint64_t> scratchpadNext{0};
};

int workUntilKilled(Journal& journal, unsigned seed) {
  if (!VexSharedMem::StoreRoot::claim(Role::agent).isOk()) return 1;
  auto map = mounted("rows", kKeys);
  Random random(seed);
  while (true) {
    std::uint32_t const key = random() % kKeys;
    std::uint32_t const value = random() % 3 == 0 ? 0 : (random() | 1);
    journal.value.store(value);
    journal.key.store(key);
    if (value == 0)
      map->del(key << 9);
    else
      put(*map, key << 9, value);
    journal.done[key].store(value);
    journal.key.store(kKeys);
    journal.scratchpadNext.store(journal.scratchpad.load() + 0x100000001);
    map->collectionControl().scratchpadIs(journal.scratchpadNext.load());
    journal.scratchpad.store(journal.scratchpadNext.load());
  }
}

TEST(Killed, EveryRecordIsOldOrNewAndNoSlotLeaks) {
  unsigned const seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  Random random(seed);
  TempStore store;
  Journal& journal = TestSupport::shared<Journal>();
  for (int life = 0; life < 150; ++life) {
    pid_t const child = forked([&] { return workUntilKilled(journal, seed + static_cast<unsigned>(life)); });
    std::this_thread::sleep_for(std::chrono::microseconds(500 + random() % 4000));
    ::kill(child, SIGKILL);
    ASSERT_EQ(exitCode(child), -SIGKILL);
    store.reopen();
    auto map = mounted("rows", kKeys);
    ASSERT_FALSE(map->collectionControl().wiped());
    Oracle const have = contents(*map);
    for (std::uint32_t key = 0; key < kKeys; ++key) {
      auto const row = have.find(key << 9);
      std::uint32_t const value = row == have.end() ? 0 : row->second;
      if (key == journal.key.load() && value == journal.value.load()) journal.done[key].store(value);
      ASSERT_EQ(value, journal.done[key].load()) << "life " << life << " key " << key;
    }
    journal.key.store(kKeys);
    std::uint64_t const scratchpad = map->collectionControl().scratchpad();
    ASSERT_TRUE(scratchpad == journal.scratchpad.load() || scratchpad == journal.scratchpadNext.load());
    journal.scratchpad.store(scratchpad);
    ASSERT_TRUE(map->reserve(kKeys - map->size()).isOk()) << "a slot leaked in life " << life;
    map.reset();
    VexSharedMem::StoreRoot::release();
  }
}

TEST(Beside, OpeningWaitingAndBeingReplaced) {
  TempStore store;
  EXPECT_EQ(RowReader::open("rows").state, Shoal::OpenState::notThereYet);
  store.claim();
  auto map = mounted("rows", 100);
  EXPECT_EQ(Shoal::ShoalReader<Asic::AnnouncedRow>::open("rows").state, Shoal::OpenState::broken);
  EXPECT_NE(Shoal::ShoalReader<Asic::AnnouncedRow>::open("rows").message.find("ShoalTest::Row"),
            std::string::npos);
  auto opened = RowReader::open("rows");
  ASSERT_EQ(opened.state, Shoal::OpenState::ok);
  RowReader& reader = *opened.reader;
  std::uint32_t const counter = reader.changeCounter();
  EXPECT_EQ(reader.waitForChange(counter, 20ms), WaitResult::timeout);
  pid_t const child = forked([&] {
    auto const start = std::chrono::steady_clock::now();
    if (reader.waitForChange(counter, 20s) != WaitResult::changed) return 1;
    return std::chrono::steady_clock::now() - start < 700ms ? 0 : 2;  // woken, not timed out
  });
  std::this_thread::sleep_for(100ms);
  put(*map, 5, 6);
  map->collectionControl().wakeReaders();
  EXPECT_EQ(exitCode(child), 0);
  EXPECT_EQ(reader.size(), 1u);
  // Another file takes the path: at once if the owner replaced it, within a second if no one told.
  std::uint32_t const now = reader.changeCounter();
  pid_t const waiting =
      forked([&] { return reader.waitForChange(now, 20s) == WaitResult::replaced ? 0 : 1; });
  std::this_thread::sleep_for(50ms);
  std::filesystem::remove(store.fileOf("rows"));
  EXPECT_EQ(exitCode(waiting), 0);
  map.reset();
  store.reopen();
  map = mounted("rows", 100);
  opened = RowReader::open("rows");
  map.reset();
  RowMap larger;
  ASSERT_TRUE(larger.mount({"rows", 200, 200, Role::agent}).isOk());
  EXPECT_TRUE(opened.reader->retired());
  EXPECT_EQ(opened.reader->waitForChange(opened.reader->changeCounter(), 20s), WaitResult::replaced);
}

TEST(Beside, WhatCannotBeOpenedNowIsNeitherAbsentNorBrokenNorReplaced) {
  TempStore store;
  store.claim();
  auto const map = mounted("below/rows", 100);
  auto const opened = RowReader::open("below/rows");
  std::vector<std::string> paths;
  {
    TestSupport::OutOfDescriptors const out;
    EXPECT_EQ(RowReader::open("below/rows").state, Shoal::OpenState::unavailable);
    EXPECT_FALSE(opened.reader->replaced());
    EXPECT_FALSE(VexSharedMem::StoreRoot::list("below", paths).isOk());
  }
  EXPECT_TRUE(VexSharedMem::StoreRoot::list("below", paths).isOk());
  EXPECT_EQ(paths, std::vector<std::string>{"below/rows"});
}

TEST(Root, OneProcessForEachRole) {
  using VexSharedMem::StoreRoot;
  TempStore store;
  Signal ready;
  pid_t const child = forked([&] {
    if (!StoreRoot::claim(Role::agent).isOk()) return 1;
    ready.give();
    ::pause();
    return 0;
  });
  ready.await();
  Pivot::Status const refused = StoreRoot::claim(Role::agent);
  EXPECT_EQ(refused.message(),
            "store " + store.directory() + ": in use by another agent (pid " + std::to_string(child) + ")");
  EXPECT_TRUE(StoreRoot::claim(Role::writer).isOk());
  EXPECT_TRUE(StoreRoot::holder(Role::agent).alive);
  EXPECT_EQ(StoreRoot::holder(Role::agent).pid, child);
  EXPECT_EQ(StoreRoot::holder(Role::writer).pid, ::getpid());
  RowMap map;
  EXPECT_NE(map.mount({"rows", 8, 8, Role::agent}).message().find("not claimed"), std::string::npos);
  ::kill(child, SIGKILL);
  exitCode(child);
  StoreRoot::Holder const dead = StoreRoot::holder(Role::agent);
  EXPECT_FALSE(dead.alive);
  EXPECT_EQ(dead.pid, child);
  EXPECT_EQ(dead.since.size(), 24u) << dead.since;
  // Who asks all the time keeps nobody out.
  pid_t const curious = forked([] {
    for (;;) StoreRoot::holder(Role::agent);
    return 0;
  });
  for (int i = 0; i < 200; ++i) {
    EXPECT_TRUE(StoreRoot::claim(Role::agent).isOk());
    StoreRoot::release();
  }
  ::kill(curious, SIGKILL);
  exitCode(curious);
  std::filesystem::permissions(store.directory(), std::filesystem::perms(0755));
  EXPECT_NE(StoreRoot::claim(Role::agent).message().find("mode 0755"), std::string::npos);
}

// A kill while a file is made leaves it in the staging folder; the next claim of the role clears it away.
TEST(Root, ClearsWhatAKillLeftInStaging) {
  TempStore store;
  store.claim();
  mounted("rows", 8);
  std::filesystem::copy_file(store.fileOf("rows"), store.directory() + "/.staging/agent-0123");
  std::filesystem::copy_file(store.fileOf("rows"), store.directory() + "/.staging/writer-0123");
  store.reopen();
  EXPECT_FALSE(std::filesystem::exists(store.directory() + "/.staging/agent-0123"));
  EXPECT_TRUE(std::filesystem::exists(store.directory() + "/.staging/writer-0123"));
}

TEST(Space, AFileSizeLimitIsARefusalNotASignal) {
  TempStore store;
  pid_t const child = forked([&] {
    store.claim();
    rlimit const limit{1 << 20, 1 << 20};
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
    RowMap map;
    return map.mount({"rows", 1 << 20, 1 << 20, Role::agent}).message().find("limit") != std::string::npos
               ? 0
               : 2;
  });
  EXPECT_EQ(exitCode(child), 0);
}

// File systems of many sizes, so that each step of growth is the one that does not fit.
TEST(Space, AFullFileSystemIsKnownBeforeAnythingIsPublished) {
  for (int kib = 1700; kib <= 3000; kib += 100) {
    TempStore store;
    TestSupport::inOwnFileSystem(store.directory(), "size=" + std::to_string(kib) + "k", [&] {
      store.claim();
      auto map = mounted("rows", 1 << 20);
      std::uint32_t key = 0;
      Pivot::Status status = Pivot::Status::ok();
      while ((status = map->reserve(1))) map->set(Row::of(key++ * 37, 1));
      if (status.message().find("No space left") == std::string::npos || key < 100) return 1;
      // Replacements need no room. After a removal there is some, but for the page of the directory that
      // another key may need: then it goes on once the file system has it.
      for (std::uint32_t i = 0; i < key; ++i) map->set(Row::of(i * 37, 2));
      map->del(0);
      std::string const larger = "size=" + std::to_string(kib + 8) + "k";
      if (!map->reserve(1) && (!TestSupport::fileSystemIs(store.directory(), larger) || !map->reserve(1)))
        return 2;
      map->set(Row::of(0, 3));
      RowMap other;
      if (other.mount({"other", 1 << 20, 1 << 20, Role::agent})) return 3;
      if (contents(*map).size() != key) return 4;
      map.reset();
      store.reopen();
      map = mounted("rows", 1 << 20);
      return contents(*map).size() == key && !map->collectionControl().wiped() ? 0 : 5;
    });
  }
}

TEST(Space, AReadOnlyFileSystemIsReadAndRefused) {
  TempStore store;
  TestSupport::inOwnFileSystem(store.directory(), "size=4m", [&] {
    store.claim();
    put(*mounted("rows", 8), 5, 6);
    VexSharedMem::StoreRoot::release();
    if (::mount("none", store.directory().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0) return 3;
    if (VexSharedMem::StoreRoot::claim(Role::agent).message().find("Read-only file system") ==
        std::string::npos)
      return 1;
    Row row;
    auto const opened = RowReader::open("rows");
    return opened.reader != nullptr && opened.reader->lookup(5, row) == ReadResult::found ? 0 : 2;
  });
}

}  // namespace
}  // namespace ShoalTest
