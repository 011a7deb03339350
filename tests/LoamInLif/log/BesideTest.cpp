// A writer that publishes at full speed, and beside it a reader that keeps up and one that does not, on the
// road that agent and writer of the hardware use: announced version, log record, configuration. Every byte of
// a record is made from its version and its key, so that a torn one shows; no version is left out, so that a
// missed one shows.
//   - The follower takes every record up to each announced version, looks at the configuration behind each
//     third, and now and then walks the whole log. The clean-up waits for it.
//   - The straggler lets the clean-up overtake it now and then; it then takes up the configuration and goes on
//     from the announced version that it read before. It is stopped within a read and has to hold nobody up.
// LOAM_PUBLICATIONS=100000000 in the environment is the long form: the stop lasts a minute then, and progress
// is told. As threads of one process the same runs for the thread sanitizer.
#include <csignal>
#include <thread>

#include "Asic/GroupShoal.h"
#include "LoamInLif/InLifNEntryLog.h"
#include "LoamInLif/log/BesideRecords.h"
#include "LoamInLif/log/LogWorld.h"
#include "LoamInLif/log/OwnersMappings.h"
#include "Shoal/SteadyReader.h"
#include "support/Processes.h"

namespace {

using namespace TestSupport;
using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using LoamInLif::InLif0;
using Constants = LoamInLif::InLif0Constants;
using LogRecord = LoamTunnelNiLib::InLifModelLogShoalEntry;
using ConfigRecord = LoamTunnelNiLib::InLifModelConfigShoalEntry;
using Shoal::Read;
using Shoal::SteadyReader;
using World = LogWorld<InLif0, LoamInLif::InLif0EntryLog>;

constexpr std::uint64_t kWindow = 16384;     // records that the writer is ahead of the follower at most
constexpr std::uint64_t kWalkEach = 100000;  // versions between two walks of the whole log

// What reader and writer tell each other. The writer's clean-up waits for `applied` of the follower alone.
struct Page {
  std::atomic<std::uint64_t> applied{0}, reads{0}, walks{0}, resyncs{0};
  std::atomic<std::uint64_t> last{0};  // once the writer has ended: its last version
  std::atomic<bool> reading{false};
  std::atomic<bool> failed{false};
};
class Reader {
 public:
  explicit Reader(Page& page) : page_(page) {}

  void follow() {
    open();
    std::uint64_t nextWalk = kWalkEach;
    for (std::uint64_t applied = 0; page_.last == 0 || applied < page_.last;) {
      std::uint64_t const announced = announcedVersion();
      must(log_.reader().scratchpad() >= announced, "the scratchpad is not behind", announced);
      if (announced >= nextWalk && (announced >= applied + 1000 || page_.last != 0)) {
        walkLog(applied, announced);
        nextWalk = announced + kWalkEach;
      } else if (announced >= nextWalk) {
        continue;
      }
      while (applied < announced) {
        LogRecord const record = logRecord(++applied);
        if (applied % 3 == 0 && !clears(applied)) configurationBehind(applied, record.logEntry.key);
        if (applied % 64 == 0 || applied == announced)
          page_.applied.store(applied, std::memory_order_release);
      }
    }
  }

  void straggle() {
    open();
    Image image;
    std::uint64_t applied = 0;
    for (int turn = 0; page_.last == 0 || applied < page_.last; ++turn) {
      // The follower has come this far without the window then, and the clean-up with it.
      while (turn % 16 == 0 && page_.last == 0 && announcedVersion() < applied + 2 * kWindow)
        std::this_thread::sleep_for(2ms);
      page_.reading = true;
      std::uint64_t const announced = announcedVersion();
      for (int budget = 128; applied < announced && budget > 0; --budget) {
        LogRecord record;
        Read const read = log_.lookup(Asic::LogVersion(applied + 1), record);
        if (read == Read::absent) {
          applied = resync(image);
          break;
        }
        must(read == Read::found, "a record is read", applied + 1);
        check(record, ++applied);
        if (clears(applied))
          image.clear();
        else if (removes(applied))
          image.erase(keyOf(applied));
        else
          image[keyOf(applied)] = applied;
      }
      page_.reading = false;
      if (page_.last == 0) std::this_thread::sleep_for(2ms);
    }
    Image end;
    resync(end);
    must(image == end, "log and configuration led to the same", applied);
  }

 private:
  using Image = std::map<std::uint32_t, std::uint64_t>;  // version of each live key

