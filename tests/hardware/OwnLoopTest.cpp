// The writer under a loop of its owner's, which waits for its descriptor and its deadline: what wakes it, and what must not.
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <chrono>

#include "hardware/memory/MemoryHardware.h"
#include "support/PlayedAgent.h"

namespace {

using namespace PlayedAgent;
using namespace std::chrono_literals;

// Has a descriptor, which is readable from a completion, or a signal of the test, until the completions are taken. May be
// away, and cannot be opened then.
class Signalling final : public LoamHardware::MemoryHardware {
 public:
  explicit Signalling(LoamHardware::MemoryChip& chip) : MemoryHardware(chip, {true, true}) {}
  ~Signalling() override { ::close(descriptor_); }

  Pivot::Status open(Asic::GroupInfo const& group) override {
    return away ? Pivot::Status::refused("it is away") : MemoryHardware::open(group);
  }
  LoamHardware::Answer endBatch(std::size_t table) override {
    signal();
    return MemoryHardware::endBatch(table);
  }
  void completions(std::vector<LoamHardware::Completion>& completed) override {
    eventfd_t number = 0;
    ::eventfd_read(descriptor_, &number);
    MemoryHardware::completions(completed);
  }
  int descriptor() const override { return descriptor_; }
  void signal() { ::eventfd_write(descriptor_, 1); }
  bool away = false;

 private:
  int const descriptor_ = ::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
};

class OwnLoopTest : public StartedTest {
 protected:
  OwnLoopTest() {
    hardware_ = &signalling_;
    writerStarts();
    TestSupport::mustBeOk(writer_->watch(descriptor_));
    write(kA, 1, 10, 100);
    announce(kA, 1);
    runUntilReported(1);
  }
  ~OwnLoopTest() override { writer_.reset(); }

  // Runs the loop for so long, or until told to end; how often the descriptor was readable.
  int run(
      std::chrono::milliseconds time, std::function<bool()> const& ends = [] { return false; }) {
    using Clock = LoamHardware::Writer::Clock;
    int readable = 0;
    for (auto const end = Clock::now() + time; Clock::now() < end && !ends();) {
      auto const rest = std::min(end, writer_->nextDeadline()) - Clock::now();
      pollfd waits{descriptor_, POLLIN, 0};
      auto const due = std::chrono::ceil<std::chrono::milliseconds>(rest).count();
      readable += ::poll(&waits, 1, std::max(0, static_cast<int>(due)));
      turn();
    }
    return readable;
  }
  void runUntilReported(std::uint64_t version) {
    run(10s, [&] { return reported(kA) == version; });
    EXPECT_EQ(reported(kA), version);
  }
  static constexpr int kFew = 20;  // in a tenth of a second

  LoamHardware::MemoryChip chip_;
  Signalling signalling_{chip_};
  int descriptor_ = -1;
};

TEST_F(OwnLoopTest, announcementsThatAreDeletedAndMadeAnewAreFollowed) {
  announced_.reset();
  lose(groupInfo().announcedPath);
  run(1200ms);
  signalling_.signal();
  EXPECT_LT(run(100ms), kFew) << "completions are taken without announcements too";
  announcementsBegin();
  write(kA, 2, 10, 200);
  announce(kA, 2);
  runUntilReported(2);
}

TEST_F(OwnLoopTest, aHardwareThatIsGoneWakesNobody) {
  chip_.reset();
  signalling_.away = true;
  write(kA, 2, 10, 200);
  announce(kA, 2);
  turn();
  signalling_.signal();
  EXPECT_LT(run(100ms), kFew);
  signalling_.away = false;
  runUntilReported(2);
  EXPECT_EQ(chip_.entries({kA, 1}).size(), 1u);
  run(10ms);
  signalling_.signal();
  EXPECT_NE(run(100ms), 0) << "it is waited for again";
}

}  // namespace
