// A process that dies between any two changes of the store. Built with the sources of store, group and log
// once more, with their crash points: a child process lives through a workload and dies at the n-th point,
// for every n; the next one dies at the m-th point of its opening, for every m; the one after that must find
// each record old or new, nothing else changed, and the next version right, and `inlif check` must find
// nothing.
//
// By default each point dies once for each kind of step that passes it (after a loss: each step), and every
// fourth time that a step passes it again; one m is tried for each n, another each time. LOAM_SWEEP=8 in the
// environment lets every n die and tries every eighth m, in turn, LOAM_SWEEP=1 all of both.
#include <fstream>
#include <regex>
#include <set>

#include "LoamInLif/log/LogDeath.h"
#include "Shoal/BootId.h"

namespace {

using namespace TestSupport;

// The instance with small limits, so that logs and units grow, fill and are walked within few steps.
struct Small : LoamInLif::InLif1 {
  static constexpr std::size_t maxLogRecords = 64;
  static constexpr std::size_t maxConfigRecords = 16;
  static constexpr std::uint32_t logCapacity = 72;
};
using World = LogWorld<Small, SteppedLog<Small>>;

class LogDeath : public LogDeathOf<Small> {
 protected:
  // A point that a life passes: the step under way, and the name.
  using Passed = std::pair<std::size_t, std::string>;

  // What a life that does not die passes, in order.
  std::vector<Passed> pointsOf(std::function<void()> const& prepare, Steps const& steps) {
    prepare();
    progress.step = 0;
    std::string const file = root_.directory() + "/points";
    runChild(-1, [&] {
      passed = std::fopen(file.c_str(), "w");
      Life<Small>(store_).run(steps);
      std::fclose(passed);
    });
    std::vector<Passed> points;
    std::ifstream in(file);
    Passed point;
    while (in >> point.first && std::getline(in.ignore(), point.second)) points.push_back(point);
    return points;
  }

  // Lets a life on the store that `prepare` makes die at the points of `steps`, and its successor at those
  // of its opening. `lost`: contents were lost, so that versions are not those of the model.
  void sweep(std::function<void()> const& prepare, Steps const& steps, bool lost, Model const& start) {
    std::vector<Passed> points = pointsOf(prepare, steps);
    points.emplace_back(steps.size(), "");  // one that comes to its end
    std::set<Passed> met;
    for (int n = 0; n < static_cast<int>(points.size()) && !HasFailure(); ++n) {
      auto const& [step, name] = points[static_cast<std::size_t>(n)];
      auto const kind = static_cast<std::size_t>(steps[std::min(step, steps.size() - 1)].what);
      bool const isNew = met.emplace(lost ? step : kind, name).second;
      if (stride_ == 0 && !isNew && (lost || n % 4 != 0)) continue;
      dieAt(n, {step, name}, prepare, steps, lost, start);
    }
  }
  void dieAt(int n, Passed const& expected, std::function<void()> const& prepare, Steps const& steps,
             bool lost, Model const& start) {
    prepare();
    progress = {};
    runChild(n, [&] { Life<Small>(store_).run(steps); });
    ASSERT_EQ(Passed(progress.step, progress.point), expected) << "point " << n << " of another life";
    ++deaths_;
    met_.insert(progress.point);
    Model before = start;
    for (std::size_t i = 0; i < progress.step; ++i) before.apply(steps[i]);
    Model after = before;
    if (progress.step < steps.size()) after.apply(steps[progress.step]);
    SCOPED_TRACE(testing::Message() << "died at point " << n << " (" << progress.point << "), step "
                                    << progress.step);
    if (!lost) check(store_);
    for (int m = stride_ != 0 ? n % stride_ : n * 13 % 97;; m += stride_) {
      copyStore(store_, copy_);
      bool const opened = runChild(m, [&] { Life<Small> life(copy_); }) == 0;
      ++deathsInOpening_;
      if (!opened) met_.insert(progress.point);
      SCOPED_TRACE(testing::Message() << "then at point " << m << " (" << progress.point << ")");
      if (!lost) check(copy_);
      expectWhole(copy_, before, after, lost);
      if (opened || stride_ == 0 || HasFailure()) break;
    }
  }
  // A publication under way that this build cannot read.
  void noteOfAnotherBuild() {
    runChild(-1, [&] {
      std::uint8_t const note[8] = {1};
      Life<Small>(store_).world.log->tableEntryLog()->collectionControl().intentIs(note);
    });
  }
  static void copyStore(std::string const& from, std::string const& to) {
    fs::remove_all(to);
    copySparse(from, to);
  }

  // Flips a bit of the record that holds key and value, in the file of a collection; behind the client's first ten bytes,
  // which are carried as they are.
  void damageRecord(std::string const& path, unsigned key, unsigned value) {
    InLifModelLogEntry entry;
    entry.key = InLifModelEntryKey(key);
    entry.client[0] = static_cast<std::byte>(value);
    flipBit(store_ + "/" + path + ".shoal", {reinterpret_cast<char const*>(&entry), 46}, 50);
  }

