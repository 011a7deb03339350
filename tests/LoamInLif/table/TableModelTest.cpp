// Random operations on two units of one instance against an oracle of plain maps: what readers see after each
// step, how every operation ends, and what a restart brings back.
#include <deque>
#include <map>
#include <random>

#include "support/TableFixture.h"

namespace {
using namespace TestSupport;
using LoamInLif::QosProfileKind;

constexpr unsigned kOperations = 100000;
constexpr unsigned kKeys = 48;
constexpr unsigned kResources = 6;

enum class Outcome { pending, succeeded, failed };

using Kind = OperationKind;
struct Step {
  Kind kind;
  unsigned key;
  std::uint8_t value;
  unsigned resource;       // kResources for none
  Step const* dependency;  // null for none
  std::uint64_t sequence;
  Outcome outcome = Outcome::pending;
  unsigned ended = 0;
  Handle handle{};
};

// One unit as plain maps.
struct Unit {
  std::map<unsigned, std::uint8_t> committed;
  // The newest pending write or removal of a key: its value, and whose it is.
  std::map<unsigned, std::pair<std::uint8_t, std::uint64_t>> adds;
  std::map<unsigned, std::uint64_t> removes;
  unsigned removeAlls = 0;
  std::deque<Step*> queue;

  void accept(Step& step) {
    queue.push_back(&step);
    if (step.kind == Kind::removeAll) {
      adds.clear(), removes.clear();
      ++removeAlls;
    } else if (step.kind == Kind::write) {
      removes.erase(step.key);
      adds[step.key] = {step.value, step.sequence};
    } else {
      adds.erase(step.key);
      removes[step.key] = step.sequence;
    }
  }

  void commitHead(bool success) {
    Step& step = *queue.front();
    queue.pop_front();
    step.outcome = success ? Outcome::succeeded : Outcome::failed;
    if (step.kind == Kind::removeAll) {
      --removeAlls;
      if (success) committed.clear();
    } else if (step.kind == Kind::write) {
      if (adds.contains(step.key) && adds[step.key].second == step.sequence) adds.erase(step.key);
      if (success) committed[step.key] = step.value;
    } else {
      if (removes.contains(step.key) && removes[step.key] == step.sequence) removes.erase(step.key);
      if (success) committed.erase(step.key);
    }
  }

  std::map<unsigned, std::uint8_t> merged() const {
    auto view = removeAlls > 0 ? decltype(committed)() : committed;
    for (auto const& [key, sequence] : removes) view.erase(key);
    for (auto const& [key, add] : adds) view[key] = add.first;
    return view;
  }
  std::uint8_t read(unsigned key) const {
    if (auto const add = adds.find(key); add != adds.end()) return add->second.first;
    if (removes.contains(key)) return 0;
    auto const at = committed.find(key);
    return at == committed.end() ? std::uint8_t{0} : at->second;
  }
};

class TableModel : public TableFixture<LoamInLif::InLif1> {
 protected:
  void SetUp() override {
    TableFixture::SetUp();
    Vex::TraceControl::levelIs("*", 0);
    tables_ = {table_, makeTable(kUnit + 1)};
    states_.fill(done);
  }
  void TearDown() override {
    steps_.clear();
    tables_ = {};
    TableFixture::TearDown();
    Vex::TraceControl::levelIs("*", Vex::TraceControl::kDefaultLevel);
  }

  unsigned pick(unsigned below) { return static_cast<unsigned>(random_() % below); }

  // A recent operation that has a handle, or null.
  Step const* someStep() {
    if (steps_.empty() || pick(6) != 0) return nullptr;
    Step const& step =
        steps_[steps_.size() - 1 - pick(static_cast<unsigned>(std::min<std::size_t>(steps_.size(), 8)))];
    return step.handle ? &step : nullptr;
  }

  void operate() {
    unsigned const unit = pick(2);
    unsigned const dice = pick(100);
    Kind const kind = dice < 60 ? Kind::write : dice < 97 ? Kind::remove : Kind::removeAll;
    Step const* const dependency = someStep();
    Step& step =
        steps_.emplace_back(Step{kind, pick(kKeys), static_cast<std::uint8_t>(1 + pick(255)),
                                 pick(3) == 0 ? pick(kResources) : kResources, dependency, ++sequence_});
    units_[unit].accept(step);
    Operation operation(*this, kind, step.key, step.value);
    if (kind == Kind::write && step.resource < kResources) operation.needs<QosProfileKind>(step.resource);
    if (dependency != nullptr) operation.after(dependency->handle);
    step.handle = operation.on(*tables_[unit])
                      .calls([&step](auto const& handle) {
                        ++step.ended;
                        EXPECT_EQ(state(handle), step.outcome == Outcome::failed ? failed : done);
                      })
                      .go();
  }

