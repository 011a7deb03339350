// The shared records against literal numbers: a change of layout must be meant. Each byte of each record is
// turned over in turn, and equality must notice exactly those that carry data.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "LoamTunnelNiLib/InLifImage.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"

namespace LoamTunnelNiLib {
namespace {

struct Span {
  std::size_t first;
  std::size_t last;
};

bool within(std::vector<Span> const& runs, std::size_t at) {
  for (Span const& run : runs) {
    if (at >= run.first && at <= run.last) return true;
  }
  return false;
}

// Turns each byte of a record over and asks whether isEq sees it: it must for all bytes but the silent ones.
template <class Record>
void expectSilent(std::vector<Span> const& silent) {
  for (std::size_t at = 0; at < sizeof(Record); ++at) {
    Record one;
    Record other;
    reinterpret_cast<unsigned char*>(&other)[at] ^= 0x5A;
    EXPECT_EQ(one.isEq(other), within(silent, at)) << "byte " << at;
    EXPECT_EQ(other.isEq(one), within(silent, at)) << "byte " << at;
  }
}

// The client's bytes without meaning to the tables, and the padding, of a log entry that lies at `base`.
std::vector<Span> silentOfLogEntry(std::size_t base) {
  return {{base + 46, base + 79}, {base + 81, base + 83}, {base + 89, base + 95}};
}
std::vector<Span> silentOfKeys(std::size_t base) {
  return {{base + 10, base + 15}, {base + 26, base + 31}, {base + 45, base + 47},   {base + 61, base + 63},
          {base + 77, base + 79}, {base + 89, base + 95}, {base + 105, base + 111}, {base + 668, base + 671}};
}
std::vector<Span> joined(std::vector<Span> a, std::vector<Span> const& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

template <class T>
T at(void const* record, std::size_t offset) {
  T value;
  std::memcpy(&value, static_cast<char const*>(record) + offset, sizeof value);
  return value;
}

TEST(Records, equalitySeesWhatCarriesDataAndNothingElse) {
  expectSilent<InLifModelLogEntry>(silentOfLogEntry(0));
  expectSilent<InLifModelResourceKeys>(silentOfKeys(0));
  std::vector<Span> const entry = joined(silentOfLogEntry(0), silentOfKeys(96));
  expectSilent<InLifModelEntry>(entry);
  expectSilent<InLifModelConfigShoalEntry>(joined(entry, {{777, 783}}));
  expectSilent<InLifModelLogShoalEntry>(joined(silentOfLogEntry(8), {{107, 111}}));
}

TEST(Records, defaultsStandAtTheirOffsets) {
  InLifModelConfigShoalEntry const record;
  for (std::size_t offset : {0u, 8u}) EXPECT_EQ(at<std::uint64_t>(&record, offset), 0u) << offset;
  for (std::size_t offset : {16u, 32u}) EXPECT_EQ(at<std::uint32_t>(&record, offset), 0u) << offset;
  for (std::size_t offset : {20u, 24u, 28u})
    EXPECT_EQ(at<std::uint32_t>(&record, offset), 0xFFFFFFFFu) << offset;
  for (std::size_t offset = 36; offset <= 45; ++offset)
    EXPECT_EQ(at<std::uint8_t>(&record, offset), 0) << offset;
  for (std::size_t offset : {80u, 84u, 87u, 88u}) EXPECT_EQ(at<std::uint8_t>(&record, offset), 0) << offset;
  for (std::size_t offset : {85u, 86u}) EXPECT_EQ(at<std::uint8_t>(&record, offset), 1) << offset;
  std::size_t const keys = 96;
  for (std::size_t offset : {8u, 24u, 40u, 56u, 72u})
    EXPECT_EQ(at<std::uint16_t>(&record, keys + offset), 2048);
  for (std::size_t offset : {42u, 58u, 74u}) EXPECT_EQ(at<std::uint16_t>(&record, keys + offset), 6);
  for (std::size_t offset : {0u, 16u, 32u, 48u, 64u, 80u, 88u, 96u, 104u, 656u, 664u}) {
    EXPECT_EQ(at<std::uint64_t>(&record, keys + offset), 0u) << offset;
  }
  for (std::size_t offset = 112; offset < 656; offset += 8)
    EXPECT_EQ(at<std::uint64_t>(&record, keys + offset), 0u);
  EXPECT_EQ(at<std::uint64_t>(&record, 768), 0u);
  EXPECT_EQ(at<std::uint64_t>(&record, 776), 0u);

  InLifModelLogShoalEntry const log;
  EXPECT_EQ(at<std::uint64_t>(&log, 0), 0u);
  EXPECT_EQ(at<std::uint16_t>(&log, 104), 0xFFFF);
  EXPECT_EQ(at<std::uint8_t>(&log, 106), 0);
}

// What another process finds by offset is what this one wrote by name.
TEST(Records, fieldsStandAtTheirOffsets) {
  InLifModelLogShoalEntry log;
  log.logVersion = Asic::LogVersion(0x0102030405060708);
  log.unitId = 0x1234;
  log.logFlags = 2;
  InLifModelLogEntry& entry = log.logEntry;
  entry.inLifData = 11;
  entry.inLifDataVlan = 12;
  entry.key = InLifModelEntryKey(13);
  entry.srv6EndpointCounterIndex = 14;
  entry.l2CrpsIndex = 15;
  entry.l3CrpsIndex = 16;
  entry.fecId = 17;
  entry.clientBytes()[0] = std::byte{18};
  entry.clientBytes()[48] = std::byte{19};
  entry.learnEnable = 20;
  entry.learnEnableVlan = 21;
  entry.vlanEditProfile = 22;
  entry.qosProfile = 23;

  EXPECT_EQ(at<std::uint8_t>(&log, 0), 8) << "little-endian";
  EXPECT_EQ(at<std::uint16_t>(&log, 104), 0x1234);
  EXPECT_EQ(at<std::uint8_t>(&log, 106), 2);
  EXPECT_TRUE(log.isTableDeleted());
  EXPECT_FALSE(log.isEntryDeleted());
  std::size_t const base = 8;
  EXPECT_EQ(at<std::uint64_t>(&log, base + 0), 11u);
  EXPECT_EQ(at<std::uint64_t>(&log, base + 8), 12u);
  EXPECT_EQ(at<std::uint32_t>(&log, base + 16), 13u);
  EXPECT_EQ(at<std::uint32_t>(&log, base + 20), 14u);
  EXPECT_EQ(at<std::uint32_t>(&log, base + 24), 15u);
  EXPECT_EQ(at<std::uint32_t>(&log, base + 28), 16u);
  EXPECT_EQ(at<std::uint32_t>(&log, base + 32), 17u);
  EXPECT_EQ(at<std::uint8_t>(&log, base + 36), 18);
  EXPECT_EQ(at<std::uint8_t>(&log, base + 84), 19);
  EXPECT_EQ(at<std::uint8_t>(&log, base + 85), 20);
  EXPECT_EQ(at<std::uint8_t>(&log, base + 86), 21);
  EXPECT_EQ(at<std::uint8_t>(&log, base + 87), 22);
  EXPECT_EQ(at<std::uint8_t>(&log, base + 88), 23);
}

// What lies in the client's other bytes is left to the client, and no compiler promises what a new object
// finds there.
TEST(Records, theDefaultConstructorClearsTheClientsComparedBytes) {
  alignas(InLifModelLogEntry) unsigned char memory[sizeof(InLifModelLogEntry)];
  std::memset(memory, 0xAB, sizeof memory);
  auto* const entry = new (memory) InLifModelLogEntry;
  for (std::size_t offset : {36, 40, 45, 80, 84}) EXPECT_EQ(memory[offset], 0) << offset;
  EXPECT_TRUE(entry->isEq(InLifModelLogEntry()));
}

TEST(Records, anEntryIsTrueWhenItDiffersFromTheDefault) {
  EXPECT_FALSE(InLifModelEntry());
  InLifModelEntry entry;
  entry.logEntry.learnEnable = 0;
  EXPECT_TRUE(entry);
  entry = InLifModelEntry();
  entry.rsrcKeys.vlanEditProfileKey.vlanEdit.ops[TagFormat::other].editHint = 1;
  EXPECT_TRUE(entry);
  entry = InLifModelEntry();
  entry.logEntry.clientBytes()[20] = std::byte{1};
  EXPECT_FALSE(entry) << "a byte that takes no part in equality";
}

TEST(Records, textsNameWhatDiffers) {
  InLifModelEntry entry;
  entry.logEntry.key = InLifModelEntryKey(7);
  entry.logEntry.learnEnable = 0;
  entry.rsrcKeys.qosProfileKey = LoamQos::QosProfileEntryKey(Wirekit::IntfId("Ethernet1.100"));
  EXPECT_EQ(fmt::format("{}", entry), "{key: 7, learnEnable: 0, qosProfileKey: Ethernet1.100}");
  entry.rsrcKeys = InLifModelResourceKeys();
  entry.logEntry.clientBytes()[1] = std::byte{0xC4};
  EXPECT_EQ(fmt::format("{}", entry), "{key: 7, learnEnable: 0, client: 00c40000000000000000 00 00}");

  InLifModelLogShoalEntry gone;
  gone.logVersion = Asic::LogVersion(9);
  gone.unitId = 3;
  gone.logFlags = InLifModelLogShoalEntry::kIsTableDeleted;
  EXPECT_EQ(fmt::format("{}", gone), "{version: 9, unit: 3, table deleted}");
}

TEST(Image, keysKeepUnitsApart) {
  InLifImageKey const a(1, InLifModelEntryKey(2));
  InLifImageKey const b(2, InLifModelEntryKey(1));
  EXPECT_NE(a, b);
  EXPECT_LT(a, b);
  EXPECT_EQ(at<std::uint16_t>(&a, 0), 1);
  EXPECT_EQ(at<std::uint32_t>(&a, 4), 2u);
  EXPECT_EQ(fmt::format("{}", b), "2:1");
}

}  // namespace
}  // namespace LoamTunnelNiLib