  std::string const copy_ = root_.directory() + "/copy";
  std::string const older_ = root_.directory() + "/older";
  std::string const harmed_ = root_.directory() + "/harmed";
  int const stride_ = static_cast<int>(fromEnvironment("LOAM_SWEEP", 0));
  long deaths_ = 0, deathsInOpening_ = 0;
  static std::set<std::string> met_;  // names of the points at which something died
};
std::set<std::string> LogDeath::met_;

// Sixteen entries in unit 1, so that it is full and has grown, then changes of every kind.
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
  auto const putBack = [&](std::string const& path) {
    fs::rename(older_ + "/" + path + ".shoal", store_ + "/" + path + ".shoal");
  };
  struct Case {
    std::function<void()> lose;
    std::function<void(Model&)> left;
    Step::What then = Step::write;  // another step before the loss; write: none
  };
  auto const all = [](Model&) {};
  auto const noUnit = [](Model& model) { model.live[1].clear(); };
  auto const older = [&](Model& model) { model.live[1] = Model::after(first, 2).live[1]; };
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
      {[&] { noteOfAnotherBuild(); }, all},
      // Older files were copied after the first two steps.
      {[&] { putBack(C::tableEntryLogShoalPath()); }, all},
      {[&] { putBack(C::configShoalPath(1)); }, older},
      {[&] { putBack(C::configShoalPath(1)); }, older, Step::taken},
      {[&] { Shoal::bootIdIs(5); }, all},
      {[&] {
         fs::remove_all(store_ + "/asic"), remove(".manifest-agent"), remove(".manifest-writer");
         runChild(-1, [&] { World(store_).makeImage(5, {1, 2}); });
       },
       [](Model& model) {
         model.live = {{1, {}}, {2, {}}};
       }},
  };
  for (Case const& one : cases) {
    SCOPED_TRACE(testing::Message() << "loss " << &one - cases);
    Model left = Model::after(first, first.size());
    one.left(left);
    Shoal::bootIdIs(0);
    begin({first.begin(), first.begin() + 2});
    copyStore(store_, older_);
    Steps rest(first.begin() + 2, first.end());
    if (one.then != Step::write) rest.push_back({one.then});
    runChild(-1, [&] { Life<Small>(store_).run(rest); });
    one.lose();
    copyStore(store_, harmed_);
    sweep([&] { copyStore(harmed_, store_); }, then, true, left);
    if (HasFailure()) break;
  }
  Shoal::bootIdIs(0);
  std::printf("%ld deaths, %ld more in the opening after it\n", deaths_, deathsInOpening_);
}

// Runs last: every crash point that stands in the sources was met above.
TEST_F(LogDeath, NoPointWasSkipped) {
  std::regex const point("LOAM_CRASH_POINT\\(\"([^\"]*)\"\\)");
  int points = 0;
  for (char const* room : {"framework/Shoal", "framework/Asic", "LoamInLif/log"}) {
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

// Whether a reader of its own finds a record that is as it should be.
template <class Record, class Key>
bool stands(std::string const& path, Key const& key, auto const& asItShould) {
  Record record;
  return Shoal::ShoalReader<Record>::open(path).reader->lookup(key, record) == Shoal::ReadResult::found &&
         asItShould(record);
}

// What a reader beside the agent finds of version 5, at each step of the log.
void observe(char const* name) {
  if (!std::string_view(name).starts_with("log:")) return;
  using Constants = LoamInLif::InLif1Constants;
  using LogRecord = LoamTunnelNiLib::InLifModelLogShoalEntry;
  LogVersion const five(5);
  std::string const log = Constants::tableEntryLogShoalPath();
  std::string const config = Constants::configShoalPath(World::kUnit);
  std::string const needed = Asic::Constants::canonicalGroupNeededShoalPath(observed->group()->name());
  std::string const announced = Asic::Constants::canonicalGroupAnnouncedShoalPath(observed->group()->name());
  auto const isOfFive = [&](auto const& record) { return record.logVersion == five; };
  std::string text;
  if (stands<InLifModelConfigShoalEntry>(config, InLifModelEntryKey(1), isOfFive)) text += " config";
  if (stands<LogRecord>(log, five, isOfFive)) text += " log";
  if (Shoal::ShoalReader<LogRecord>::open(log).reader->scratchpad() == 5) text += " scratchpad";
  if (stands<Asic::NeededRow>(needed, Asic::NeededKey(Small::tableId, five),
                              [](auto const& row) { return row.needs[0].logVersion() == LogVersion(7); }))
    text += " needs";
  if (stands<Asic::AnnouncedRow>(announced, Small::tableId,
                                 [&](auto const& row) { return row.version == five; }))
    text += " announced";
  seen.push_back(text);
}

TEST_F(LogDeath, AReaderSeesAPublicationInItsOrder) {
  begin({{Step::write, 1, 1, 10}, {Step::write, 1, 2, 20}, {Step::write, 1, 3, 30}, {Step::remove, 1, 3}});
  Life<Small> life(store_);
  observed = &life.world;
  Shoal::crashPointHook = &observe;
  life.run({{Step::writeWithNeed, 1, 1, 11}});
  Shoal::crashPointHook = nullptr;
  EXPECT_EQ(seen, (std::vector<std::string>{"", "", " config", " config log", " config log scratchpad",
                                            " config log scratchpad needs announced"}));
}

}  // namespace
