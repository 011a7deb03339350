#include "agent/Host.h"

#include <absl/cleanup/cleanup.h>
#include <fmt/format.h>

#include "Asic/Constants.h"
#include "Asic/GenId.h"
#include "Asic/GroupAnnouncement.h"
#include "Asic/SwTableInterfacesSingleton.h"
#include "Cobble/AllocTrack.h"
#include "LoamInLif/Instance.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/EntityManager.h"
#include "Shoal/StoreRoot.h"
#include "Vex/Assert.h"
#include "Vex/ErrorLog.h"

namespace LoamAgent {
namespace {

using LoamInLif::FamilyConstants;
using LoamInLif::groupInfo;
using LoamInLif::kTables;
using LoamTunnelNiLib::InLifModelConfigShoal;
using LoamTunnelNiLib::InLifModelEntryLogShoal;
using VexSharedMem::StoreRoot;

constexpr char const* kSystemName = "inlif";
// Commits after which the clock is asked.
constexpr std::size_t kCommitsAtOnce = 32;
// Heads of the resolver are asked again after a second, and the agent gives a sign of life; a turn is due that often.
constexpr std::chrono::seconds kIdle{1};

std::map<std::string, std::int64_t> liveObjects() {
  std::map<std::string, std::int64_t> live;
  for (Vex::AllocTrackTypeInfo const* type : Vex::AllocTrackTypeInfo::all())
    live[type->typeName] += type->count();
  return live;
}

}  // namespace

Host::Host() = default;

Host::~Host() {
  close();
}

void Host::mustBeOpen(char const* call) const {
  VEX_ASSERT_MSG(isOpen(), "a host is called between open() and close()", "{}, {}", call,
                 wasOpened_ ? "closed" : "never opened");
  group_->groupResolver()->callCheck().check(call);
}

TableFront* Host::frontAt(std::size_t table) const {
  mustBeOpen("Host::front");
  VEX_ASSERT_MSG(table < kTables, "table < kTables", "table {}, expected 0 to {}", table, kTables - 1);
  return fronts_[table].get();
}

// A path that is mounted here stays mounted; the entry log, which mounts it again, finds the same object.
Pivot::Status Host::mount(std::string const& path, char const* typeName, char const* attribute,
                          std::uint32_t maximum) {
  VexShoal::MountInfo info(0);
  info.collectionInfoIs(attribute, maximum, 0);
  Pivot::Ptr<VexSharedMem::MountGroup> const mounts = store_->getMountGroup();
  Pivot::Status status = mounts->mount(path, typeName, info);
  mounts->doClose();
  return status;
}

Pivot::Status Host::mountConfig(std::size_t table, Asic::UnitId unit) {
  std::string const path = groupInfo().tables[table].configPath(unit);
  return mount(path, InLifModelConfigShoal::kTypeName, InLifModelConfigShoal::kAttribute,
               InLifModelConfigShoal::kMaxEntries);
}

Pivot::Status Host::open(Options const& options) {
  if (wasOpened_)
    return Pivot::Status::refused("the host was opened before; expected a new one for each life of an agent");
  if (StoreRoot::holds(StoreRoot::Role::agent))
    return Pivot::Status::refused(fmt::format(
        "{}: this process has an agent there already; expected it to be closed", StoreRoot::root()));
  if (!options.store.empty() && options.store != StoreRoot::root()) StoreRoot::rootIs(options.store);
  liveBefore_ = liveObjects();
  Pivot::Status status = StoreRoot::claim(StoreRoot::Role::agent);
  if (!status.isOk()) return status;
  wasOpened_ = true;
  status = makeAll(options.suppressInitialMark);
  if (!status.isOk()) takeDown();
  return status;
}

Pivot::Status Host::makeAll(bool suppressInitialMark) {
  store_ = VexSharedMem::EntityManager::getEntityManager(kSystemName, true);
  Pivot::Status status = takeUpUnits();
  if (!status.isOk()) return status;
  for (Asic::TableInfo const& info : groupInfo().tables) {
    status = mount(info.logPath, InLifModelEntryLogShoal::kTypeName, InLifModelEntryLogShoal::kAttribute,
                   InLifModelEntryLogShoal::kMaxEntries);
    if (!status.isOk()) return status;
  }
  Pivot::String const group =
      Asic::Constants::canonicalizeGroupName(FamilyConstants::agentName, FamilyConstants::groupName);
  if (status = Asic::GroupAnnouncement::askStore(*store_, group); !status.isOk()) return status;
  framework_ =
      Pivot::make<Asic::OrderedTableInterface>(Pivot::make<Statehub::EntityManager>(kSystemName, true));
  framework_->suppressInitialMarkIs(suppressInitialMark);
  surroundings_ = std::make_unique<BursarResourceTable::GroupSurroundings>(*framework_);
  status = resources_.make(*framework_, *surroundings_, store_);
  if (!status.isOk()) return status;
  for (std::size_t i = 0; i < kTables; ++i) fronts_[i] = TableFront::make(i, framework_);
  // The opening of a log makes the configurations that it is told of and misses.
  if (status = takeUpUnits(); !status.isOk()) return status;
  group_ = framework_->group(group);
  return status;
}

Pivot::Status Host::takeUpUnits() {
  Pivot::Status status = Pivot::Status::ok();
  for (std::size_t table = 0; table < kTables && status.isOk(); ++table) {
    std::vector<Asic::UnitId> units;
    status = groupInfo().tables[table].unitsInto(units);
    for (Asic::UnitId unit : units) inStore_.insert({table, unit});
  }
  return status;
}

void Host::takeDown() {
  for (auto& front : fronts_) front.reset();
  group_.reset();
  if (auto const registry = Asic::SwTableInterfacesSingleton::existing()) registry->swTableIntfDelAll();
  Vex::Entity::singletonDel(Asic::SwTableInterfacesSingleton::kTypeName);
  if (framework_) framework_->takeDown();
  resources_ = {};
  framework_.reset();
  surroundings_.reset();
  store_.reset();
  StoreRoot::release();
}

std::vector<std::string> Host::close() {
  std::vector<std::string> leaks;
  if (!isOpen()) return leaks;
  mustBeOpen("Host::close");
  VEX_ASSERT(!inTurn_, "a host is not closed within its turn: a handler or a hook posts that to the loop");
  takeDown();
  for (auto const& [type, count] : liveObjects()) {
    std::int64_t const more = count - liveBefore_[type];
    if (more > 0) leaks.push_back(fmt::format("{}: {} live objects more than before", type, more));
  }
  return leaks;
}

Pivot::Status Host::makeTable(std::size_t table, Asic::UnitId unit, bool reset,
                              Pivot::Ptr<Pivot::Node> const& helper) {
  if (table >= kTables || unit > Asic::kMostUnit) {
    return Pivot::Status::refused(
        fmt::format("table {} unit {}: expected a table of 0 to {}, and a unit of 0 to {}", table, unit,
                    kTables - 1, Asic::kMostUnit));
  }
  Pivot::Status status = Pivot::Status::ok();
  if (front(table).table(unit)) {
    if (reset || helper) front(table).makeTable(unit, reset, helper);
    front(table).lookAtPending();
    return status;
  }
  status = mountConfig(table, unit);
  if (!status.isOk()) return status;
  inStore_.insert({table, unit});
  auto const made = front(table).makeTable(unit, reset, helper);
  if (!reset) lives_[{table, unit}].restored = made->entrys();
  freeUnclaimed();
  return status;
}

std::vector<Host::Loss> Host::takeLosses() {
  mustBeOpen("Host::takeLosses");
  std::vector<Loss> losses;
  for (auto const& front : fronts_)
    for (Pivot::String const& what : front->takeLosses()) losses.push_back({front->info().name, what});
  return losses;
}

Host::UnitLife Host::life(UnitPlace const& place) const {
  auto const at = lives_.find(place);
  return at == lives_.end() ? UnitLife() : at->second;
}

std::vector<UnitPlace> Host::unserved() const {
  mustBeOpen("Host::unserved");
  std::vector<UnitPlace> places;
  for (UnitPlace const& place : inStore_) {
    if (!front(place.table).table(place.unit)) places.push_back(place);
  }
  return places;
}

Pivot::Status Host::reconcileUnit(UnitPlace const& place) {
  mustBeOpen("Host::reconcileUnit");
  Pivot::Status status = mountConfig(place.table, place.unit);
  if (status.isOk()) status = front(place.table).reconcileUnit(place.unit);
  if (status.isOk()) freeUnclaimed();
  return status;
}

void Host::reconcile() {
  mustBeOpen("Host::reconcile");
  framework_->reconcile();
  lookAtPending();
  freeUnclaimed();
}

std::vector<Host::Swept> Host::sweep() {
  std::vector<Swept> swept;
  for (std::size_t table = 0; table < kTables; ++table) {
    for (Asic::UnitId unit : front(table).units())
      swept.push_back({{table, unit}, front(table).table(unit)->entrys(), 0});
  }
  framework_->sweep();
  // The removes are under way, and the tables show themselves without what they remove.
  for (Swept& one : swept) {
    one.kept = front(one.place.table).table(one.place.unit)->entrys();
    one.removed -= one.kept;
    lives_[one.place].swept += one.removed;
  }
  mayFree_ = true;
  freeUnclaimed();
  return swept;
}

void Host::freeUnclaimed() {
  if (!mayFree_ || !unserved().empty()) return;
  mayFree_ = false;
  framework_->freeUnclaimed();
}

std::uint64_t Host::relaunchGeneration() const {
  mustBeOpen("Host::relaunchGeneration");
  auto const entity =
      framework_->entityManager()->getEntity(Asic::Constants::relaunchPath(FamilyConstants::agentName));
  auto const generation = boost::dynamic_pointer_cast<Asic::GenId>(entity);
  return generation ? generation->majorId() : 0;
}

bool Host::turn(std::chrono::microseconds budget) {
  mustBeOpen("Host::turn");
  inTurn_ = true;
  absl::Cleanup const over = [this] { inTurn_ = false; };
  Vex::ErrorLog::turn();
  Pivot::Status const held = StoreRoot::giveSignOfLife();
  VEX_ASSERT_MSG(held.isOk(), "the store is still this agent's", "{}", held.message());
  reports_.take();
  bool more = group_->turn();
  more |= failures_.turn();
  Asic::GroupResolver& resolver = *group_->groupResolver();
  auto const end = Clock::now() + budget;
  while (resolver.turn(kCommitsAtOnce) == kCommitsAtOnce && Clock::now() < end) continue;
  more |= resources_.turn();
  // What this turn announced: the loop may sleep now, and the writer sleeps already.
  group_->announcement().wakeReaders();
  lastTurn_ = Clock::now();
  for (std::size_t table = 0; table < kTables; ++table) {
    Asic::SwTableId const id = groupInfo().tables[table].id;
    backlogs_[table].look(group_->announcedVersion(id).value(),
                          group_->tableVersionMap().read(id).existing.value(), lastTurn_);
  }
  return more || resolver.needsTurn();
}

Pivot::Status Host::watch(int& descriptor) {
  mustBeOpen("Host::watch");
  Pivot::Status status = reports_.start();
  descriptor = reports_.descriptor();
  return status;
}

Host::Clock::time_point Host::nextDeadline() const {
  return lastTurn_ + kIdle;
}

std::vector<Host::Behind> Host::behind() const {
  std::vector<Behind> behind;
  for (std::size_t table = 0; table < kTables; ++table) {
    Asic::SwTableId const id = front(table).info().id;
    std::uint64_t const announced = group_->announcedVersion(id).value();
    std::uint64_t const reported = group_->tableVersionMap().read(id).existing.value();
    if (announced > reported)
      behind.push_back({table, announced - reported, backlogs_[table].age(Clock::now())});
  }
  return behind;
}

Pivot::Status Host::publishAgain(HardwareFailure const& failure) {
  auto const needed = Pivot::make<Asic::NeededEntry>();
  for (std::size_t table = 0; table < kTables; ++table)
    if (table != failure.table) needed->add({groupInfo().tables[table].id, front(table).written()});
  return front(failure.table).publishAgain(failure.row, needed);
}

void Host::lookAtPending() {
  mustBeOpen("Host::lookAtPending");
  for (auto const& front : fronts_) front->lookAtPending();
}

bool Host::pending() const {
  mustBeOpen("Host::pending");
  for (auto const& front : fronts_) {
    if (front->status()->pendingHwWrites()) return true;
  }
  return false;
}

}  // namespace LoamAgent
