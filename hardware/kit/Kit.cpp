#include "hardware/kit/Kit.h"

#include <fmt/format.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "LoamTunnelNiLib/InLifFailure.h"
#include "LoamTunnelNiLib/InLifImage.h"
#include "Shoal/SteadyReader.h"
#include "Shoal/StoreRoot.h"
#include "Vex/Text.h"
#include "hardware/Writer.h"
#include "hardware/kit/KitAgent.h"
#include "hardware/kit/KitProbe.h"

namespace LoamHardware {
namespace {

using namespace LoamTunnelNiLib;
using VexSharedMem::StoreRoot;
using Clock = std::chrono::steady_clock;
namespace fs = std::filesystem;

// Hardware that has not taken everything by then is told where it stands.
constexpr std::chrono::seconds kPatience{30};
// A table of a unit that takes more is not filled.
constexpr std::uint32_t kMostFilled = 100'000;

// A check ends with its first fault.
struct Fault : std::runtime_error {
  using std::runtime_error::runtime_error;
};
struct LeftOut : std::runtime_error {
  using std::runtime_error::runtime_error;
};

void mustBeOk(Pivot::Status const& status) {
  if (!status.isOk()) throw Fault(status.message());
}

template <class Record, class F>
void readAll(std::string const& path, F f) {
  Shoal::SteadyReader<Record> reader(path);
  if (!reader.ready()) throw Fault(fmt::format("'{}' cannot be read: {}", path, reader.problem()));
  if (walk(reader, [&](Record const& record) { return f(record), true; }) != Shoal::Read::absent)
    throw Fault(fmt::format("'{}' cannot be read to its end", path));
}

// A store, the agent that is played on it, and lives of the writer on the specimen.
class Session {
 public:
  using Standing = std::map<std::uint32_t, InLifModelLogEntry>;

  Session(Specimen& specimen, std::string directory, std::uint64_t seed)
      : agent(seed), specimen_(specimen), directory_(std::move(directory)) {
    fs::create_directory(directory_);
    fs::permissions(directory_, fs::perms::owner_all);
    StoreRoot::rootIs(directory_);
    mustBeOk(agent.open());
  }
  ~Session() {
    die();
    StoreRoot::release();
    std::error_code none;
    fs::remove_all(directory_, none);
  }
  Session(Session const&) = delete;
  Session& operator=(Session const&) = delete;

  void begin(std::uint64_t dieAfter = 0) {
    die();
    driver_ = specimen_.connect();
    probe_ = std::make_unique<KitProbe>(*driver_, faults_);
    probe_->dieAfter(dieAfter);
    writer_ = std::make_unique<Writer>(KitAgent::group(), *probe_);
    mustBeOk(writer_->open());
  }
  void die() {
    writer_.reset();
    probe_.reset();
    driver_.reset();
  }
  KitProbe& probe() { return *probe_; }

  std::size_t turn(std::size_t budget) {
    std::size_t const count = writer_->turn(budget);
    for (std::size_t table = 0; table < kKitTables; ++table) {
      Asic::LogVersion const underWay = probe_->underWay(table);
      if (underWay.value() != 0 && writer_->applied(table) >= underWay)
        throw Fault(fmt::format("table {} counts version {} as applied, and {} is under way", table,
                                writer_->applied(table), underWay));
    }
    return count;
  }
  // Publishes at random, and lets the writer take small bites of it.
  void work(std::size_t publications) {
    for (std::size_t i = 0; i < publications; ++i) {
      agent.publishAny();
      if (agent.below(4) == 0) turn(agent.below(6));
    }
  }
  // Until everything is complete; then what stands is held against what should.
  void settle() {
    agent.announceAll();
    auto const end = Clock::now() + kPatience;
    for (std::size_t table = 0; table < kKitTables; ++table) {
      while (writer_->applied(table) < agent.last(table)) {
        if (turn(1000) == 0) writer_->wait(std::chrono::milliseconds(2));
        if (Clock::now() > end)
          throw Fault(fmt::format("table {} stays at version {} of {}", table, writer_->applied(table),
                                  agent.last(table)));
      }
    }
    compare();
  }
  std::size_t failures() const {
    std::size_t count = 0;
    for (std::size_t table = 0; table < kKitTables; ++table) count += writer_->failures(table);
    return count;
  }

  KitAgent agent;

