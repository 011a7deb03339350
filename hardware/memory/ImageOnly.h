// A hardware that is nothing but the image: it takes everything at once, and what stands in the image stands. For a switch
// without a chip, and for everything that looks at the store alone.
#pragma once

#include "hardware/Hardware.h"

namespace LoamHardware {

class ImageOnly final : public Hardware {
 public:
  Pivot::Status open(Asic::GroupInfo const&) override { return Pivot::Status::ok(); }
  bool stands(std::size_t) override { return true; }
  Answer write(UnitTable, Entry const&) override { return Answer::done(); }
  Answer remove(UnitTable, Entry const&) override { return Answer::done(); }
  Answer clear(UnitTable) override { return Answer::done(); }
  Answer endBatch(std::size_t) override { return Answer::done(); }
  // Nothing beside what the image says.
  std::optional<std::vector<Asic::UnitId>> standingUnits(std::size_t) override {
    return std::vector<Asic::UnitId>();
  }
};

}  // namespace LoamHardware
