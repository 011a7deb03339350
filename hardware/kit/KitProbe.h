// Stands between the writer and a driver under check: counts the calls, ends the life of the writer after any of them, and
// holds the driver to what it promises.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "hardware/Hardware.h"

namespace LoamHardware {

// Thrown through the writer: to it the process has died.
struct KitDeath {};

class KitProbe final : public Hardware {
 public:
  // `faults` outlives the probe, and takes a line for each promise that is broken.
  KitProbe(Hardware& driver, std::vector<std::string>& faults) : driver_(driver), faults_(faults) {}

  // The life ends after so many calls more.
  void dieAfter(std::uint64_t calls) { callsLeft_ = calls; }
  // The lowest version of a table that is under way; none: 0.
  Asic::LogVersion underWay(std::size_t table) const {
    auto const& versions = underWay_[table];
    return versions.empty() ? Asic::LogVersion() : *versions.begin();
  }
  // Refusals that the driver gave: those of a class, and all.
  std::size_t refusals(RefusalClass why) const {
    auto const at = refusals_.find(why);
    return at == refusals_.end() ? 0 : at->second;
  }
  std::size_t goneAnswers() const { return gone_; }

  Pivot::Status open(Asic::GroupInfo const& group) override {
    tickets_.clear();
    underWay_.assign(group.tables.size(), {});
    Pivot::Status status = driver_.open(group);
    called();
    return status;
  }
  bool stands(std::size_t table) override { return seen(driver_.stands(table)); }
  Answer write(UnitTable place, Entry const& entry) override {
    return judge(driver_.write(place, entry), place, entry.version());
  }
  Answer remove(UnitTable place, Entry const& entry) override {
    return judge(driver_.remove(place, entry), place, entry.version());
  }
  Answer clear(UnitTable place) override { return judge(driver_.clear(place), place, Asic::LogVersion()); }
  Answer endBatch(std::size_t table) override { return whole(driver_.endBatch(table), "endBatch()"); }
  void completions(std::vector<Completion>& completed) override {
    std::vector<Completion> all;
    driver_.completions(all);
    for (Completion& one : all) {
      if (one.answer.kind() == Answer::Kind::gone) {
        ++gone_;
      } else if (auto const at = tickets_.find(one.ticket); at == tickets_.end()) {
        fault("completes ticket " + std::to_string(one.ticket) + ", which is not under way");
        continue;
      } else {
        auto& versions = underWay_[at->second.first];
        versions.erase(versions.find(at->second.second));
        tickets_.erase(at);
        note(one.answer);
      }
      completed.push_back(std::move(one));
    }
    called();
  }
  int descriptor() const override { return driver_.descriptor(); }
  std::optional<std::vector<Asic::UnitId>> standingUnits(std::size_t table) override {
    return seen(driver_.standingUnits(table));
  }
  Answer readBack(UnitTable place, std::vector<LoamTunnelNiLib::InLifModelLogEntry>& records) override {
    return whole(driver_.readBack(place, records), "readBack()");
  }
  Answer wipe(std::size_t table) override { return whole(driver_.wipe(table), "wipe()"); }
  std::uint32_t capacity(UnitTable place) const override { return driver_.capacity(place); }

 private:
  void fault(std::string what) { faults_.push_back("the driver " + std::move(what)); }
  void called() {
    if (callsLeft_ != 0 && --callsLeft_ == 0) throw KitDeath();
  }
  template <class T>
  T seen(T result) {
    called();
    return result;
  }
  void note(Answer const& answer) {
    if (answer.kind() == Answer::Kind::gone) ++gone_;
    if (answer.kind() != Answer::Kind::refused) return;
    ++refusals_[answer.refusalClass()];
    if (answer.text().empty()) fault("refuses without a text");
  }
  Answer judge(Answer answer, UnitTable place, Asic::LogVersion version) {
    note(answer);
    if (answer.kind() == Answer::Kind::later) {
      if (!tickets_.try_emplace(answer.ticket(), place.table, version).second)
        fault("gives ticket " + std::to_string(answer.ticket()) + " to two calls");
      else
        underWay_[place.table].insert(version);
    }
    return seen(std::move(answer));
  }
  Answer whole(Answer answer, char const* call) {
    if (answer.kind() == Answer::Kind::refused || answer.kind() == Answer::Kind::later) {
      fault(std::string("answers ") + call + " with neither done, busy nor gone");
      answer = Answer::busy();
    }
    note(answer);
    return seen(std::move(answer));
  }

  Hardware& driver_;
  std::vector<std::string>& faults_;
  std::uint64_t callsLeft_ = 0;
  std::map<Ticket, std::pair<std::size_t, Asic::LogVersion>> tickets_;
  std::vector<std::multiset<Asic::LogVersion>> underWay_;  // by table
  std::map<RefusalClass, std::size_t> refusals_;
  std::size_t gone_ = 0;
};

}  // namespace LoamHardware