 private:
  Standing standing(UnitTable place) {
    auto records = specimen_.standing(place);
    if (!records) {
      records.emplace();
      if (!driver_->standingUnits(place.table))
        throw LeftOut("the hardware cannot be read back, and the specimen does not tell what stands");
      if (!driver_->readBack(place, *records).isDone())
        throw Fault(fmt::format("table {} unit {} cannot be read back", place.table, place.unit));
    }
    Standing standing;
    for (InLifModelLogEntry const& record : *records)
      if (!standing.emplace(record.key.value(), record).second)
        throw Fault(fmt::format("key {} stands twice", record.key));
    return standing;
  }

  void compare() {
    if (!faults_.empty()) throw Fault(faults_.front());
    for (std::size_t table = 0; table < kKitTables; ++table) {
      Asic::TableInfo const& info = KitAgent::group().tables[table];
      std::map<KitAgent::Place, InLifImageEntry> image;
      readAll<InLifImageEntry>(info.imagePath, [&](InLifImageEntry const& entry) {
        image[{entry.key.unitId, entry.key.entryKey.value()}] = entry;
      });
      std::map<KitAgent::Place, InLifFailureRow> failures;
      readAll<InLifFailureRow>(info.failuresPath, [&](InLifFailureRow const& row) {
        if (row.key.wholeUnit == 0 && row.isRefusal())
          failures[{row.key.unitId, row.key.entryKey.value()}] = row;
      });
      for (Asic::UnitId unit = 0; unit < kKitUnits; ++unit) compareUnit({table, unit}, image, failures);
      if (!image.empty())
        throw Fault(fmt::format("table {} unit {} key {} is in the image and does not stand", table,
                                image.begin()->first.unit, image.begin()->first.key));
    }
  }

  // Takes what stands out of the image.
  void compareUnit(UnitTable place, std::map<KitAgent::Place, InLifImageEntry>& image,
                   std::map<KitAgent::Place, InLifFailureRow> const& failures) {
    Standing const stands = standing(place);
    auto const& wishes = agent.wishes(place.table);
    auto const text = [&](std::uint32_t key) {
      return fmt::format("table {} unit {} key {}", place.table, place.unit, key);
    };
    for (auto const& [key, entry] : stands) {
      auto const inImage = image.find({place.unit, key});
      if (inImage == image.end() || !inImage->second.entry.isEq(entry))
        throw Fault(text(key) + " stands otherwise than in the image");
      image.erase(inImage);
      auto const failed = failures.find({place.unit, key});
      auto const wanted = wishes.find({place.unit, key});
      if (failed != failures.end()) continue;
      if (wanted == wishes.end()) throw Fault(text(key) + " stands, and was removed");
      if (!wanted->second.entry.isEq(entry)) throw Fault(text(key) + " stands with another record");
    }
    for (auto const& [at, wanted] : wishes) {
      if (at.unit != place.unit || stands.contains(at.key)) continue;
      auto const failed = failures.find(at);
      if (failed == failures.end() || failed->second.logVersion != wanted.version)
        throw Fault(text(at.key) + " does not stand, and was not refused");
    }
  }