  void must(bool holds, char const* what, std::uint64_t version) {
    if (holds) return;
    page_.failed = true;
    throw std::runtime_error(fmt::format("does not hold at version {}: {}; log: {}, configuration: {}",
                                         version, what, log_.problem(), config_.problem()));
  }
  void open() {
    while (!announced_.ready() || !log_.ready() || !config_.ready() || announcedVersion() == 0)
      std::this_thread::sleep_for(1ms);
  }
  std::uint64_t announcedVersion() {
    Asic::AnnouncedRow row;
    row.version = Asic::LogVersion();
    Read const read = announced_.lookup(InLif0::tableId, row);
    must(read != Read::damaged && read != Read::busy, "the announcement is read", row.version.value());
    must(row.version.value() >= announcedBefore_, "announced versions rise", row.version.value());
    return announcedBefore_ = row.version.value();
  }
  void check(LogRecord const& record, std::uint64_t version) {
    ++page_.reads;
    must(record.version().value() == version && record.unitId == World::kUnit &&
             record.logFlags == (clears(version)    ? 2
                                 : removes(version) ? 1
                                                    : 0),
         "a record says what its version does", version);
    if (!clears(version))
      must(std::memcmp(&record.logEntry, &Content::of(writeOf(version)).entry, sizeof record.logEntry) == 0,
           "a log record is whole", version);
  }
  LogRecord logRecord(std::uint64_t version) {
    LogRecord record;
    must(log_.lookup(Asic::LogVersion(version), record) == Read::found, "an announced version is there",
         version);
    check(record, version);
    return record;
  }
  // What a clear marks keeps the content of the write before.
  void check(ConfigRecord const& record) {
    std::uint64_t const version = record.logVersion.value();
    std::uint64_t const write = record.tableEntry.inLifData;
    Content const& content = Content::of(write);
    must((clears(version) ? write < version : write == writeOf(version)) &&
             record.isDeleted == (clears(version) || removes(version)) &&
             std::memcmp(&record.tableEntry, &content.entry, sizeof content.entry) == 0 &&
             std::memcmp(&record.rsrcKeys, &content.keys, sizeof content.keys) == 0,
         "a configuration record is whole", version);
  }
  // It holds the state of the record's version or a later one, and its removal was not cleaned away: the
  // version is not reported yet.
  void configurationBehind(std::uint64_t version, InLifModelEntryKey key) {
    ConfigRecord record;
    must(config_.lookup(key, record) == Read::found, "the configuration of a record is there", version);
    must(record.logVersion.value() >= version, "the configuration is not behind the log", version);
    check(record);
  }
  // Each version after `applied` is met once, at its place of the walk's order. Those before may be on their
  // way out, those after `announced` on their way in.
  void walkLog(std::uint64_t applied, std::uint64_t announced) {
    std::uint32_t const mask =
        Shoal::Geometry::of(sizeof(LogRecord), 8, log_.reader().capacity()).bucketCount - 1;
    std::pair<std::uint32_t, std::uint64_t> before{0, 0};
    std::uint64_t met = 0;
    Read const end = walk(log_, [&](LogRecord const& record) {
      std::uint64_t const version = record.version().value();
      check(record, version);
      std::pair const place{Shoal::keyPlace(&version, 8, mask).bucket, version};
      must(before < place, "the walk goes forward", version);
      before = place;
      if (version > applied && version <= announced) ++met;
      return true;
    });
    must(end == Read::absent, "the walk ends", announced);
    must(met == announced - applied, "the walk leaves nothing out", announced);
    ++page_.walks;
  }
  std::uint64_t resync(Image& image) {
    std::uint64_t const announced = announcedVersion();
    image.clear();
    Read const end = walk(config_, [&](ConfigRecord const& record) {
      check(record);
      if (record.isDeleted == 0 && record.logVersion.value() <= announced)
        image[record.key().value()] = record.logVersion.value();
      return true;
    });
    must(end == Read::absent, "the walk ends", announced);
    ++page_.resyncs;
    return announced;
  }

