#include "tools/agent/operations/ConfigClient.h"

#include <algorithm>

#include "Asic/GroupResolver.h"
#include "Vex/Assert.h"
#include "Vex/ErrorPrint.h"

namespace Inlif {
namespace {

using LoamTunnelNiLib::InLifModelEntryKey;

// What the client takes of one turn.
constexpr std::chrono::microseconds kConfigSlice{1000};
// Operations that are queued ahead of the commits, so that looking at a table stays cheap for everybody; behind so
// many, only a few are added in a turn.
constexpr std::size_t kMostAhead = 2048;
constexpr std::size_t kFewOperations = 16;
// How long a list rests whose channel has much unsent.
constexpr std::chrono::milliseconds kListPause{10};
// How long a reading waits for its operations before it is answered all the same.
constexpr std::chrono::milliseconds kMostSettling{500};

}  // namespace

// ---- what is asked for

Pivot::Status ConfigClient::serve(ConfigChange change) {
  Pivot::Status status = makeUnits();
  if (!status.isOk()) return status;
  reading_.emplace(Reading{});
  reading_->file = file_;
  reading_->change = std::move(change);
  decide();
  return status;
}

void ConfigClient::ask(Asker asker, std::string file, bool plan, bool force) {
  Reading& reading = waiting_.emplace_back();
  reading.asker.emplace(std::move(asker));
  reading.file = std::move(file);
  reading.plan = plan;
  reading.force = force;
}

void ConfigClient::readAgain() {
  // One that has not begun reads what is in the file by then.
  bool const isDue = std::ranges::any_of(waiting_, [](Reading const& one) { return !one.asker; });
  if (!isDue) waiting_.emplace_back().file = file();
}

bool ConfigClient::holds(ChannelNumber channel) const {
  auto const isOf = [channel](Reading const& one) { return one.asker && one.asker->channel == channel; };
  return (reading_ && isOf(*reading_)) || std::ranges::any_of(waiting_, isOf);
}

void ConfigClient::channelGone(ChannelNumber channel) {
  waiting_.remove_if([channel](Reading const& one) { return one.asker && one.asker->channel == channel; });
  if (!reading_ || !reading_->asker || reading_->asker->channel != channel) return;
  // A list that nobody takes ends at once.
  if (reading_->stage == Stage::listing) reading_.reset();
}

// ---- a reading

bool ConfigClient::turn() {
  beginSlice();
  if (!reading_ && replayed_) {
    continueReplay();
  } else if (!reading_ && !waiting_.empty()) {
    begin(std::move(waiting_.front()));
    waiting_.pop_front();
  }
  bool const more = reading_ && continueReading();
  failures_.turn(file_, wanted_, underWay_ > 0, outlet_);
  return more || (!reading_ && busy());
}

void ConfigClient::beginSlice() {
  sliceEnd_ = Clock::now() + kConfigSlice;
  Asic::GroupResolver const& resolver = *host_.group().groupResolver();
  bool const isAhead = resolver.needsTurn() && resolver.length() > kMostAhead;
  operationsOfSlice_ = isAhead ? kFewOperations : kMostAhead;
}

bool ConfigClient::sliceIsOver() {
  return --operationsOfSlice_ == 0 || Clock::now() >= sliceEnd_;
}

void ConfigClient::begin(Reading reading) {
  reading_.emplace(std::move(reading));
  reading_->wasServing = serving_;
  reader_.start({reading_->file, limits_.mostBytes, serving_ ? &wanted_ : nullptr, failures_.places()});
}

// Returns whether there is more to do at once: the thread says itself when it is done.
bool ConfigClient::continueReading() {
  switch (reading_->stage) {
    case Stage::reading: {
      Pivot::Status status = Pivot::Status::ok();
      if (!reader_.take(status, reading_->change)) return false;
      status.isOk() ? decide() : refuse(status);
      return true;
    }
    case Stage::listing:
      return list();
    case Stage::removing:
      return remove();
    case Stage::writing:
      return write();
    case Stage::settling:
      if (settled()) complete();
      return false;
  }
  return false;
}

void ConfigClient::decide() {
  Reading& reading = *reading_;
  if (reading.plan) {
    reading.stage = Stage::listing;
    return;
  }
  Pivot::Status status = Pivot::Status::ok();
  if (!reading.force) status = reading.change.checkRemoval(reading.file, limits_.removePercent);
  if (status.isOk()) status = makeUnits();
  if (!status.isOk()) return refuse(status);
  wanted_ = std::move(reading.change.wanted);
  serving_ = true;
  file_ = reading.file;
  refusal_.clear();
  reading.stage = Stage::removing;
}

Pivot::Status ConfigClient::makeUnits() {
  Pivot::Status status = clients_.add(kName);
  for (std::size_t table = 0; status.isOk() && table < kTables; ++table) {
    if (!host_.front(table).table(kConfigUnit)) status = host_.makeTable(table, kConfigUnit, false);
  }
  return status.isOk() ? clients_.unitsMadeIs(kName) : status;
}

// Removes go first: an interface that moves to another table gives its resources back before it asks again. What an
// earlier life has left is the sweep's.
bool ConfigClient::remove() {
  Reading& reading = *reading_;
  std::size_t const count = reading.wasServing ? reading.change.removals.size() : 0;
  while (reading.next < count) {
    EntryPlace const place = reading.change.removals[reading.next++].place;
    failures_.erase(place);
    ++underWay_;
    host_.front(place.table)
        .table(kConfigUnit)
        ->entryRemoveWithResponseHandler(InLifModelEntryKey(place.key), nullptr, handler(place));
    if (sliceIsOver()) return true;
  }
  reading.next = 0;
  reading.stage = Stage::writing;
  return true;
}

// The first reading of a life writes everything, so that the tables mark it.
bool ConfigClient::write() {
  Reading& reading = *reading_;
  auto const& writes = reading.change.writes;
  std::size_t const count = reading.wasServing ? writes.size() : wanted_.size();
  while (reading.next < count) {
    std::size_t const at = reading.next++;
    write(wanted_[reading.wasServing ? writes[at] : at]);
    if (sliceIsOver()) return true;
  }
  // By K2; and who was forgotten in the meantime is waited for by nobody.
  if (!replayed_ && clients_.knows(kName)) {
    Pivot::Status const status = clients_.replayedIs(kName);
    if (!status.isOk()) {
      refuse(status);
      return true;
    }
  }
  reading.stage = Stage::settling;
  reading.lastSequence = host_.group().groupResolver()->lastSequence();
  reading.settledBy = Clock::now() + kMostSettling;
  return true;
}

// Whether what was begun has been committed, or has failed. What waits for long is not waited for.
bool ConfigClient::settled() const {
  if (Clock::now() >= reading_->settledBy) return true;
  for (std::size_t table = 0; table < kTables; ++table) {
    auto const head = host_.group().groupResolver()->head(host_.front(table).table(kConfigUnit).get());
    if (head.entry && Asic::GroupResolver::sequence(*head.entry) <= reading_->lastSequence) return false;
  }
  return true;
}

void ConfigClient::complete() {
  std::size_t const writes = reading_->next;
  std::size_t const gone = reading_->change.removals.size();
  Json result = {{"file", file_},
                 {"writes", writes},
                 {"removed", reading_->wasServing ? gone : 0},
                 {"unchanged", wanted_.size() - writes},
                 {"leftToSweep", reading_->wasServing ? 0 : gone},
                 {"failed", failures_.size()},
                 {"failedByTable", failures_.json(wanted_)}};
  answer(result);
}

// ---- answers

bool ConfigClient::list() {
  Reading& reading = *reading_;
  if (!reading.asker || outlet_.isGone(reading.asker->channel)) {
    reading_.reset();
    return true;
  }
  ConfigChange const& change = reading.change;
  while (reading.next < change.lines()) {
    if (outlet_.isFull(reading.asker->channel)) return false;
    reading.asker->send({{"change", change.line(reading.next++)}});
    if (sliceIsOver()) return true;
  }
  Json result = {{"file", reading.file}};
  result.update(change.counts());
  Pivot::Status const check = change.checkRemoval(reading.file, limits_.removePercent);
  if (!check.isOk()) result["refused"] = check.message();
  answer(result);
  return false;
}

void ConfigClient::answer(Json const& members) {
  Reading const reading = std::move(*reading_);
  reading_.reset();
  if (reading.asker) return reading.asker->answer(members);
  Json message = {{"event", "config"}};
  message.update(members);
  outlet_.broadcast(message);
}

void ConfigClient::refuse(Pivot::Status const& status) {
  Reading const reading = std::move(*reading_);
  reading_.reset();
  if (!reading.plan) refusal_ = status.message();
  if (reading.asker) return reading.asker->refuse("config: " + status.message());
  Vex::printError("inlif: {}\n", status.message());
  outlet_.broadcast({{"event", "config"}, {"error", status.message()}});
}

ConfigClient::Clock::time_point ConfigClient::nextDeadline() const {
  Clock::time_point next = failures_.nextDeadline();
  if (reading_ && reading_->stage == Stage::listing) next = std::min(next, Clock::now() + kListPause);
  if (reading_ && reading_->stage == Stage::settling) next = std::min(next, reading_->settledBy);
  return next;
}

Json ConfigClient::statusJson() const {
  if (!serving_ && refusal_.empty()) return nullptr;
  Json status = {{"file", file_},
                 {"interfaces", wanted_.size()},
                 {"failed", failures_.size()},
                 {"failedByTable", failures_.json(wanted_)},
                 {"reading", busy()}};
  if (!refusal_.empty()) status["refused"] = refusal_;
  return status;
}

// ---- operations

void ConfigClient::continueReplay() {
  while (*replayed_ < wanted_.size()) {
    WantedInterface const& wanted = wanted_[(*replayed_)++];
    if (host_.front(wanted.place.table).marking(kConfigUnit)) write(wanted);
    if (sliceIsOver()) return;
  }
  replayed_.reset();
  if (!serving_ || !clients_.knows(kName)) return;
  Pivot::Status const status = clients_.replayedIs(kName);
  VEX_ASSERT_MSG(status.isOk(), "a client that registered can say that it has replayed", "{}",
                 status.message());
}

void ConfigClient::write(WantedInterface const& wanted) {
  failures_.erase(wanted.place);
  ++underWay_;
  host_.front(wanted.place.table)
      .table(kConfigUnit)
      ->entryWriteWithResponseHandler(InLifModelEntryKey(wanted.place.key), wanted.entry(), nullptr,
                                      handler(wanted.place));
}

// Operations of one interface end in the order in which they were asked, so the last one to end decides.
Asic::OrderedSwTable::ResponseHandler ConfigClient::handler(EntryPlace const& place) {
  return [this, place](Pivot::Ptr<Asic::OrderedSwTable::EntryHandle const> const& handle) {
    --underWay_;
    if (handle->entryState() == Asic::EntryState::entryStateDone)
      failures_.erase(place);
    else
      failures_.add(place);
  };
}

}  // namespace Inlif
