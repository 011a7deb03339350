// The judge of the frames in the demo of the data plane finds what is lost and what is treated wrongly, and the command line
// of the kernel as hardware refuses what it cannot read.
#include "LoamTunnelNiLib/InLifImage.h"
#include "Refusals.h"
#include "hardware/kernel/KernelHardware.h"
#include "hardware/kernel/KernelWorld.h"
#include "tools/demo/kernel/FrameAccount.h"
#include "tools/kernel/KernelTarget.h"
#include "tools/support/Tables.h"

namespace Inlif {
namespace {

constexpr FrameAccount::Time kSecond = 1'000'000'000;
constexpr Treatment kPlain{true, 0, 5}, kTagged{true, 12, 5}, kDropped{};

// Two interfaces, a frame of each every second from the first on; the second one is tagged anew in second 3, acknowledged
// in second 5, and gone in second 8.
struct Account {
  FrameAccount account{{kPlain, kPlain}};
  std::vector<FrameStream::Record> frames{20};

  Account() {
    account.change(1, 3 * kSecond, 5 * kSecond, kTagged);
    account.change(1, 8 * kSecond, 8 * kSecond, kDropped);
    for (FrameAccount::Time second = 1; second <= 10; ++second) {
      for (std::size_t i = 0; i < 2; ++i) frameOf(i, second).sent = second * kSecond;
      frameOf(0, second).fate = kPlain.word();
      frameOf(1, second).fate = (second < 4 ? kPlain : second < 8 ? kTagged : kDropped).word();
    }
  }
  FrameStream::Record& frameOf(std::size_t interface, FrameAccount::Time second) {
    return frames[static_cast<std::size_t>(second - 1) * 2 + interface];
  }
};

TEST(FrameAccountTest, EachFrameIsHeldAgainstWhatStoodWhenItWasSent) {
  FrameVerdict const good = Account().account.judge(Account().frames);
  EXPECT_TRUE(good.holds());
  EXPECT_EQ(good.unchanged.delivered, 10U);
  EXPECT_EQ(good.changed.delivered, 7U);
  EXPECT_EQ(good.changed.dropped, 3U);
  EXPECT_EQ(good.delays, (std::vector<double>{-1000, 0}));
  struct Case {
    char const* what;
    std::size_t interface;
    FrameAccount::Time second;
    std::uint32_t fate;
    std::size_t lost, wrong;
  };
  for (Case const& one : {
           Case{"lost", 0, 5, 0, 1, 0},
           {"with another priority", 0, 5, Treatment{true, 0, 6}.word(), 0, 1},
           {"damaged", 0, 5, FrameStream::kMalformed, 0, 1},
           {"anew before it was asked for", 1, 2, kTagged.word(), 0, 1},
           {"in the old way after the acknowledgement", 1, 6, kPlain.word(), 0, 1},
           {"in the old way before it", 1, 4, kPlain.word(), 0, 0},
           {"delivered after its removal", 1, 9, kTagged.word(), 0, 1},
           {"dropped before its removal", 1, 7, 0, 1, 0},
       }) {
    SCOPED_TRACE(one.what);
    Account bad;
    bad.frameOf(one.interface, one.second).fate = one.fate;
    FrameVerdict const verdict = bad.account.judge(bad.frames);
    EXPECT_EQ(verdict.unchanged.lost + verdict.changed.lost, one.lost);
    EXPECT_EQ(verdict.unchanged.wrong + verdict.changed.wrong, one.wrong);
    EXPECT_EQ(verdict.examples.size(), one.lost + one.wrong);
  }
  Account never;
  for (FrameAccount::Time second = 8; second <= 10; ++second) never.frameOf(1, second).sent = 0;
  EXPECT_EQ(never.account.judge(never.frames).neverAnew, 1U);
}

TEST(KernelTargetTest, APortThatCannotBeReadIsRefused) {
  ToolsTest::expectRefusals(
      [](std::string const& text) {
        KernelArguments arguments;
        arguments.ports = {text};
        std::unique_ptr<LoamHardware::Hardware> hardware;
        return kernelHardware(arguments, hardware).message();
      },
      ToolsTest::refusalsOf("ports"));
}

TEST(KernelTargetTest, WhatDiffersBetweenImageAndKernelIsFound) {
  using namespace LoamTunnelNiLib;
  TestSupport::KernelWorld world;
  if (!world.isThere()) GTEST_SKIP() << "no right to a BPF file system of its own";
  world.store().claim(VexSharedMem::StoreRoot::Role::writer);
  std::array<InLifImage::Map, kTables> images;
  for (std::size_t table = 0; table < kTables; ++table)
    TestSupport::mustBeOk(
        images[table].mount({tables()[table].imagePath, 100, 0, VexSharedMem::StoreRoot::Role::writer}));
  LoamHardware::KernelOptions options;
  options.pins = world.pins();
  LoamHardware::KernelHardware kernel(options);
  TestSupport::mustBeOk(kernel.open(LoamInLif::groupInfo()));
  // Key 1 is equal, 2 differs, 3 is in the kernel alone and 4 in the image.
  for (std::uint32_t key = 1; key <= 4; ++key) {
    InLifImageEntry record;
    record.entry.clearUnowned();
    record.entry.key = InLifModelEntryKey(key);
    record.key = InLifImageKey(0, record.entry.key);
    if (key != 4) static_cast<void>(kernel.write({1, 0}, {record.entry, Asic::LogVersion(key)}));
    if (key == 2) record.entry.qosProfile = 9;
    if (key != 3) images[1].set(record);
  }
  EXPECT_TRUE(kernel.endBatch(1).isDone());
  std::size_t entries = 0;
  std::vector<CheckFinding> findings;
  TestSupport::mustBeOk(comparePinned(world.pins(), entries, findings));
  EXPECT_EQ(entries, 3U);
  std::map<std::string, std::string> found;
  for (CheckFinding const& finding : findings) found[finding.record] = finding.what;
  EXPECT_EQ(found, (std::map<std::string, std::string>{
                       {"unit 0 key 2", "is not in the kernel what it is in the image"},
                       {"unit 0 key 3", "is in the kernel and not in the image"},
                       {"unit 0 key 4", "is in the image and not in the kernel"}}));
}

}  // namespace
}  // namespace Inlif
