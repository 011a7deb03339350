// Brings a whole table, image and hardware, to what the configurations say at one version.
//
// The writer owns one for each table and runs it, on its own thread alone, when the image is not complete. It goes unit by
// unit, so that it holds no more than one unit's entries in memory, and can be left between any two records: a busy
// hardware makes it wait, and it goes on where it was.
//
//   R1. What the hardware holds beside what is wanted is removed before anything of the unit is written: there may be no
//       room for both.
//   R2. The image holds at each moment what stands: what is read back is in it before it is changed.
//   R3. It goes on behind damage, so that the hardware keeps what can be read, and is not complete over it. As long as what
//       is damaged has not changed, another attempt costs a look.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "Shoal/SteadyReader.h"
#include "hardware/Lane.h"

namespace LoamHardware {

class Rebuild {
 public:
  using ConfigReader = Shoal::SteadyReader<LoamTunnelNiLib::InLifModelConfigShoalEntry>;

  Rebuild(Hardware& hardware, std::size_t table, Asic::TableInfo const& info, Image& image,
          Failures& failures, Lane& lane)
      : hardware_(hardware), table_(table), info_(info), image_(image), failures_(failures), lane_(lane) {}

  // Begins, with the live configuration records up to `version`, or goes on with what was begun for the same log; `log` is
  // the incarnation of the log, 0 if that cannot be read. waits: for the hardware. refused: why() tells, and it is to be
  // called again.
  enum class Step { complete, waits, refused, gone };
  Step step(Asic::LogVersion version, std::uint64_t log);
  std::string const& why() const { return why_; }
  // Whether the last step met damage that no earlier one had met.
  bool damageIsNews() const { return damageIsNews_; }
  // What was begun is of no use any more.
  void drop() { phase_ = Phase::idle; }

 private:
  enum class Phase { idle, wiping, units };

  Step begin(Asic::LogVersion version, std::uint64_t log);
  Step refuse(std::string const& why);
  Step end();
  // What is to be done on the unit at hand.
  Step load();
  Pivot::Status readWanted(Asic::UnitId unit);
  Step compareWithStanding(Asic::UnitId unit);
  void obstacleIs(ConfigReader& config, std::string const& problem);
  bool obstaclesStand() const;

  Hardware& hardware_;
  std::size_t const table_;
  Asic::TableInfo const& info_;
  Image& image_;
  Failures& failures_;
  Lane& lane_;
  Phase phase_ = Phase::idle;
  Asic::LogVersion version_;
  std::uint64_t log_ = 0;
  bool readsBack_ = false;
  std::vector<Asic::UnitId> units_;  // still to be done, the next one last
  bool loaded_ = false;              // the unit at hand is in todo_
  std::vector<Image::LogRecord> todo_;
  std::size_t done_ = 0;  // of todo_
  // Configurations that could not be read whole, by path, each in the state in which it was found.
  std::map<std::string, std::uint64_t> obstacles_;
  std::string obstacleText_;
  std::string why_;
  bool damageIsNews_ = false;
};

}  // namespace LoamHardware
