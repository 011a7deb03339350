#include "tools/agent/operations/HardwareFailures.h"

#include <fmt/format.h>

#include <optional>
#include <string>
#include <vector>

#include "tools/agent/operations/Target.h"
#include "tools/json/FailureJson.h"

namespace Inlif {

using LoamAgent::FailureWatch;
using LoamAgent::HardwareFailure;
using LoamTunnelNiLib::FailureClass;

void FailureEvents::failed(HardwareFailure const& failure) {
  Json event = {{"event", "hardwareFailed"}};
  event.update(failureJson(failure.tableName(), failure.row));
  outlet_.broadcast(event);
}

void FailureEvents::recovered(HardwareFailure const& failure) {
  Json event = {
      {"event", "hardwareRecovered"}, {"table", failure.tableName()}, {"unit", failure.row.key.unitId}};
  if (failure.row.key.wholeUnit == 0) event["key"] = failure.row.key.entryKey.value();
  outlet_.broadcast(event);
}

namespace {

// Lines of what could not be published again, before the rest is only counted.
constexpr std::size_t kMostTold = 100;

// Goes through the failures that are meant.
class FailuresWalk : public SteppedAnswer {
 protected:
  FailuresWalk(Asker asker, Host& host, Aim const& aim)
      : SteppedAnswer(std::move(asker)), host_(host), aim_(aim) {
    at_.table = aim.table.value_or(0);
  }

  virtual void take(HardwareFailure const& failure) = 0;
  virtual Json end() const = 0;

  Host& host_;

 private:
  bool turn() override {
    do {
      auto const failure = host_.failures().next(at_);
      if (!failure || (aim_.table && failure->table != *aim_.table)) return complete(end());
      at_ = {failure->table, failure->row.key};
      auto const& row = failure->row;
      if (aim_.unit && *aim_.unit != row.key.unitId) continue;
      if (aim_.key && (row.key.wholeUnit != 0 || *aim_.key != row.key.entryKey.value())) continue;
      take(*failure);
    } while (!sliceIsOver());
    return false;
  }

  Aim const aim_;
  FailureWatch::Place at_;
};

class Listing final : public FailuresWalk {
 public:
  Listing(Asker asker, Host& host, Aim const& aim) : FailuresWalk(std::move(asker), host, aim) {}

 private:
  void take(HardwareFailure const& failure) override {
    send({{"failure", failureJson(failure.tableName(), failure.row)}});
    ++count_;
  }
  Json end() const override { return {{"count", count_}}; }

  std::uint64_t count_ = 0;
};

class Retry final : public FailuresWalk {
 public:
  Retry(Asker asker, Host& host, Aim const& aim, std::optional<FailureClass> why)
      : FailuresWalk(std::move(asker), host, aim), class_(why) {}

 private:
  void take(HardwareFailure const& failure) override {
    if (class_ ? failure.row.failureClass != *class_ : !failure.row.isRefusal()) return;
    Pivot::Status const status = host_.publishAgain(failure);
    if (status.isOk())
      ++published_;
    else if (++notPublished_ <= kMostTold)
      send({{"refused", status.message()}});
  }
  Json end() const override { return {{"published", published_}, {"notPublished", notPublished_}}; }

  std::optional<FailureClass> const class_;
  std::uint64_t published_ = 0;
  std::uint64_t notPublished_ = 0;
};

}  // namespace

std::unique_ptr<SteppedAnswer> failuresAnswer(Asker asker, ObjectReader& in, Host& host) {
  Aim const aim = aimFrom(in);
  if (!in.finish().isOk()) return nullptr;
  return std::make_unique<Listing>(std::move(asker), host, aim);
}

std::unique_ptr<SteppedAnswer> retryAnswer(Asker asker, ObjectReader& in, Host& host) {
  Aim const aim = aimFrom(in);
  std::string const name(in.textOr("class", ""));
  auto const why = retryClassOf(name);
  if (in.isOk() && !name.empty() && !why)
    in.refuse(fmt::format("'class' is {}; expected one of {}", shownText(name), retryClassNames()));
  if (!in.finish().isOk()) return nullptr;
  return std::make_unique<Retry>(std::move(asker), host, aim, why);
}

}  // namespace Inlif