  // What the resolver will commit, head by head, until nothing moves. Which unit goes first makes no
  // difference.
  void oracleResolve() {
    for (bool moved = true; moved;) {
      moved = false;
      for (Unit& unit : units_) {
        while (!unit.queue.empty()) {
          Step const& head = *unit.queue.front();
          if (head.dependency != nullptr && head.dependency->outcome == Outcome::pending) break;
          EntryState const resource =
              head.kind == Kind::write && head.resource < kResources ? states_[head.resource] : done;
          if (resource == unresolved) break;
          unit.commitHead(resource == done &&
                          (head.dependency == nullptr || head.dependency->outcome == Outcome::succeeded));
          moved = true;
        }
      }
    }
  }

  void resolveBoth() {
    oracleResolve();
    resolve();
  }
  void steerOne(EntryState resourceState) {
    unsigned const resource = pick(kResources);
    states_[resource] = resourceState;
    steer<QosProfileKind>(resource, resourceState);
  }
  // Lets everything end, and checks that it did.
  void drain() {
    for (unsigned i = 0; i < kResources; ++i) {
      states_[i] = done;
      steer<QosProfileKind>(i, done);
    }
    resolveBoth();
    acknowledge();
    for (Unit const& unit : units_) ASSERT_TRUE(unit.queue.empty());
    for (Step const& step : steps_) ASSERT_EQ(step.ended, 1u) << step.sequence;
    for (auto const& table : tables_) ASSERT_FALSE(table->hasPendingHwWrites());
    steps_.clear();
  }

  void compare(unsigned unit, bool fully) {
    auto const& table = *tables_[unit];
    unsigned const key = pick(kKeys);
    auto const view = units_[unit].merged();
    ASSERT_EQ(table.entryHas(EntryKey(key)), view.contains(key)) << key;
    ASSERT_EQ(valueOf(table.entry(EntryKey(key))), units_[unit].read(key)) << key;
    if (!fully) return;
    ASSERT_EQ(table.entrys(), view.size());
    std::map<unsigned, std::uint8_t> walked;
    for (auto at = table.entryIteratorConst(); at; ++at) {
      ASSERT_TRUE(walked.emplace(at->logEntry.key.value(), valueOf(*at)).second) << "delivered twice";
    }
    ASSERT_EQ(walked, view);
  }

  std::mt19937_64 random_;
  std::array<Pivot::Ptr<SwTable>, 2> tables_;
  std::array<Unit, 2> units_;
  std::array<EntryState, kResources> states_;
  // A deque: handlers and dependants refer to its members.
  std::deque<Step> steps_;
  std::uint64_t sequence_ = 0;
};

TEST_F(TableModel, AgreesWithPlainMaps) {
  char const* const given = std::getenv("LOAM_TEST_SEED");
  std::uint64_t const seed = given != nullptr ? std::strtoull(given, nullptr, 10) : std::random_device{}();
  SCOPED_TRACE("LOAM_TEST_SEED=" + std::to_string(seed));
  random_.seed(seed);
  for (unsigned i = 0; i < kOperations; ++i) {
    ASSERT_NO_FATAL_FAILURE(operate());
    if (unsigned const dice = pick(100); dice < 20) {
      resolveBoth();
    } else if (dice < 25) {
      steerOne(pick(3) == 0 ? unresolved : pick(4) == 0 ? failed : done);
    } else if (dice < 35) {
      acknowledge(logVersion() - pick(4) % (logVersion() + 1));
    }
    ASSERT_NO_FATAL_FAILURE(compare(pick(2), i % 16 == 0));
    if (HasNonfatalFailure()) return;
    if (i % 2000 == 1999) {
      ASSERT_NO_FATAL_FAILURE(drain());
    }
    if (i % 20000 == 19999) {
      tables_ = {};
      restart();
      tables_ = {table_, makeTable(kUnit + 1)};
      for (unsigned unit : {0u, 1u}) ASSERT_NO_FATAL_FAILURE(compare(unit, true));
    }
  }
}

}  // namespace
