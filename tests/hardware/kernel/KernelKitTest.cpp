// The kit of checks against the kernel, where that is permitted.
#include <gtest/gtest.h>

#include "hardware/kernel/FrameMatch.h"
#include "hardware/kernel/KernelHardware.h"
#include "hardware/kernel/KernelWorld.h"
#include "hardware/kit/Kit.h"

namespace {

using namespace LoamHardware;

class KernelSpecimen final : public Specimen {
 public:
  explicit KernelSpecimen(std::string pins) {
    options_.pins = std::move(pins);
    options_.unitCapacity = 64;
  }

  std::unique_ptr<Hardware> connect() override { return std::make_unique<KernelHardware>(options_); }
  bool reset() override { return std::filesystem::remove_all(options_.pins) > 0; }
  std::optional<std::vector<LoamTunnelNiLib::InLifModelLogEntry>> standing(UnitTable place) override {
    KernelMaps maps;
    std::vector<InlifEntry> entries;
    std::vector<LoamTunnelNiLib::InLifModelLogEntry> records;
    if (!maps.open(options_.pins).isOk()) return records;
    EXPECT_EQ(maps.entries(place.table, place.unit, entries), 0);
    for (InlifEntry const& entry : entries) records.push_back(fieldsOf(entry));
    return records;
  }

 private:
  KernelOptions options_;
};

TEST(KernelKitTest, TheKernelPasses) {
  TestSupport::KernelWorld world;
  if (!world.isThere()) GTEST_SKIP() << "no right to a BPF file system of its own: the kernel is not checked";
  KernelSpecimen specimen(world.pins());
  std::string const stores = world.store().directory() + "/kit";
  std::filesystem::create_directory(stores);
  for (KitCheck const& check : runKit(specimen, {stores, 1, 60})) {
    EXPECT_NE(check.end, KitCheck::End::failed) << check.name << ": " << check.what;
    if (check.end == KitCheck::End::leftOut)
      std::printf("left out: %s: %s\n", check.name.c_str(), check.what.c_str());
  }
}

}  // namespace
