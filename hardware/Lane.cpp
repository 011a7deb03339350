#include "hardware/Lane.h"

#include <fmt/format.h>

#include "Vex/Assert.h"
#include "Vex/Trace.h"

namespace LoamHardware {
namespace {

Vex::TraceHandle const laneTrace("HwWriter");

constexpr std::chrono::milliseconds kShortestPause{1};
constexpr std::chrono::milliseconds kLongestPause{1000};

}  // namespace

void Lane::settle(LogRecord const& record, std::optional<Failures::Need> const& need, Answer const& answer) {
  if (answer.isDone()) {
    image_.take(record);
    failures_.taken(record);
    if (need && !record.isEntryDeleted() && !record.isTableDeleted()) failures_.standsWithout(record, *need);
  } else {
    failures_.refused(record, static_cast<LoamTunnelNiLib::FailureClass>(answer.refusalClass()),
                      answer.text());
  }
  image_.appliedIs(record.logVersion);
}

void Lane::busy(std::string const& what, LogRecord const* record) {
  auto const now = Clock::now();
  if (pause_.count() == 0) busySince_ = now;
  pause_ = std::clamp(pause_ * 2, kShortestPause, kLongestPause);
  again_ = now + pause_;
  if (now - busySince_ < kPatience) return;
  std::string const text =
      fmt::format("the hardware is busy for {} s",
                  std::chrono::duration_cast<std::chrono::seconds>(now - busySince_).count());
  if (!told_) VEX_TRACE(laneTrace, 1, "{} waits at {}: {}", info_.name, what, text);
  told_ = true;
  if (record != nullptr) failures_.putOff(*record, text);
}

Lane::Given Lane::weigh(Answer const& answer, LogRecord const* record) {
  if (answer.kind() == Answer::Kind::gone) return Given::gone;
  if (answer.kind() == Answer::Kind::busy) {
    busy(record != nullptr ? fmt::format("version {}", record->logVersion) : "the table as a whole", record);
    return Given::wait;
  }
  VEX_ASSERT_MSG(record != nullptr || answer.isDone(), "a table as a whole is done, busy or gone",
                 "{} answers {}", info_.name, static_cast<int>(answer.kind()));
  if (told_) VEX_TRACE(laneTrace, 1, "{} goes on", info_.name);
  pause_ = std::chrono::milliseconds(0);
  told_ = false;
  return Given::taken;
}

Lane::Given Lane::give(LogRecord const& record, std::optional<Failures::Need> const& need) {
  UnitTable const place{table_, record.unitId};
  Entry const entry(record.logEntry, record.logVersion);
  Answer answer = record.isTableDeleted()   ? hardware_.clear(place)
                  : record.isEntryDeleted() ? hardware_.remove(place, entry)
                                            : hardware_.write(place, entry);
  Given given = Given::taken;
  if (!answer.isDone() || pause_.count() != 0) given = weigh(answer, &record);
  if (given != Given::taken) return given;
  batch_ = true;
  if (answer.kind() == Answer::Kind::later) {
    Ticket const ticket = answer.ticket();
    underWay_.push_back({record, need, std::nullopt, ticket});
  } else if (underWay_.empty()) {
    settle(record, need, answer);
  } else {
    underWay_.push_back({record, need, std::move(answer), 0});
  }
  return given;
}

Lane::Given Lane::endBatch() {
  if (!batch_) return Given::taken;
  if (batchBusy_ && Clock::now() < again_) return Given::wait;
  Answer const answer = hardware_.endBatch(table_);
  // That the batch has gone says nothing of a record that is put off.
  if (answer.isDone() && !batchBusy_) {
    batch_ = false;
    return Given::taken;
  }
  batchBusy_ = batch_ = answer.kind() == Answer::Kind::busy;
  return weigh(answer, nullptr);
}

Lane::Given Lane::wipe() {
  return weigh(hardware_.wipe(table_), nullptr);
}

Lane::Given Lane::readBack(Asic::UnitId unit, std::vector<LoamTunnelNiLib::InLifModelLogEntry>& records) {
  return weigh(hardware_.readBack({table_, unit}, records), nullptr);
}

bool Lane::completed(Completion const& completion) {
  auto const at = std::ranges::find_if(
      underWay_, [&](Call const& call) { return !call.answer && call.ticket == completion.ticket; });
  if (at == underWay_.end()) return false;
  Answer::Kind const kind = completion.answer.kind();
  VEX_ASSERT_MSG(kind == Answer::Kind::done || kind == Answer::Kind::refused,
                 "a call is completed as done or refused", "ticket {} of {} as {}", completion.ticket,
                 info_.name, static_cast<int>(kind));
  at->answer = completion.answer;
  for (; !underWay_.empty() && underWay_.front().answer; underWay_.pop_front()) {
    Call const& call = underWay_.front();
    settle(call.record, call.need, *call.answer);
  }
  return true;
}

void Lane::forget() {
  underWay_.clear();
  batch_ = batchBusy_ = false;
  pause_ = std::chrono::milliseconds(0);
  told_ = false;
}

}  // namespace LoamHardware
