// The kit of checks passes on our own hardware in each of its styles, and names each fault of one that is wrong.
#include <gmock/gmock.h>

#include <functional>

#include "hardware/kit/Kit.h"
#include "hardware/memory/MemoryHardware.h"
#include "support/TempStore.h"

namespace {

using namespace LoamHardware;
using LoamTunnelNiLib::InLifModelLogEntry;
using testing::HasSubstr;

struct Faults {
  bool dropsRemoves = false;
  bool reorders = false;
  bool forgetsAtReset = false;  // and says nothing of it
  bool vouches = false;         // for what it has not looked at
  bool completesTwice = false;
  bool dropsOnFull = false;  // takes what there is no room for, and lets it fall
};

// A chip that refuses one value, and has the fault that it is given.
class TriedHardware final : public MemoryHardware {
 public:
  TriedHardware(MemoryChip& chip, Style style, Faults faults)
      : MemoryHardware(chip, style), faults_(faults) {}

  static constexpr std::uint8_t kNoProfile = 13;

  bool stands(std::size_t table) override { return faults_.vouches || MemoryHardware::stands(table); }
  Answer endBatch(std::size_t table) override {
    if (faults_.reorders) std::ranges::reverse(gathered());
    return MemoryHardware::endBatch(table);
  }
  void completions(std::vector<Completion>& completed) override {
    MemoryHardware::completions(completed);
    if (faults_.completesTwice && !completed.empty() && completed.back().answer.isDone())
      completed.push_back(completed.back());
  }

 protected:
  Answer perform(Call const& call) override {
    if (faults_.dropsRemoves && call.what == What::remove) return Answer::done();
    if (call.what == What::write && call.entry.vlanEditProfile == kNoProfile)
      return Answer::refused(RefusalClass::invalid, "VLAN edit profile 13 is none");
    Answer answer = MemoryHardware::perform(call);
    return faults_.dropsOnFull && answer.kind() == Answer::Kind::refused ? Answer::done() : answer;
  }

 private:
  Faults const faults_;
};

class TriedSpecimen final : public Specimen {
 public:
  TriedSpecimen(MemoryHardware::Style style, Faults faults = {}) : style_(style), faults_(faults) {}

  std::unique_ptr<Hardware> connect() override {
    return std::make_unique<TriedHardware>(chip_, style_, faults_);
  }
  bool reset() override {
    if (faults_.forgetsAtReset)
      chip_.all().clear();
    else
      chip_.reset();
    return true;
  }
  std::optional<std::vector<InLifModelLogEntry>> standing(UnitTable place) override {
    std::vector<InLifModelLogEntry> records;
    for (auto const& [key, entry] : chip_.entries(place)) records.push_back(entry);
    return records;
  }
  std::optional<InLifModelLogEntry> unacceptable() override {
    InLifModelLogEntry entry;
    entry.clearUnowned();
    entry.vlanEditProfile = TriedHardware::kNoProfile;
    return entry;
  }

 private:
  MemoryHardware::Style const style_;
  Faults const faults_;
  MemoryChip chip_{64};
};

std::string failuresOf(Specimen& specimen) {
  TestSupport::TempStore directory;
  std::string failed;
  for (KitCheck const& check : runKit(specimen, {directory.directory(), 1, 60}))
    if (check.end != KitCheck::End::passed) failed += check.name + ": " + check.what + "\n";
  return failed;
}

TEST(KitTest, ourOwnHardwarePassesInEachOfItsStyles) {
  for (bool const readsBack : {false, true})
    for (bool const batches : {false, true}) {
      TriedSpecimen specimen({readsBack, batches});
      EXPECT_EQ(failuresOf(specimen), "") << "reads back: " << readsBack << ", batches: " << batches;
    }
}

TEST(KitTest, eachFaultIsFound) {
  struct Case {
    Faults faults;
    char const* found;
  };
  Case const cases[] = {
      {{.dropsRemoves = true}, "random work with needs: table"},
      {{.reorders = true}, "random work with needs: table"},
      {{.forgetsAtReset = true}, "resets: table"},
      {{.vouches = true}, "resets: table"},
      {{.completesTwice = true}, "which is not under way"},
      {{.dropsOnFull = true}, "a table that is full: "},
  };
  for (Case const& one : cases) {
    TriedSpecimen specimen({true, true}, one.faults);
    EXPECT_THAT(failuresOf(specimen), HasSubstr(one.found));
  }
}

}  // namespace
