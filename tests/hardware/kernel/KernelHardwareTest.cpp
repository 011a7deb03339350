// The data plane in the kernel: what the program does to single frames, and what the writer's calls leave in the maps. Runs in
// namespaces of its own, which end with the process.
#include <bpf/bpf.h>
#include <gtest/gtest.h>

#include <numeric>

#include "hardware/kernel/KernelHardware.h"
#include "hardware/kernel/KernelWorld.h"

namespace {

using namespace LoamHardware;
using namespace LoamTunnelNiLib;

constexpr std::uint32_t kPort = 1U << 30 | 7U << 14;
constexpr std::size_t kMembers = 1, kSubInterfaces = 2;
constexpr std::uint8_t kUp = 1, kTagged = 2;

struct Tag {
  std::uint16_t tpid, vlan;
  friend bool operator==(Tag const&, Tag const&) = default;
};
using Tags = std::vector<Tag>;

// An IPv4 packet behind the tags, with a checksum that is right.
std::vector<std::uint8_t> frameWith(Tags const& tags) {
  std::vector<std::uint8_t> bytes{2, 0, 0, 0, 0, 1, 2, 0, 0, 0, 0, 2};
  auto const word = [&](unsigned value) {
    bytes.push_back(static_cast<std::uint8_t>(value >> 8));
    bytes.push_back(static_cast<std::uint8_t>(value));
  };
  for (Tag const& tag : tags) word(tag.tpid), word(0x6000U | tag.vlan);
  word(0x0800);
  for (unsigned value : {0x4500U, 46U, 0U, 0U, 0x4011U, 0x66bdU, 0x0a00U, 1U, 0x0a00U, 2U}) word(value);
  bytes.resize(bytes.size() + 26, 0xAA);
  return bytes;
}

// What came out: its tags with their priorities, the code point, and whether the checksum of the header is right.
struct Out {
  Tags tags;
  std::vector<unsigned> priorities;
  unsigned codePoint = 0;
  bool isRight = false;
};

Out parsed(std::vector<std::uint8_t> const& bytes) {
  Out out;
  std::size_t at = 12;
  auto const word = [&](std::size_t place) {
    return static_cast<unsigned>(bytes[place] << 8 | bytes[place + 1]);
  };
  for (; word(at) != 0x0800 && at < 28; at += 4) {
    out.tags.push_back(
        {static_cast<std::uint16_t>(word(at)), static_cast<std::uint16_t>(word(at + 2) & 0xfff)});
    out.priorities.push_back(word(at + 2) >> 13);
  }
  unsigned sum = 0;
  for (std::size_t i = 0; i < 10; ++i) sum += word(at + 2 + 2 * i);
  sum = (sum & 0xffff) + (sum >> 16);
  out.codePoint = word(at + 2) >> 2 & 63;
  out.isRight = (sum & 0xffff) + (sum >> 16) == 0xffff;
  return out;
}

InLifModelLogEntry entryOf(std::uint32_t key, std::uint16_t vlan, std::uint8_t state,
                           std::uint8_t profile = 0, std::uint16_t tpid = 0x8100, std::uint16_t inner = 0) {
  InLifModelLogEntry entry;
  entry.key = InLifModelEntryKey(kPort | key);
  entry.clearUnowned();
  auto const put = [&](std::size_t at, std::uint16_t word) {
    std::memcpy(entry.client + at, &word, sizeof word);
  };
  put(0, vlan), put(4, tpid), put(8, inner);
  entry.client[7] = static_cast<std::byte>(state);
  entry.vlanEditProfile = profile;
  return entry;
}

class KernelHardwareTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!world_.isThere()) GTEST_SKIP() << "no right to a BPF file system and a network namespace of its own";
    world_.store().claim();
    options_.pins = world_.pins();
    options_.ports = {{"Ethernet7", "lo", "", kPort, 0, 0}};
    options_.unitCapacity = 8;
    start();
  }
  // A new life of the writer's.
  void start() {
    hardware_ = std::make_unique<KernelHardware>(options_);
    TestSupport::mustBeOk(hardware_->open(group_));
    TestSupport::mustBeOk(maps_.open(options_.pins));
  }
  void write(std::size_t table, InLifModelLogEntry const& entry, Asic::UnitId unit = 0) {
    static_cast<void>(hardware_->write({table, unit}, Entry(entry, Asic::LogVersion(++version_))));
  }
  void remove(std::size_t table, InLifModelLogEntry const& entry, Asic::UnitId unit = 0) {
    static_cast<void>(hardware_->remove({table, unit}, Entry(entry, Asic::LogVersion(++version_))));
  }
  // Ends the batch of a table; what became of its calls, a letter each: (d)one, table (f)ull, (o)ther.
  std::string settle(std::size_t table) {
    EXPECT_TRUE(hardware_->endBatch(table).isDone());
    std::vector<Completion> completed;
    hardware_->completions(completed);
    std::string ends;
    for (Completion const& one : completed) {
      EXPECT_EQ(one.ticket, ++ticket_);
      bool const isFull = !one.answer.isDone() && one.answer.refusalClass() == RefusalClass::tableFull;
      ends += one.answer.isDone() ? 'd' : isFull ? 'f' : 'o';
    }
    return ends;
  }
  std::vector<std::uint32_t> standing(std::size_t table, Asic::UnitId unit = 0) {
    std::vector<InLifModelLogEntry> records;
    EXPECT_TRUE(hardware_->readBack({table, unit}, records).isDone());
    std::vector<std::uint32_t> keys;
    for (InLifModelLogEntry const& record : records) keys.push_back(record.key.value() & 0x3fff);
    std::ranges::sort(keys);
    return keys;
  }
  // Lets one frame through the program; nothing when it is dropped.
  std::optional<Out> pass(Tags const& tags) {
    std::vector<std::uint8_t> in = frameWith(tags), out(in.size() + 64);
    bpf_test_run_opts run{};
    run.sz = sizeof run;
    run.data_in = in.data(), run.data_size_in = static_cast<std::uint32_t>(in.size());
    run.data_out = out.data(), run.data_size_out = static_cast<std::uint32_t>(out.size());
    EXPECT_EQ(bpf_prog_test_run_opts(hardware_->programDescriptor(), &run), 0);
    if (run.retval == 1) return std::nullopt;
    EXPECT_EQ(run.retval, 2U);
    out.resize(run.data_size_out);
    return parsed(out);
  }

  TestSupport::KernelWorld world_;
  KernelOptions options_;
  Asic::GroupInfo group_ = [] {
    Asic::GroupInfo group("kernel");
    for (char const* name : {"InLif0", "InLif1", "InLif23"})
      group.tables.emplace_back("kernel", "LoamTunnelNiLib", name, Asic::SwTableId(1));
    return group;
  }();
  std::unique_ptr<KernelHardware> hardware_;
  KernelMaps maps_;
  std::uint64_t version_ = 0;
  Ticket ticket_ = 0;
};