  Page& page_;
  std::uint64_t announcedBefore_ = 0;
  SteadyReader<Asic::AnnouncedRow> announced_{Asic::Constants::canonicalGroupAnnouncedShoalPath(
      Asic::Constants::canonicalizeGroupName(InLif0::agentName, InLif0::groupName))};
  SteadyReader<LogRecord> log_{Constants::tableEntryLogShoalPath()};
  SteadyReader<ConfigRecord> config_{Constants::configShoalPath(World::kUnit)};
};

// Stops the straggler within a read for a while; the others go on meanwhile.
void stopWithinARead(pid_t victim, Page const& straggler, Page const& follower, std::chrono::seconds length) {
  for (bool stopped = false; !stopped;) {
    while (!straggler.reading && straggler.last == 0) std::this_thread::sleep_for(20us);
    ASSERT_EQ(straggler.last, 0u) << "it could not be stopped";
    kill(victim, SIGSTOP);
    int status = 0;
    waitpid(victim, &status, WUNTRACED);
    ASSERT_TRUE(WIFSTOPPED(status));
    stopped = straggler.reading;
    if (!stopped) kill(victim, SIGCONT);  // it had just ended its read
  }
  std::uint64_t const reads = straggler.reads, applied = follower.applied;
  auto const begin = Clock::now();
  auto const passed = [&] { return Clock::now() - begin; };
  while (passed() < length || (follower.applied < applied + 4 * kWindow && passed() < 30 * length))
    std::this_thread::sleep_for(1ms);
  std::printf("stopped within a read for %.1f s: %lu followed meanwhile\n",
              std::chrono::duration<double>(passed()).count(), follower.applied - applied);
  EXPECT_EQ(straggler.reads, reads);
  EXPECT_GT(follower.applied, applied + 2 * kWindow) << "a stopped reader held the others up";
  kill(victim, SIGCONT);
}

void publish(World& world, std::uint64_t v) {
  Content const& content = Content::of(writeOf(v));
  std::uint64_t const taken =
      clears(v) ? world.clear()
      : removes(v)
          ? world.remove(keyOf(v))
          : world.log->entryIs(content.entry, content.keys, nullptr, World::kUnit, world.stats, false)
                .value();
  ASSERT_EQ(taken, v);
}

// Publishes until `count` and as long as one is stopped.
void write(World& world, std::uint64_t count, Page& follower, Page& straggler,
           std::atomic<bool> const& stopOver = true) {
  auto const begin = Clock::now();
  std::uint64_t version = 0;
  while (version < count || !stopOver) {
    publish(world, ++version);
    if (version % 256 == 0) {
      world.clean(std::min(version, follower.applied.load(std::memory_order_acquire)));
      while (version - follower.applied > kWindow && !follower.failed) std::this_thread::yield();
      if (follower.failed || straggler.failed || testing::Test::HasFailure()) break;
    }
    if (count >= 10000000 && version % 5000000 == 0) {
      std::printf("%lu published, %lu resynchronised\n", version, straggler.resyncs.load());
      std::fflush(stdout);
    }
  }
  double const seconds = std::chrono::duration<double>(Clock::now() - begin).count();
  follower.last = straggler.last = version;
  std::printf("%lu published in %.1f s\n", version, seconds);
}

void expectDone(Page const& follower, Page const& straggler) {
  std::printf(
      "follower: %lu records, %lu walks of the log; straggler: %lu records, %lu times behind the clean-up\n",
      follower.reads.load(), follower.walks.load(), straggler.reads.load(), straggler.resyncs - 1);
  EXPECT_EQ(follower.applied, follower.last);
  EXPECT_GT(follower.walks, 0u);
  EXPECT_GT(straggler.resyncs, 1u) << "it never fell behind";
}

// Lets a reader work to its end; false if it met what must not be.
bool reads(void (Reader::*work)(), Page& page) {
  try {
    (Reader(page).*work)();
  } catch (std::exception const& problem) {
    std::fprintf(stderr, "%s\n", problem.what());
    page.failed = true;
  }
  return !page.failed;
}

TEST(Beside, ProcessesSeeEveryVersionWhole) {
  char const* const wanted = std::getenv("LOAM_PUBLICATIONS");
  std::uint64_t const count = wanted != nullptr ? std::strtoull(wanted, nullptr, 10) : 1000000;
  World world;
  Page& follower = shared<Page>();
  Page& straggler = shared<Page>();
  pid_t const children[] = {forked([&] { return reads(&Reader::follow, follower) ? 0 : 1; }),
                            forked([&] { return reads(&Reader::straggle, straggler) ? 0 : 1; })};
  world.begin();
  std::atomic<bool> over = false;
  std::jthread const stop([&] {
    stopWithinARead(children[1], straggler, follower, count >= 10000000 ? 60s : 1s);
    over = true;
  });
  write(world, count, follower, straggler, over);
  for (pid_t const child : children) EXPECT_EQ(exitCode(child), 0);
  expectDone(follower, straggler);
}

// Nothing but the store's own words orders straggler and writer, so the sanitizer sees each access that they leave
// unordered.
TEST(Beside, ThreadsOnTheOwnersMapping) {
  Page follower, straggler;
  mappings.on = true;
  {
    World world;
    world.begin();
    std::jthread const first([&] { EXPECT_TRUE(reads(&Reader::follow, follower)); });
    std::jthread const second([&] { EXPECT_TRUE(reads(&Reader::straggle, straggler)); });
    write(world, 300000, follower, straggler);
  }
  mappings.on = false;
  EXPECT_GE(mappings.given, 6) << "announcement, log and configuration, for each reader";
  expectDone(follower, straggler);
}

}  // namespace
