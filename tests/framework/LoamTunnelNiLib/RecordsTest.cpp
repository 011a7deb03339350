// The shared records against literal numbers: a change of layout must be meant. Each byte of each record is
// turned over in turn, and equality must notice exactly those that carry data.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Vex/Text.h"

namespace LoamTunnelNiLib {
namespace {

struct Span {
  std::size_t first;
  std::size_t last;
};

bool within(std::vector<Span> const& runs, std::size_t at) {
  return std::any_of(runs.begin(), runs.end(),
                     [at](Span const& run) { return at >= run.first && at <= run.last; });
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

// A field of a record as another process finds it.
struct Field {
  std::size_t offset;
  std::size_t width;
  std::uint64_t value;
};

void expectFields(void const* record, std::vector<Field> const& fields) {
  for (Field const& field : fields) {
    std::uint64_t value = 0;
    std::memcpy(&value, static_cast<char const*>(record) + field.offset, field.width);
    EXPECT_EQ(value, field.value) << "offset " << field.offset;
  }
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
  std::vector<Field> fields{{768, 8, 0}, {776, 1, 0}};
  for (std::size_t offset : {20u, 24u, 28u}) fields.push_back({offset, 4, 0xFFFFFFFF});
  for (std::size_t offset : {85u, 86u}) fields.push_back({offset, 1, 1});
  for (std::size_t offset : {104u, 120u, 136u, 152u, 168u}) fields.push_back({offset, 2, 2048});
  for (std::size_t offset : {138u, 154u, 170u}) fields.push_back({offset, 2, 6});
  // Whatever else carries data is zero.
  auto const silent = joined(silentOfLogEntry(0), silentOfKeys(96));
  for (std::size_t offset = 0; offset < 768; ++offset) {
    bool const named = std::any_of(fields.begin(), fields.end(), [&](Field const& field) {
      return offset >= field.offset && offset < field.offset + field.width;
    });
    if (!named && !within(silent, offset)) fields.push_back({offset, 1, 0});
  }
  // No compiler promises what a new object finds in its memory.
  alignas(InLifModelConfigShoalEntry) unsigned char memory[sizeof(InLifModelConfigShoalEntry)];
  std::memset(memory, 0xAB, sizeof memory);
  expectFields(new (memory) InLifModelConfigShoalEntry, fields);
  InLifModelLogShoalEntry const log;
  expectFields(&log, {{0, 8, 0}, {104, 2, 0xFFFF}, {106, 1, 0}});
}

TEST(Records, anEntryIsTrueWhenItDiffersFromTheDefault) {
  EXPECT_FALSE(InLifModelEntry());
  InLifModelEntry entry;
  entry.logEntry.clientBytes()[20] = std::byte{1};
  EXPECT_FALSE(entry) << "a byte that takes no part in equality";
  entry.rsrcKeys.vlanEditProfileKey.vlanEdit.ops[TagFormat::other].editHint = 1;
  EXPECT_TRUE(entry);
}

TEST(Records, textsNameWhatDiffers) {
  InLifModelEntry entry;
  entry.logEntry.key = InLifModelEntryKey(7);
  entry.logEntry.learnEnable = 0;
  entry.logEntry.clientBytes()[1] = std::byte{0xC4};
  entry.rsrcKeys.qosProfileKey = LoamQos::QosProfileEntryKey::ofInterface("Ethernet1.100");
  EXPECT_EQ(fmt::format("{}", entry),
            "{key: 7, learnEnable: 0, client: 00c40000000000000000 00 00, qosProfileKey: Ethernet1.100}");
}

}  // namespace
}  // namespace LoamTunnelNiLib