TEST_F(KernelHardwareTest, TagsLeadToTheInterfaceAndItsEntrySaysWhatBecomesOfAFrame) {
  using Profiles = IveResourceTableResourceTable::Store;
  Profiles::Map profiles;
  TestSupport::mustBeOk(profiles.mount({"bursar/LoamTunnelNiLib/IveResourceTable.featureLoamInLif", 255}));
  auto const profileIs = [&](std::uint8_t number, TagFormat format, VlanOp const& op) {
    Profiles::Record record;
    record.key.vlanEdit.ops[format] = op;
    record.value = number;
    profiles.set(record);
  };
  TagFormat const oneTag = tagFormat(TagKind::customer),
                  twoTags = tagFormat(TagKind::customer, TagKind::customer);
  profileIs(1, oneTag, {VlanAction::edit, 1});
  profileIs(2, oneTag, {VlanAction::edit, 1, 2, 1, 20, 0x88a8, 30, 0x8100, 0, 5});
  profileIs(3, twoTags, {VlanAction::edit, 2});
  profileIs(4, oneTag, {VlanAction::drop});
  auto marked = entryOf(100, 100, kUp | kTagged, 1);
  marked.qosProfile = 37;
  write(kMembers, marked);
  write(kMembers, entryOf(200, 200, kUp));
  for (auto const& entry : {entryOf(101, 101, kTagged), entryOf(102, 102, kUp | kTagged, 4),
                            entryOf(103, 103, kUp | kTagged, 1, 0x88a8), entryOf(104, 104, kUp | kTagged, 9)})
    write(kMembers, entry);
  EXPECT_EQ(settle(kMembers), "dddddd");
  for (auto const& entry :
       {entryOf(10, 10, kUp, 1), entryOf(11, 1011, kUp, 2), entryOf(12, 300, kUp, 3, 0x8100, 7)})
    write(kSubInterfaces, entry);
  EXPECT_EQ(settle(kSubInterfaces), "ddd");

  struct Case {
    char const* what;
    Tags in;
    std::optional<Tags> out;
  };
  std::optional<Tags> const dropped;
  for (Case const& one : {
           Case{"untagged: the untagged member", {}, Tags{}},
           {"a priority tag: the untagged member", {{0x8100, 0}}, Tags{{0x8100, 0}}},
           {"its VLAN: a tagged member, its tag goes", {{0x8100, 100}}, Tags{}},
           {"two tags have no edit there", {{0x8100, 100}, {0x8100, 5}}, Tags{{0x8100, 100}, {0x8100, 5}}},
           {"an untagged member takes no tag", {{0x8100, 200}}, dropped},
           {"a sub-interface by its number", {{0x8100, 10}}, Tags{}},
           {"a sub-interface by its VLAN, two tags come", {{0x8100, 1011}}, Tags{{0x88a8, 20}, {0x8100, 30}}},
           {"no longer by its number", {{0x8100, 11}}, dropped},
           {"by both tags", {{0x8100, 300}, {0x8100, 7}}, Tags{}},
           {"the outer one alone is not enough", {{0x8100, 300}}, dropped},
           {"nor with another inner one", {{0x8100, 300}, {0x8100, 8}}, dropped},
           {"down", {{0x8100, 101}}, dropped},
           {"the profile drops", {{0x8100, 102}}, dropped},
           {"another type of tag", {{0x8100, 103}}, dropped},
           {"its type of tag", {{0x88a8, 103}}, Tags{{0x88a8, 103}}},
           {"an unknown profile", {{0x8100, 104}}, dropped},
       }) {
    SCOPED_TRACE(one.what);
    std::optional<Out> const out = pass(one.in);
    EXPECT_EQ(out.has_value(), one.out.has_value());
    if (!out || !one.out) continue;
    EXPECT_EQ(out->tags, *one.out);
    EXPECT_TRUE(out->isRight);
  }
  EXPECT_EQ(pass({{0x8100, 100}})->codePoint, 37U);
  EXPECT_EQ(pass({{0x8100, 100}, {0x8100, 5}})->priorities, (std::vector<unsigned>{5, 3}));
  EXPECT_EQ(pass({{0x8100, 1011}})->priorities, (std::vector<unsigned>{3, 5}));
  EXPECT_EQ(maps_.counter({kMembers, 0, kPort | 100}).frames, 4U);
  EXPECT_EQ(maps_.counter({kMembers, 0, kPort | 101}).dropped, 1U);
  EXPECT_EQ(maps_.drops(kInlifDropNoEntry), 5U);
  EXPECT_EQ(maps_.drops(kInlifDropUnknownProfile), 1U);
  EXPECT_EQ(maps_.learned().size(), 3U) << "one address on three members";
}

