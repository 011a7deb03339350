// The chip of ToySdk.h as hardware of the writer: each call becomes one of the SDK, each code an answer.
#pragma once

#include <hardware/Hardware.h>

#include "ToySdk.h"

class ToyHardware final : public LoamHardware::Hardware {
 public:
  Pivot::Status open(Asic::GroupInfo const&) override {
    toysdk::acknowledgeReset();
    return Pivot::Status::ok();
  }
  // The chip may have been reset while no writer ran: nobody knows, so it is read back.
  bool stands(std::size_t) override { return false; }

  LoamHardware::Answer write(LoamHardware::UnitTable place, LoamHardware::Entry const& entry) override {
    // A chip translates the fields of entry.fields(); this one keeps the bytes.
    return answer(toysdk::set(tableOf(place), entry.key().value(), entry.bytes().data()), place);
  }
  LoamHardware::Answer remove(LoamHardware::UnitTable place, LoamHardware::Entry const& entry) override {
    return answer(toysdk::remove(tableOf(place), entry.key().value()), place);
  }
  LoamHardware::Answer clear(LoamHardware::UnitTable place) override {
    std::vector<LoamTunnelNiLib::InLifModelLogEntry> records;
    static_cast<void>(readBack(place, records));
    for (auto const& record : records)
      if (toysdk::remove(tableOf(place), record.key.value()) == toysdk::kResetSeen)
        return LoamHardware::Answer::gone();
    return LoamHardware::Answer::done();
  }
  // Every call has gone to the chip at once.
  LoamHardware::Answer endBatch(std::size_t) override { return LoamHardware::Answer::done(); }

  std::optional<std::vector<Asic::UnitId>> standingUnits(std::size_t table) override {
    std::vector<Asic::UnitId> units;
    for (auto const& [at, record] : toysdk::chip.entries) {
      auto const unit = static_cast<Asic::UnitId>(at.first & 0xFFFF);
      if (at.first >> 16 == table && (units.empty() || units.back() != unit)) units.push_back(unit);
    }
    return units;
  }
  LoamHardware::Answer readBack(LoamHardware::UnitTable place,
                                std::vector<LoamTunnelNiLib::InLifModelLogEntry>& records) override {
    auto const& entries = toysdk::chip.entries;
    for (auto at = entries.lower_bound({tableOf(place), 0});
         at != entries.end() && at->first.first == tableOf(place); ++at) {
      LoamTunnelNiLib::InLifModelLogEntry record;
      std::memcpy(static_cast<void*>(&record), at->second.bytes, sizeof record);
      records.push_back(record);
    }
    return LoamHardware::Answer::done();
  }
  std::uint32_t capacity(LoamHardware::UnitTable) const override { return toysdk::kEntriesOfATable; }

 private:
  static std::uint32_t tableOf(LoamHardware::UnitTable place) {
    return static_cast<std::uint32_t>(place.table) << 16 | place.unit;
  }
  static LoamHardware::Answer answer(toysdk::Code code, LoamHardware::UnitTable place) {
    using LoamHardware::Answer;
    using LoamHardware::RefusalClass;
    switch (code) {
      case toysdk::kOk:
        return Answer::done();
      case toysdk::kResetSeen:
        return Answer::gone();
      case toysdk::kFull:
        return Answer::refused(RefusalClass::tableFull, std::to_string(toysdk::count(tableOf(place))) +
                                                            " entries stand, no room for more");
      case toysdk::kBadParameter:
        break;
    }
    return Answer::refused(RefusalClass::invalid, "the chip answers code " + std::to_string(code));
  }
};
