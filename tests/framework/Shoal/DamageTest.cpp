// Damage by hand: flipped bits in every class of byte, lost, exchanged, cut and foreign files.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <chrono>
#include <cstring>
#include <fstream>

#include "Shoal/BootId.h"
#include "Shoal/CollectionAudit.h"
#include "Shoal/EntityManager.h"
#include "Shoal/ShoalReader.h"
#include "Shoal/SteadyReader.h"
#include "TestRecords.h"
#include "support/TraceCapture.h"

namespace ShoalTest {
namespace {

using TestSupport::TempStore;
using RowReader = Shoal::ShoalReader<Row>;

constexpr std::uint32_t kCapacity = 64;
constexpr std::uint32_t kRows = 40;

// What a hostile hand does to a run of bytes.
enum class Harm { flip, zero, zeroWord, ones, exchange };
struct Damage {
  std::uint64_t at;
  Harm harm;
};

class DamageTest : public ::testing::Test {
 protected:
  DamageTest() {
    store_.claim();
    fill("rows");
  }
  void fill(std::string const& path) {
    auto map = mounted(path, kCapacity);
    for (std::uint32_t key = 0; key < kRows; ++key) put(*map, key << 9, key);
    map->collectionControl().scratchpadIs(77);
    map->collectionControl().agreesWithIs(99);
    map->collectionControl().watermarkIs(55);
    for (std::uint32_t key = 0; key < kRows; ++key) want_[key << 9] = key;
  }
  // Changes 64 bytes of the file from outside.
  void change(std::uint64_t at, auto const& harm) {
    std::fstream file(store_.fileOf("rows"), std::ios::in | std::ios::out | std::ios::binary);
    char bytes[64];
    file.seekg(static_cast<std::streamoff>(at));
    file.read(bytes, sizeof(bytes));
    harm(bytes);
    file.seekp(static_cast<std::streamoff>(at));
    file.write(bytes, sizeof(bytes));
  }
  void flip(std::uint64_t at, std::uint32_t bit) {
    change(at, [&](char* bytes) { bytes[0] = static_cast<char>(bytes[0] ^ 1 << bit); });
  }
  // Damages 32 bytes or one word, or flips one bit of one.
  void inflict(Damage const& damage, std::uint32_t chance) {
    if (damage.harm == Harm::flip) return flip(damage.at, chance % 8);
    change(damage.at, [&](char* bytes) {
      if (damage.harm == Harm::exchange)
        std::swap_ranges(bytes, bytes + 32, bytes + 32);
      else
        std::memset(bytes, damage.harm == Harm::ones ? 0xFF : 0, damage.harm == Harm::zeroWord ? 8 : 32);
    });
  }
  // Whatever a reader answers is right.
  void readerAnswers(RowReader& reader, std::string const& what) {
    for (auto const& [key, value] : want_) {
      Row row;
      try {
        ASSERT_EQ(reader.lookup(key, row), Shoal::ReadResult::found) << what;
        ASSERT_TRUE(row.value == value && row.whole()) << what;
        ASSERT_EQ(reader.lookup(key + 1, row), Shoal::ReadResult::absent) << what;
        ASSERT_EQ(reader.scratchpad(), 77u) << what;
      } catch (Pivot::CorruptionDetectedException const&) {
      }
    }
  }
  std::unique_ptr<RowMap> remount() {
    store_.reopen();
    return mounted("rows", kCapacity);
  }
  void expectLost(char const* why) {
    auto map = remount();
    EXPECT_TRUE(map->collectionControl().wiped()) << why;
    EXPECT_EQ(map->size(), 0u) << why;
    EXPECT_EQ(map->collectionControl().scratchpad(), 0u) << why;
    EXPECT_EQ(map->collectionControl().agreesWith(), 0u) << why;
    EXPECT_FALSE(map->collectionControl().isNew()) << why;
    map->collectionControl().clearWiped();
  }