TEST_F(KernelHardwareTest, AFullMapRefusesTheEntryAndGoesOn) {
  for (std::uint16_t key = 1; key <= 10; ++key) write(kMembers, entryOf(key, key, kUp | kTagged));
  write(kMembers, entryOf(3, 3, kTagged));  // what stands can be replaced
  EXPECT_EQ(settle(kMembers), "ddddddddffd");
  EXPECT_FALSE(pass({{0x8100, 3}}));
  EXPECT_TRUE(pass({{0x8100, 4}}));
  remove(kMembers, entryOf(3, 3, 0));
  remove(kMembers, entryOf(99, 99, 0));  // was never there
  write(kMembers, entryOf(9, 9, kUp | kTagged));
  write(kMembers, entryOf(1, 1, kUp | kTagged), 5);
  EXPECT_EQ(settle(kMembers), "dddd");
  EXPECT_EQ(standing(kMembers), (std::vector<std::uint32_t>{1, 2, 4, 5, 6, 7, 8, 9}));
  EXPECT_EQ(*hardware_->standingUnits(kMembers), (std::vector<Asic::UnitId>{0, 5}));
  static_cast<void>(hardware_->clear({kMembers, 0}));
  write(kMembers, entryOf(2, 2, kUp | kTagged));
  EXPECT_EQ(settle(kMembers), "dd");
  EXPECT_EQ(standing(kMembers), (std::vector<std::uint32_t>{2}));
  EXPECT_EQ(standing(kMembers, 5), (std::vector<std::uint32_t>{1}));
}