  Specimen& specimen_;
  std::string const directory_;
  std::vector<std::string> faults_;
  std::unique_ptr<Hardware> driver_;
  std::unique_ptr<KitProbe> probe_;
  std::unique_ptr<Writer> writer_;
};

// --- the checks ---

constexpr std::size_t kPublications = 400;

void checkWork(Session& session, Specimen&, KitOptions const&) {
  session.begin();
  for (int round = 0; round < 5; ++round) {
    session.work(kPublications);
    session.settle();
  }
}

// Lives that end after the first, the second, the third call and so on; each finds what the last one left half done.
void checkDeaths(Session& session, Specimen&, KitOptions const& options) {
  for (std::size_t calls = 1; calls <= options.deaths; ++calls) {
    try {
      session.begin(calls);
      session.work(30);
      session.settle();
    } catch (KitDeath const&) {
    }
    if (calls % 5 != 0) continue;
    session.begin();
    session.settle();
  }
}

void checkResets(Session& session, Specimen& specimen, KitOptions const&) {
  if (!specimen.reset()) throw LeftOut("the hardware cannot be reset");
  session.begin();
  for (int round = 0; round < 20; ++round) {
    session.work(30);
    session.agent.announceAll();
    // Half of the resets fall into work, half on everything that stands.
    if (round % 2 == 0) session.settle();
    session.turn(session.agent.below(20));
    specimen.reset();
    if (round % 5 == 4) session.begin();
    session.work(10);
    session.settle();
  }
}

InLifModelLogEntry entryOf(std::uint32_t key, std::uint64_t value) {
  InLifModelLogEntry entry;
  entry.clearUnowned();
  entry.key = InLifModelEntryKey(key);
  entry.inLifData = value;
  return entry;
}

void checkRefusals(Session& session, Specimen& specimen, KitOptions const&) {
  std::optional<InLifModelLogEntry> bad = specimen.unacceptable();
  if (!bad) throw LeftOut("the hardware takes every entry");
  UnitTable const place{1, 1};
  session.begin();
  for (std::uint32_t key = 1; key <= 5; ++key) session.agent.write(place, entryOf(key, key));
  session.settle();
  bad->key = InLifModelEntryKey(3);
  session.agent.write(place, *bad);
  session.agent.write(place, entryOf(6, 6));
  session.settle();
  if (session.failures() != 1) throw Fault("an entry that cannot be taken was not refused");
  // A refused entry is none the less removed, and written again.
  session.agent.remove(place, 3);
  session.settle();
  if (session.failures() != 0) throw Fault("the removal of a refused entry was not taken");
  session.work(100);
  session.settle();
}

void checkFull(Session& session, Specimen&, KitOptions const&) {
  UnitTable const place{2, 0};
  session.begin();
  std::uint32_t const capacity = session.probe().capacity(place);
  if (capacity == 0 || capacity > kMostFilled)
    throw LeftOut(capacity == 0 ? "the hardware has no fixed capacity"
                                : fmt::format("{} entries are too many to fill it", capacity));
  constexpr std::uint32_t kMore = 10;
  for (std::uint32_t key = 0; key < capacity + kMore; ++key) session.agent.write(place, entryOf(key, key));
  session.settle();
  std::size_t const full = session.probe().refusals(RefusalClass::tableFull);
  if (full != kMore || session.failures() != kMore)
    throw Fault(
        fmt::format("of {} entries {} were refused as too many, expected {}", capacity + kMore, full, kMore));
  // What stands can be changed in a full table, and makes room when it goes.
  session.agent.write(place, entryOf(0, 99));
  for (std::uint32_t key = 1; key <= kMore; ++key) session.agent.remove(place, key);
  for (std::uint32_t key = capacity; key < capacity + kMore; ++key)
    session.agent.write(place, entryOf(key, key + 1));
  session.settle();
  if (session.failures() != 0) throw Fault("a full table that was given room does not take entries");
  session.agent.clear(place);
  session.settle();
}

struct NamedCheck {
  char const* name;
  void (*run)(Session&, Specimen&, KitOptions const&);
};
constexpr NamedCheck kChecks[] = {
    {"random work with needs", checkWork},
    {"deaths after any call", checkDeaths},
    {"resets", checkResets},
    {"entries that cannot be taken", checkRefusals},
    {"a table that is full", checkFull},
};

}  // namespace

std::vector<KitCheck> runKit(Specimen& specimen, KitOptions const& options) {
  std::vector<KitCheck> results;
  for (NamedCheck const& check : kChecks) {
    KitCheck result{check.name, KitCheck::End::passed, {}};
    try {
      Session session(specimen, fmt::format("{}/{}", options.directory, results.size()), options.seed);
      check.run(session, specimen, options);
    } catch (LeftOut const& why) {
      result.end = KitCheck::End::leftOut;
      result.what = why.what();
    } catch (std::exception const& fault) {
      result.end = KitCheck::End::failed;
      result.what = fault.what();
    }
    results.push_back(std::move(result));
  }
  return results;
}

int kitMain(Specimen& specimen, int argc, char** argv) {
  KitOptions options;
  if (argc > 1) options.seed = std::strtoull(argv[1], nullptr, 10);
  options.directory = (fs::exists("/dev/shm") ? "/dev/shm" : "/tmp") + std::string("/hardware-kit-XXXXXX");
  if (mkdtemp(options.directory.data()) == nullptr) {
    fmt::print(stderr, "hardware kit: no directory {}\n", options.directory);
    return 2;
  }
  int status = 0;
  for (KitCheck const& check : runKit(specimen, options)) {
    constexpr char const* kEnds[] = {"passed", "FAILED", "left out"};
    fmt::print("{:<32} {}{}{}\n", check.name, kEnds[static_cast<std::size_t>(check.end)],
               check.what.empty() ? "" : ": ", check.what);
    if (check.end == KitCheck::End::failed) status = 1;
  }
  std::error_code none;
  fs::remove_all(options.directory, none);
  return status;
}

}  // namespace LoamHardware
