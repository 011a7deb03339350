// A process that dies between any two changes of the store. Built with the sources of store, group and log
// once more, with their crash points: a child process lives through a workload and dies at the n-th point,
// for every n; the next one dies at the m-th point of its opening, for every m; the one after that must find
// each record old or new, nothing else changed, and the next version right, and `inlif check` must find
// nothing. By default one m is tried for each n, another each time; LOAM_SWEEP=8 in the environment tries
// every eighth, in turn, LOAM_SWEEP=1 all.
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <regex>
#include <set>

#include "LoamInLif/EntryLogOf-defs.h"
#include "LoamInLif/log/LogWorld.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/ShoalReader.h"
#include "tools/check/StoreCheck.h"

namespace {

using namespace TestSupport;
using LoamInLif::InLif0;
using LoamTunnelNiLib::InLifModelConfigShoalEntry;
using LoamTunnelNiLib::InLifModelEntryLogShoal;
using LoamTunnelNiLib::InLifModelLogEntry;
namespace fs = std::filesystem;

/// The instance with small limits, so that logs and units grow, fill and are walked within few steps.
struct Small : LoamInLif::InLif1 {
  static constexpr std::size_t maxLogRecords = 64;
  static constexpr std::size_t maxConfigRecords = 16;
};
constexpr std::uint32_t kLogCapacity = 72;
class SteppedLog final : public LoamInLif::EntryLogOf<Small> {
 public:
  using EntryLogOf::EntryLogOf;
};
using World = LogWorld<Small, SteppedLog>;
constexpr Asic::UnitId kUnits[] = {1, 2};

// --- a life, and what must stand after it ---

struct Step {
  enum What { write, writeWithNeed, remove, clear, taken, restart } what;
  Asic::UnitId unit = 1;
  unsigned key = 0, value = 0;  // taken: all versions but the last `value`
};
using Steps = std::vector<Step>;

struct Model {
  std::map<Asic::UnitId, std::map<unsigned, unsigned>> live;
  std::uint64_t version = 0;