TEST_F(KernelHardwareTest, TheNextLifeTakesOverWhatIsPinnedAndMendsMatches) {
  write(kMembers, entryOf(200, 200, kUp));
  write(kSubInterfaces, entryOf(11, 1011, kUp));
  EXPECT_EQ(settle(kMembers), "d");
  ASSERT_FALSE(pass({{0x8100, 1011}})) << "gathered, and not carried out";
  ++ticket_;
  start();
  ticket_ = 0;
  EXPECT_TRUE(pass({})) << "stands without a writer";
  EXPECT_TRUE(standing(kSubInterfaces).empty()) << "what was gathered is given again";
  write(kSubInterfaces, entryOf(11, 1011, kUp));
  EXPECT_EQ(settle(kSubInterfaces), "d");
  // As a death between the two maps leaves it, and a match of nobody's.
  maps_.removeMatch({kPort, 0, 1011, 0, 0});
  maps_.matchIs({kPort, 0, 77, 0, 0}, {kSubInterfaces, 0, kPort | 11});
  start();
  ticket_ = 0;
  EXPECT_TRUE(pass({{0x8100, 1011}}));
  EXPECT_EQ(maps_.matches().size(), 2U);
  // Another VLAN: the old one leads nowhere. The same VLAN on two members without a tag: the last one has it, until it goes.
  write(kSubInterfaces, entryOf(11, 1012, kUp));
  EXPECT_EQ(settle(kSubInterfaces), "d");
  EXPECT_FALSE(pass({{0x8100, 1011}}));
  EXPECT_TRUE(pass({{0x8100, 1012}}));
  ticket_ = 1;
  write(kMembers, entryOf(201, 201, kUp));
  remove(kMembers, entryOf(200, 200, 0));
  EXPECT_EQ(settle(kMembers), "dd");
  EXPECT_TRUE(pass({}));
  remove(kMembers, entryOf(201, 201, 0));
  EXPECT_EQ(settle(kMembers), "d");
  EXPECT_FALSE(pass({}));
  EXPECT_EQ(maps_.matches().size(), 1U);
}

TEST_F(KernelHardwareTest, WhatIsUnpinnedIsGoneAndMadeAnew) {
  write(kMembers, entryOf(100, 100, kUp | kTagged));
  EXPECT_EQ(settle(kMembers), "d");
  std::filesystem::remove_all(options_.pins);
  write(kMembers, entryOf(101, 101, kUp | kTagged));
  EXPECT_EQ(hardware_->endBatch(kMembers).kind(), Answer::Kind::gone);
  TestSupport::mustBeOk(hardware_->open(group_));
  EXPECT_TRUE(standing(kMembers).empty());
}

TEST_F(KernelHardwareTest, WhereItMayNotBeItIsRefusedInOneLine) {
  for (auto const& [pins, port, words] :
       {std::tuple{world_.store().directory(), "lo", "is on no BPF file system"},
        std::tuple{world_.place() + "/other", "nothing0",
                   "port Ethernet7: there is no interface \"nothing0\""}}) {
    KernelOptions options = options_;
    options.pins = pins;
    options.ports[0].interface = port;
    KernelHardware hardware(options);
    std::string const message = hardware.open(group_).message();
    EXPECT_NE(message.find(words), std::string::npos) << message;
    EXPECT_EQ(message.find('\n'), std::string::npos);
  }
}

}  // namespace