  TestSupport::TraceCapture traces_;
  TempStore store_;
  Oracle want_;
};

// Each class of byte of a small file, one place at a time, under a reader that is open already, one that
// opens then, the audit and the next mount: each answer is right, or damage or a loss is told. Nothing may be
// silently different, and the audit finds something exactly when the mount loses something.
TEST_F(DamageTest, EveryDamagedByteIsDetectedOrHarmless) {
  Shoal::Geometry const g = Shoal::Geometry::of(sizeof(Row), 4, kCapacity);
  std::string const name = store_.fileOf("rows");
  std::string const copy = store_.directory() + "/.copy";
  std::filesystem::copy_file(name, copy);
  std::vector<Damage> damages;
  auto const harm = [&](std::uint64_t begin, std::uint64_t bytes, std::uint64_t flipEach) {
    for (std::uint64_t at = begin; at < begin + bytes; at += flipEach) damages.push_back({at, Harm::flip});
    for (std::uint64_t at = begin; at < begin + bytes; at += 32)
      for (Harm const one : {Harm::zero, Harm::zeroWord, Harm::ones, Harm::exchange})
        damages.push_back({at, one});
  };
  harm(0, 2048, 1);                                            // fixed part and control area
  harm(g.pageTableOffset, 32, 1);                              // page table
  harm(g.frameOffset, 4096, 3);                                // heads of the chains
  harm(g.slotOffset, kRows * g.slotStride, 7);                 // links, checksums, keys, records
  harm(g.slotOffset + kRows * g.slotStride, g.slotStride, 1);  // a free slot
  std::printf("%zu damages\n", damages.size());
  Random random(11);
  int lost = 0, dropped = 0, harmless = 0;
  for (Damage const& damage : damages) {
    auto const before = RowReader::open("rows");
    std::string const what =
        std::to_string(damage.at) + " harm " + std::to_string(static_cast<int>(damage.harm));
    inflict(damage, random());
    readerAnswers(*before.reader, what);
    auto const after = RowReader::open("rows");
    if (after.reader != nullptr) readerAnswers(*after.reader, what);
    bool const whole = Shoal::Audited<Row>::of({"rows", 0, kCapacity, Role::agent}).report.whole();
    ASSERT_FALSE(HasFatalFailure());
    auto map = remount();
    bool const wiped = map->collectionControl().wiped();
    ASSERT_EQ(whole, !wiped) << what;
    Oracle const have = contents(*map);
    if (!wiped) {
      ASSERT_EQ(have, want_) << what;
      ASSERT_EQ(map->collectionControl().scratchpad(), 77u) << what;
      ASSERT_EQ(map->collectionControl().agreesWith(), 99u) << what;
      ASSERT_EQ(map->collectionControl().watermark(), 55u) << what;
      ASSERT_FALSE(map->collectionControl().isOfAnotherBoot()) << what;
      ++harmless;
    } else {
      ASSERT_EQ(map->collectionControl().agreesWith(), 0u) << what;
      for (auto const& [key, value] : have) ASSERT_EQ(want_.at(key), value) << what;
      ASSERT_TRUE(have.empty() || have.size() + 2 >= want_.size()) << what;
      ++(have.empty() ? lost : dropped);
    }
    map.reset();
    std::filesystem::copy_file(copy, name, std::filesystem::copy_options::overwrite_existing);
  }
  // All three ends were really met.
  EXPECT_GT(lost, 500);
  EXPECT_GT(dropped, 300);
  EXPECT_GT(harmless, 100);
}

// A checked word is right at its own place alone: one that says "nothing" elsewhere does not hide a page of the
// directory.
TEST_F(DamageTest, ACheckedWordOfAnotherPlaceIsDamage) {
  constexpr std::uint32_t kPages = 4;
  std::size_t const cells = Shoal::Geometry::of(sizeof(Row), 4, kPages * 512).pageTableOffset;
  std::size_t const control = offsetof(Shoal::FileHeader, control);
  for (std::size_t const word :
       {offsetof(Shoal::ControlArea, wiped), offsetof(Shoal::ControlArea, retired)}) {
    for (std::uint32_t page = 0; page < kPages; ++page) {
      std::filesystem::remove(store_.fileOf("pages"));
      auto map = mounted("pages", kPages * 512);
      for (std::uint32_t key = 0; key < kPages * 512; ++key) put(*map, key, key);
      map->collectionControl().clearWiped();
      map.reset();
      std::fstream file(store_.fileOf("pages"), std::ios::in | std::ios::out | std::ios::binary);
      char bytes[8];
      file.seekg(static_cast<std::streamoff>(control + word)).read(bytes, 8);
      file.seekp(static_cast<std::streamoff>(cells + 8 * page)).write(bytes, 8);
      file.close();
      store_.reopen();
      EXPECT_TRUE(mounted("pages", kPages * 512)->collectionControl().wiped()) << word << " in cell " << page;
    }
  }
}

// A file that is cut under a reader, at each of its parts: reads end as damage does, and nobody dies of the
// signal. Its owner tells it in one line and ends.
TEST_F(DamageTest, AFileThatIsCutUnderAReader) {
  Shoal::Geometry const g = Shoal::Geometry::of(sizeof(Row), 4, kCapacity);
  std::string const name = store_.fileOf("rows");
  VexSharedMem::StoreRoot::release();  // the owner is another process
  for (std::uint64_t const size :
       {std::uint64_t{0}, std::uint64_t{4096}, g.frameOffset, g.slotOffset, g.slotOffset + 4096}) {
    auto const opened = RowReader::open("rows");
    std::filesystem::copy_file(name, store_.directory() + "/.whole");
    std::filesystem::resize_file(name, size);
    readerAnswers(*opened.reader, "cut to " + std::to_string(size));
    EXPECT_NE(opened.reader->waitForChange(opened.reader->changeCounter(), std::chrono::milliseconds(1)),
              Shoal::WaitResult::changed);
    EXPECT_EXIT(
        {
          store_.claim();
          auto map = std::make_unique<RowMap>();
          std::filesystem::copy_file(store_.directory() + "/.whole", name,
                                     std::filesystem::copy_options::overwrite_existing);
          if (!map->mount({"rows", kCapacity, kCapacity, Role::agent}).isOk()) ::_exit(3);
          std::filesystem::resize_file(name, size);
          for (std::uint32_t key = 0; key < kRows; ++key) map->set(Row::of(key << 9, 1));
          ::_exit(4);
        },
        testing::ExitedWithCode(1), "^collection 'rows': its file was cut.*ends\n$");
    std::filesystem::rename(store_.directory() + "/.whole", name);
  }
}

// A bit flips under a running owner: a read throws or is right; a change mends, keeps what it says, and marks
// what was lost.
TEST_F(DamageTest, FlipsUnderARunningOwner) {
  Shoal::Geometry const g = Shoal::Geometry::of(sizeof(Row), 4, kCapacity);
  Random random(5);
  int thrown = 0, behind = 0;
  for (int round = 0; round < 400; ++round) {
    auto map = remount();
    map->collectionControl().clearWiped();
    std::uint64_t const lossEpoch = map->lossEpoch();
    for (auto const& [key, value] : want_) put(*map, key, value);
    std::uint64_t const at = random() % 2 == 0 ? g.frameOffset + random() % 4096
                                               : g.slotOffset + random() % (kRows * g.slotStride);
    flip(at, random() % 8);
    Oracle read;
    for (auto const& [key, value] : want_) {
      try {
        Row const* row = map->find(key);
        ASSERT_TRUE(row != nullptr && row->value == value && row->whole()) << at;
      } catch (Pivot::CorruptionDetectedException const& damage) {
        map->doCorruptionDetected(damage.what());
        ++thrown;
      }
    }
    for (auto const& [key, value] : want_) map->set(Row::of(key, value + 1));
    ASSERT_EQ(map->lossEpoch() != lossEpoch, map->collectionControl().wiped()) << at;
    try {
      Oracle const left = contents(*map);
      for (auto const& [key, value] : left) ASSERT_EQ(value, want_[key] + 1) << at;
      ASSERT_TRUE(left.size() == want_.size() || map->collectionControl().wiped()) << at;
      ASSERT_EQ(map->size(), left.size()) << at;
    } catch (Pivot::CorruptionDetectedException const&) {
      // Behind the last record of a chain no change came by.
      ++behind;
    }
  }
  EXPECT_GT(thrown, 50);
  EXPECT_LT(behind, 100);
}

// Whatever flips under a running owner, after a mend nobody trips over it any more: the owner has told what was lost.
TEST_F(DamageTest, AMendLeavesNothingThatAReaderTripsOver) {
  Shoal::Geometry const g = Shoal::Geometry::of(sizeof(Row), 4, kCapacity);
  std::uint64_t const parts[][2] = {
      {0, 2048}, {g.pageTableOffset, 32}, {g.frameOffset, 4096}, {g.slotOffset, kRows * g.slotStride}};
  Random random(7);
  int lost = 0;
  auto map = remount();
  for (int round = 0; round < 400; ++round) {
    for (auto const& [key, value] : want_) put(*map, key, value);
    auto const& [begin, bytes] = parts[round % 4];
    std::uint64_t const at = begin + random() % bytes;
    flip(at, random() % 8);
    bool const membersLost = map->mend();
    lost += membersLost;
    ASSERT_EQ(membersLost, map->size() < want_.size()) << at;
    ASSERT_TRUE(map->collectionControl().wiped() || !membersLost) << at;
    map->collectionControl().clearWiped();
    auto const audited = Shoal::Audited<Row>::of({"rows", 0, kCapacity, Role::agent});
    ASSERT_TRUE(audited.report.whole()) << at << ": " << audited.report.findings.at(0).what;
    ASSERT_EQ(audited.records.size(), map->size()) << at;
    ASSERT_EQ(audited.report.watermark, 55u);
    ASSERT_FALSE(RowReader::open("rows").reader->retired()) << at;
  }
  EXPECT_GT(lost, 50);
}

// What is whole and not to be believed its owner gives up; what outlives the kernel tells so until its owner has vouched
// for it.
TEST_F(DamageTest, WholeContentsAreGivenUpOrVouchedFor) {
  auto map = remount();
  auto const reader = RowReader::open("rows");
  std::uint64_t const incarnation = map->collectionControl().incarnation();
  std::uint64_t const lossEpoch = map->lossEpoch();
  ASSERT_TRUE(map->giveUp("it came back older").isOk());
  EXPECT_EQ(traces_.countContaining("collection 'rows': it came back older"), 1u);
  EXPECT_TRUE(reader.reader->retired() && reader.reader->replaced());
  EXPECT_TRUE(map->collectionControl().incarnation() != incarnation && map->lossEpoch() != lossEpoch);
  put(*map, 1, 2);
  map.reset();
  map = remount();
  EXPECT_TRUE(map->collectionControl().wiped());
  EXPECT_EQ(contents(*map), (Oracle{{1, 2}}));
  EXPECT_EQ(map->collectionControl().watermark(), 0u);

  EXPECT_FALSE(map->collectionControl().isOfAnotherBoot());
  map.reset();
  Shoal::bootIdIs(7);
  map = remount();
  EXPECT_TRUE(map->collectionControl().isOfAnotherBoot() &&
              RowReader::open("rows").reader->isOfAnotherBoot());
  map->collectionControl().notePresentBoot();
  map.reset();
  map = remount();
  EXPECT_FALSE(map->collectionControl().isOfAnotherBoot() ||
               RowReader::open("rows").reader->isOfAnotherBoot());
  Shoal::bootIdIs(0);
}

// The mark of a replacement that a death left without one: readers stay with what is there, and do not take it for another
// file at each look.
TEST_F(DamageTest, AFileThatIsMarkedAndNotReplacedIsReadOn) {
  auto map = remount();
  Shoal::SteadyReader<Row> steady("rows");
  ASSERT_TRUE(steady.ready());
  change(offsetof(Shoal::FileHeader, control) + offsetof(Shoal::ControlArea, retired),
         [](char* bytes) { std::memset(bytes, 0xFF, 8); });
  ASSERT_TRUE(steady.reader().retired());
  for (bool const look : {false, true}) EXPECT_TRUE(steady.ready(look));
  EXPECT_EQ(steady.openings(), 1u);
  EXPECT_EQ(steady.reader().waitForChange(steady.reader().changeCounter(), std::chrono::milliseconds(20)),
            Shoal::WaitResult::timeout);
  ASSERT_TRUE(map->giveUp("it came back older").isOk());
  EXPECT_TRUE(steady.ready(false));
  EXPECT_EQ(steady.openings(), 2u);
}

// What a removal leads to is looked at by nobody else.
TEST_F(DamageTest, ADamagedLinkBehindARemovedRecordIsMetByTheWalk) {
  RowMap map;
  ASSERT_TRUE(map.mount({"pair", 64, 64, Role::agent}).isOk());
  std::uint32_t const mate =
      TestSupport::chainMate(std::uint32_t{1}, 64, 2, [](std::uint32_t key) { return key; });
  put(map, 1, 10);
  put(map, mate, 20);
  Row const first = Row::of(1, 10);
  // The bit that says that the word before the record is a link.
  TestSupport::flipBit(store_.fileOf("pair"), {reinterpret_cast<char const*>(&first), sizeof first},
                       7 - static_cast<off_t>(sizeof(Shoal::SlotHeader)), 0x80);
  ASSERT_TRUE(map.del(1));
  Shoal::IterHint hint;
  EXPECT_THROW(static_cast<void>(map.first(hint)), Pivot::CorruptionDetectedException);
}

TEST_F(DamageTest, FilesThatDoNotFitAreLostAndKeptAside) {
  std::string const file = store_.fileOf("rows");
  auto const aside = [&] {
    return std::distance(std::filesystem::directory_iterator(store_.directory() + "/.lost"), {});
  };
  std::filesystem::remove(file);
  auto const listed = VexSharedMem::EntityManager::getEntityManager("s", true)->findEntities("");
  EXPECT_EQ(listed->count(), (VexSharedMem::ShmemEntities::Count{{"rows", 0}}));
  expectLost("removed by hand");
  std::filesystem::resize_file(file, 100);
  expectLost("cut");
  EXPECT_EQ(aside(), 1);
  std::filesystem::resize_file(file, std::filesystem::file_size(file) + 4096);
  expectLost("made longer");
  fill("rows");
  fill("other");
  ASSERT_EQ(::renameat2(AT_FDCWD, file.c_str(), AT_FDCWD, store_.fileOf("other").c_str(), RENAME_EXCHANGE),
            0);
  expectLost("exchanged with another");
  store_.reopen();
  RowMap larger;  // another capacity, as after an update
  ASSERT_TRUE(larger.mount({"rows", 128, 128, Role::agent}).isOk());
  EXPECT_TRUE(larger.collectionControl().wiped());
  EXPECT_TRUE(traces_.countContaining("capacity is 64, expected 128") != 0);
  EXPECT_EQ(aside(), 3) << "the first of four is not kept any more";
  EXPECT_EQ(VexSharedMem::StoreRoot::list(""), (std::vector<std::string>{"other", "rows"}));
}

// The manifest is what knows of a missing file; without it the files that are there are listed, and what has
// none counts as lost.
TEST_F(DamageTest, ALostManifestMakesNothingNew) {
  fill("kept");
  std::filesystem::remove(store_.fileOf(".manifest-agent"));
  std::filesystem::remove(store_.fileOf("rows"));
  store_.reopen();
  EXPECT_FALSE(mounted("kept", kCapacity)->collectionControl().wiped());
  expectLost("no manifest to say otherwise");
  store_.reopen();
  EXPECT_TRUE(mounted("late", kCapacity)->collectionControl().wiped());
}

TEST_F(DamageTest, PlantedFilesAreRefused) {
  std::string const file = store_.fileOf("rows");
  std::filesystem::rename(file, store_.directory() + "/elsewhere");
  std::filesystem::create_symlink(store_.directory() + "/elsewhere", file);
  store_.reopen();
  RowMap map;
  EXPECT_FALSE(map.mount({"rows", kCapacity, kCapacity, Role::agent}).isOk());
  EXPECT_EQ(RowReader::open("rows").state, Shoal::OpenState::broken);
  for (char const* path : {"", "/rows", "a//b", "../rows", "a/..", ".manifest-x/a", "a.shoal/b", "a/"}) {
    RowMap other;
    EXPECT_NE(other.mount({path, 64, 64, Role::agent}).message().find(path), std::string::npos) << path;
    EXPECT_NE(RowReader::open(path).state, Shoal::OpenState::ok) << path;
    EXPECT_TRUE(path == std::string() || VexSharedMem::StoreRoot::list(path).empty()) << path;
  }
  // A file of another owner; only root can plant it.
  struct stat status;
  if (::geteuid() == 0) {
    fill("theirs");
    ASSERT_EQ(::chown(store_.fileOf("theirs").c_str(), 1, 1), 0);
    RowMap theirs;
    EXPECT_NE(
        theirs.mount({"theirs", kCapacity, kCapacity, Role::agent}).message().find("not a file of user 0"),
        std::string::npos);
    EXPECT_EQ(RowReader::open("theirs").state, Shoal::OpenState::broken);
  }
  std::filesystem::create_directory_symlink("/tmp", store_.directory() + "/linked");
  EXPECT_FALSE(RowMap().mount({"linked/rows", kCapacity, kCapacity, Role::agent}).isOk());
  fill("deep/down/rows2");
  ASSERT_EQ(::stat(store_.fileOf("deep/down/rows2").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600u);
  ASSERT_EQ(::stat((store_.directory() + "/deep/down").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0700u);
}

}  // namespace
}  // namespace ShoalTest