  void apply(Step const& step) {
    version += step.what < Step::taken ? 1 : 0;
    if (step.what <= Step::writeWithNeed) live[step.unit][step.key] = step.value;
    if (step.what == Step::remove) live[step.unit].erase(step.key);
    if (step.what == Step::clear) live[step.unit].clear();
  }
  static Model after(Steps const& steps, std::size_t count) {
    Model model{{{1, {}}, {2, {}}}, 0};
    for (std::size_t i = 0; i < std::min(count, steps.size()); ++i) model.apply(steps[i]);
    return model;
  }
};

/// What a child shares with its parent.
struct Progress {
  std::size_t step;
  char point[64];  // where it died
};
Progress& progress = *static_cast<Progress*>(
    ::mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

class Life {
 public:
  explicit Life(std::string const& directory) : world(directory) {
    world.store.claim(TempStore::Role::writer);
    mustBeOk(rows_.mount({Asic::Constants::canonicalGroupTableVersionShoalPath(groupName()),
                          static_cast<std::uint32_t>(Asic::kMaxTablesOfGroup), 0, TempStore::Role::writer}));
    mustBeOk(rows_.reserve(1));
    begin();
  }
  ~Life() { world.end(); }
  void begin() {
    world.open();
    world.group()->announce(InLif0::tableId, LogVersion(9));
    for (Asic::UnitId const unit : kUnits) world.mount(unit, reported());
  }
  void run(Steps const& steps) {
    for (Step const& step : steps) {
      perform(step);
      ++progress.step;
    }
  }
  std::uint64_t reported() {
    bool found = false;
    auto const& row = rows_.lookup(Small::tableId, found);
    return found ? row.logVersion().value() : 0;
  }
  Model found() {
    Model model{{}, world.log->tableVersion().value()};
    for (Asic::UnitId const unit : kUnits) model.live[unit] = world.live(unit);
    return model;
  }

  World world;

 private:
  static std::string groupName() {
    return Asic::Constants::canonicalizeGroupName(Small::agentName, Small::groupName);
  }
  void perform(Step const& step) {
    if (step.what == Step::write) world.write(step.key, step.value, step.unit);
    if (step.what == Step::writeWithNeed) {
      auto const needed = Pivot::make<Asic::NeededEntry>();
      needed->add(Asic::TableVersion(InLif0::tableId, LogVersion(7)));
      world.write(step.key, step.value, step.unit, false, needed);
    }
    if (step.what == Step::remove) world.remove(step.key, step.unit);
    if (step.what == Step::clear) world.clear(step.unit);
    if (step.what == Step::taken) {
      std::uint64_t const version = world.log->tableVersion().value() - step.value;
      rows_.set(Asic::TableVersion(Small::tableId, LogVersion(version)));
      world.clean(version);
    }
    if (step.what == Step::restart) {
      world.log.reset();
      world.tables->takeDown();
      world.tables.reset();
      VexSharedMem::EntityManager::unmountAll();
      begin();
    }
  }

  Shoal::ShoalMap<Asic::TableVersion> rows_;
};

// --- children that die ---

int stepsToLive = -1;  // the process ends at the point that finds 0
void countPoint(char const* name) {
  if (stepsToLive < 0 || stepsToLive-- != 0) return;
  std::strncpy(progress.point, name, sizeof(progress.point) - 1);
  ::_exit(1);
}

/// Runs `work` in a child that dies at point `steps` (-1: never): 0 when it came to its end, 1 when it died.
int runChild(int steps, std::function<void()> const& work) {
  pid_t const child = ::fork();
  if (child == 0) {
    stepsToLive = steps;
    Shoal::crashPointHook = &countPoint;
    work();
    ::_exit(testing::Test::HasFailure() ? 2 : 0);
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "killed by signal " << WTERMSIG(status);
  EXPECT_LT(WEXITSTATUS(status), 2);
  return WEXITSTATUS(status);
}

class LogDeath : public testing::Test {
 protected:
  LogDeath() {
    VexSharedMem::typeRegister<InLifModelEntryLogShoal>(InLifModelEntryLogShoal::kTypeName, kLogCapacity);
    char const* const sweep = std::getenv("LOAM_SWEEP");
    stride_ = sweep != nullptr ? std::atoi(sweep) : 0;
  }
  TempStore root_;  // holds the two stores below
  std::string const store_ = root_.directory() + "/dead";
  std::string const copy_ = root_.directory() + "/copy";

  void begin(Steps const& steps) {
    fs::remove_all(store_);
    fs::create_directory(store_);
    fs::permissions(store_, fs::perms(0700));
    progress.step = 0;
    if (!steps.empty()) runChild(-1, [&] { Life(store_).run(steps); });
  }
  static Inlif::CheckResult check(std::string const& directory) {
    Inlif::CheckResult const result = Inlif::checkStore(directory, {kLogCapacity, Small::maxConfigRecords});
    EXPECT_EQ(result.problem, "");
    for (auto const& finding : result.findings) ADD_FAILURE() << finding.text();
    return result;
  }

  /// Lets a life on the store that `prepare` makes die at every point of `steps`, and its successor at every
  /// point of its opening. `lost`: contents were lost, so that versions are not those of the model.
  void sweep(std::function<void()> const& prepare, Steps const& steps, bool lost, Model const& start) {
    for (int n = 0;; ++n) {
      prepare();
      progress.step = 0;
      bool const finished = runChild(n, [&] { Life(store_).run(steps); }) == 0;
      ++deaths_;
      if (!finished) met_.insert(progress.point);
      Model before = start;
      for (std::size_t i = 0; i < progress.step; ++i) before.apply(steps[i]);
      Model after = before;
      if (progress.step < steps.size()) after.apply(steps[progress.step]);
      SCOPED_TRACE(testing::Message()
                   << "died at point " << n << " (" << progress.point << "), step " << progress.step);
      if (!lost) check(store_);
      for (int m = stride_ != 0 ? n % stride_ : n * 13 % 97;; m += stride_) {
        copyStore();
        bool const opened = runChild(m, [&] { Life life(copy_); }) == 0;
        ++deathsInOpening_;
        if (!opened) met_.insert(progress.point);
        SCOPED_TRACE(testing::Message() << "then at point " << m << " (" << progress.point << ")");
        if (!lost) check(copy_);
        expectWhole(before, after, lost);
        if (opened || stride_ == 0 || HasFailure()) break;
      }
      if (finished || HasFailure()) return;
    }
  }
  /// Copies what holds data; the files are sparse and large.
  void copyStore() {
    fs::remove_all(copy_);
    fs::copy(store_, copy_, fs::copy_options::recursive | fs::copy_options::directories_only);
    fs::permissions(copy_, fs::perms(0700));
    for (auto const& entry : fs::recursive_directory_iterator(store_)) {
      fs::path const to = copy_ / fs::relative(entry.path(), store_);
      if (entry.is_directory()) {
        fs::permissions(to, fs::perms(0700));
        continue;
      }
      int const in = ::open(entry.path().c_str(), O_RDONLY), out = ::open(to.c_str(), O_RDWR | O_CREAT, 0600);
      ASSERT_EQ(::ftruncate(out, static_cast<off_t>(entry.file_size())), 0);
      for (off_t at = ::lseek(in, 0, SEEK_DATA); at >= 0;) {
        off_t const hole = ::lseek(in, at, SEEK_HOLE);
        std::string bytes(static_cast<std::size_t>(hole - at), '\0');
        ASSERT_EQ(::pread(in, bytes.data(), bytes.size(), at), hole - at);
        ASSERT_EQ(::pwrite(out, bytes.data(), bytes.size(), at), hole - at);
        at = ::lseek(in, hole, SEEK_DATA);
      }
      ::close(in);
      ::close(out);
    }
  }

  /// What must hold in the next life on the copy, and for a reader that was there all the time.
  void expectWhole(Model const& before, Model const& after, bool lost) {
    VexSharedMem::StoreRoot::rootIs(copy_);
    auto const reader =
        Shoal::ShoalReader<InLifModelConfigShoalEntry>::open(Small::Constants::configShoalPath(1));
    if (!lost && reader.reader) readAll(*reader.reader);
    runChild(-1, [&] {
      Life life(copy_);
      World& world = life.world;
      Model const found = life.found();
      EXPECT_TRUE(found.live == before.live || found.live == after.live)
          << "a record is mixed, or another changed";
      // An empty unit that was made and had not agreed with the log yet takes one version at each opening.
      EXPECT_TRUE(lost || found.version == before.version || found.version == after.version ||
                  (progress.step == 0 && found.version <= 4))
          << found.version;
      EXPECT_TRUE(world.log->tableEntryLog()->collectionControl().intent().empty());
      EXPECT_EQ(world.scratchpad(), found.version);
      EXPECT_EQ(world.announced(), found.version);
      EXPECT_FALSE(world.logged(found.version + 1));
      EXPECT_EQ(world.write(1, 77), found.version + 1);
      EXPECT_TRUE(world.logMap().reserve(kLogCapacity - world.logMap().size()).isOk()) << "a slot leaked";
      for (Asic::UnitId const unit : kUnits)
        EXPECT_TRUE(world.configMap(unit).reserve(16 - world.configMap(unit).size()).isOk())
            << "a slot leaked";
    });
    if (reader.reader && !reader.reader->replaced()) {
      EXPECT_EQ(readAll(*reader.reader).at(1), 77u);
    }
    EXPECT_TRUE(check(copy_).notes.empty() || lost) << "something is left to settle";
  }
  static std::map<unsigned, unsigned> readAll(Shoal::ShoalReader<InLifModelConfigShoalEntry>& reader) {
    std::map<unsigned, unsigned> values;
    InLifModelConfigShoalEntry row;
    for (auto more = reader.first(row); more == Shoal::ReadResult::found; more = reader.next(row.key(), row))
      values[row.key().value()] = std::to_integer<unsigned>(row.tableEntry.client[0]);
    return values;
  }

  /// Flips a bit of the record that holds key and value, in the file of a collection.
  void damageRecord(std::string const& path, unsigned key, unsigned value) {
    InLifModelLogEntry entry;
    entry.key = InLifModelEntryKey(key);
    entry.client[0] = static_cast<std::byte>(value);
    std::fstream file(store_ + "/" + path + ".shoal", std::ios::in | std::ios::out | std::ios::binary);
    std::string const bytes((std::istreambuf_iterator<char>(file)), {});
    // The client's bytes behind the first ten are carried as they are.
    auto const at = bytes.find(std::string(reinterpret_cast<char const*>(&entry), 46));
    ASSERT_NE(at, std::string::npos) << path;
    file.clear();
    file.seekp(static_cast<std::streamoff>(at + 50));
    file.put(static_cast<char>(bytes[at + 50] ^ 4));
  }

  int stride_ = 0;
  long deaths_ = 0, deathsInOpening_ = 0;
  static std::set<std::string> met_;  // names of the points at which something died
};
std::set<std::string> LogDeath::met_;

/// Sixteen entries in unit 1, so that it is full and has grown, then changes of every kind.
Steps everything() {
  Steps steps;
  for (unsigned key = 1; key <= 16; ++key)
    steps.push_back({key % 5 == 0 ? Step::writeWithNeed : Step::write, 1, key, key});
  for (Step const& step : Steps{{Step::write, 2, 1, 21},
                                {Step::write, 2, 514, 22},
                                {Step::write, 1, 3, 33},
                                {Step::writeWithNeed, 1, 5, 35},
                                {Step::remove, 1, 4},
                                {Step::taken, 1, 0, 4},
                                {Step::remove, 1, 5},
                                {Step::write, 1, 4, 44},
                                {Step::clear, 2},
                                {Step::write, 2, 1, 23},
                                {Step::taken, 1, 0, 0},
                                {Step::remove, 2, 1},
                                {Step::restart},
                                {Step::clear, 1},
                                {Step::write, 1, 700, 9},
                                {Step::taken, 1, 0, 1}})
    steps.push_back(step);
  return steps;
}

TEST_F(LogDeath, AtEveryPointOfALife) {
  sweep([&] { begin({}); }, everything(), false, Model::after({}, 0));
  std::printf("%ld deaths, %ld more in the opening after it\n", deaths_, deathsInOpening_);
}

TEST_F(LogDeath, AtEveryPointAfterALoss) {
  Steps const first = {{Step::write, 1, 1, 11},
                       {Step::writeWithNeed, 1, 2, 12},
                       {Step::write, 2, 1, 21},
                       {Step::remove, 1, 1},
                       {Step::write, 1, 3, 13}};
  Steps const then = {{Step::write, 1, 2, 14}};
  using C = Small::Constants;
  std::string const group = Asic::Constants::canonicalizeGroupName(Small::agentName, Small::groupName);
  auto const remove = [&](std::string const& path) { fs::remove(store_ + "/" + path + ".shoal"); };
  auto const cut = [&](std::string const& path) { fs::resize_file(store_ + "/" + path + ".shoal", 5000); };
  struct Case {
    std::function<void()> lose;
    std::function<void(Model&)> left;
  };
  auto const all = [](Model&) {};
  auto const noUnit = [](Model& model) { model.live[1].clear(); };
  Case const cases[] = {
      {[&] { remove(C::tableEntryLogShoalPath()); }, all},
      {[&] { cut(C::tableEntryLogShoalPath()); }, all},
      {[&] { damageRecord(C::tableEntryLogShoalPath(), 3, 13); }, all},
      {[&] { remove(C::configShoalPath(1)); }, noUnit},
      {[&] { cut(C::configShoalPath(1)); }, noUnit},
      {[&] { damageRecord(C::configShoalPath(1), 3, 13); }, [](Model& model) { model.live[1].erase(3); }},
      {[&] { remove(Asic::Constants::canonicalGroupAnnouncedShoalPath(group)); }, all},
      {[&] { remove(Asic::Constants::canonicalGroupNeededShoalPath(group)); }, all},
      {[&] { remove(Asic::Constants::canonicalGroupTableVersionShoalPath(group)); }, all},
      {[&] { remove(".manifest-agent"); }, all},
      {[&] { std::ofstream(store_ + "/.staging/agent-0") << "never named"; }, all},
      {[&] { remove(C::configShoalPath(1)), remove(C::tableEntryLogShoalPath()); }, noUnit},
  };
  for (Case const& one : cases) {
    SCOPED_TRACE(testing::Message() << "loss " << &one - cases);
    Model left = Model::after(first, first.size());
    one.left(left);
    sweep([&] { begin(first), one.lose(); }, then, true, left);
    if (HasFailure()) break;
  }
  std::printf("%ld deaths, %ld more in the opening after it\n", deaths_, deathsInOpening_);
}

/// Runs last: every crash point that stands in the sources was met above.
TEST_F(LogDeath, NoPointWasSkipped) {
  std::regex const point("LOAM_CRASH_POINT\\(\"([^\"]*)\"\\)");
  int points = 0;
  for (char const* room : {"framework/Shoal", "framework/Asic", "LoamInLif"}) {
    for (auto const& file : fs::directory_iterator(std::string(SOURCE_FOLDER "/") + room)) {
      std::ifstream in(file.path());
      std::string const text((std::istreambuf_iterator<char>(in)), {});
      for (std::sregex_iterator at(text.begin(), text.end(), point), end; at != end; ++at, ++points)
        EXPECT_TRUE(met_.contains((*at)[1])) << file.path() << ": " << (*at)[1];
    }
  }
  EXPECT_GT(points, 40);
}

// --- the order of a publication, as another process sees it ---

World* observed = nullptr;
std::vector<std::string> seen;

/// What a reader beside the agent finds of version 5, at each step of the log.
void observe(char const* name) {
  if (!std::string_view(name).starts_with("log:")) return;
  using Constants = LoamInLif::InLif1Constants;
  using LogReader = Shoal::ShoalReader<LoamTunnelNiLib::InLifModelLogShoalEntry>;
  using ConfigReader = Shoal::ShoalReader<InLifModelConfigShoalEntry>;
  using AnnouncedReader = Shoal::ShoalReader<Asic::AnnouncedRow>;
  using NeededReader = Shoal::ShoalReader<Asic::NeededRow, Asic::NeededKey>;
  auto const log = LogReader::open(Constants::tableEntryLogShoalPath());
  auto const config = ConfigReader::open(Constants::configShoalPath(World::kUnit));
  std::string const& group = observed->group()->name();
  auto const announced = AnnouncedReader::open(Asic::Constants::canonicalGroupAnnouncedShoalPath(group));
  auto const needed = NeededReader::open(Asic::Constants::canonicalGroupNeededShoalPath(group));
  InLifModelConfigShoalEntry record;
  LoamTunnelNiLib::InLifModelLogShoalEntry logRecord;
  Asic::AnnouncedRow row;
  Asic::NeededRow needs;
  auto const found = Shoal::ReadResult::found;
  std::string text;
  if (config.reader->lookup(InLifModelEntryKey(1), record) == found && record.logVersion == LogVersion(5)) {
    text += " config";
  }
  if (log.reader->lookup(LogVersion(5), logRecord) == found) text += " log";
  if (log.reader->scratchpad() == 5) text += " scratchpad";
  if (needed.reader->lookup({Small::tableId, LogVersion(5)}, needs) == found &&
      needs.needs[0].logVersion() == LogVersion(7)) {
    text += " needs";
  }
  if (announced.reader->lookup(Small::tableId, row) == found && row.version == LogVersion(5)) {
    text += " announced";
  }
  seen.push_back(text);
}

TEST_F(LogDeath, AReaderSeesAPublicationInItsOrder) {
  begin({{Step::write, 1, 1, 10}, {Step::write, 1, 2, 20}, {Step::write, 1, 3, 30}, {Step::remove, 1, 3}});
  Life life(store_);
  observed = &life.world;
  Shoal::crashPointHook = &observe;
  life.run({{Step::writeWithNeed, 1, 1, 11}});
  Shoal::crashPointHook = nullptr;
  EXPECT_EQ(seen, (std::vector<std::string>{"", "", " config", " config log", " config log scratchpad",
                                            " config log scratchpad needs announced"}));
}

}  // namespace
