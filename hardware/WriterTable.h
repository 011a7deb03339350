// What the writer has of one table: its own collections, the way into the hardware, and how far it has come.
#pragma once

#include <fmt/format.h>

#include <optional>
#include <string>
#include <utility>

#include "hardware/Lane.h"
#include "hardware/Rebuild.h"
#include "hardware/Writer.h"

namespace LoamHardware {

struct Writer::Table {
  Table(std::size_t place, Asic::TableInfo const& tableInfo, Hardware& hardware)
      : info(tableInfo),
        image(tableInfo),
        failures(tableInfo, image),
        lane(hardware, place, tableInfo, image, failures),
        rebuilding(hardware, place, tableInfo, image, failures, lane),
        log(tableInfo.logPath) {}

  Asic::TableInfo const& info;
  Image image;
  Failures failures;
  Lane lane;
  Rebuild rebuilding;
  Shoal::SteadyReader<Image::LogRecord> log;
  // Up to here everything was given to the hardware; not below applied, and equal to it when nothing is under way.
  Asic::LogVersion given;
  Asic::LogVersion reported;
  HeldBack heldBack;
  std::optional<Failures::Need> refusedNeed;  // of the record looked at last
  unsigned logSeen = 0;                       // the opening of the log against which the image was held last
  // Told already, and still so.
  bool noSpace = false;
  std::string noRebuild;
};

// Whether the collection can be read; why not is told once. Another build may have laid its records out.
template <class Record>
bool Writer::readable(Shoal::SteadyReader<Record>& collection, bool look) {
  bool const ready = collection.ready(look);
  if (ready && unreadable_.empty()) return true;
  std::string const why = ready ? std::string() : collection.problem();
  if (std::exchange(unreadable_[collection.path()], why) != why && !why.empty())
    complain(collection.path(), fmt::format("waits until '{}' can be read: {}", collection.path(), why));
  if (ready) complained_.erase(collection.path());
  return ready;
}

}  // namespace LoamHardware
