// What must hold in the store whenever the agent does not run, or rests: looked at after each death, before
// anybody repairs anything, and at the end of each cycle.
//
//   T1. What `inlif check` demands of files and of what they say of each other (C1 to C7 in TableCheck.h):
//       among it, the configuration is never behind the log, and the scratchpad never ahead of it.
//   T2. No version stands for two contents, over all lives: wherever a version was ever seen (log,
//       configuration, image, acknowledgement), it stood for the same operation on the same key with the same
//       entry, byte for byte.
//   T3. Nothing that a death leaves may need a repair after a loss: no note of the check tells of one, and no
//       file was ever given up.
//   T4. At rest the log is empty, no removed record is left, and no intent stands.
//
// REQUIRES for a look: neither process writes; one that runs is stopped or at rest. One object for a whole run,
// since T2 has to remember.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/check/StoreContents.h"
#include "tools/demo/Drive.h"

namespace Inlif {

class PostMortem {
 public:
  explicit PostMortem(CheckLimits const& limits = {}) : limits_(limits) {}

  // The hardware is reset now and then: a death may leave an image that is being rebuilt.
  void mayRebuild() { mayRebuild_ = true; }

  // What an acknowledgement told about its version.
  void acknowledged(std::vector<Ended> const& ended);
  // Looks at the store that this process has named; what does not hold is told in problems(). `atRest`:
  // nothing is on its way.
  void examine(bool atRest);
  std::vector<std::string> const& problems() const { return problems_; }
  // What was known of versions: files come back older, and what nobody remembers any more may be issued again.
  void forget();
  // Versions that are known.
  std::size_t versions() const;

 private:
  using LogRecord = LoamTunnelNiLib::InLifModelLogShoalEntry;
  using ConfigRecord = LoamTunnelNiLib::InLifModelConfigShoalEntry;
  enum class Kind : std::uint8_t { write, removal, unitDelete };
  // What a version stands for. An acknowledgement does not know the entry, and only a write has one.
  struct Content {
    Kind kind;
    Asic::UnitId unit;
    std::uint32_t key;
    std::optional<LoamTunnelNiLib::InLifModelLogEntry> entry;
  };

  void fault(std::string const& what);
  static std::string textOf(Content const& content);
  // Notes or compares what a version stands for.
  void note(std::size_t table, std::uint64_t version, Content const& content, char const* where);
  void noteRemoved(std::size_t table, Asic::UnitId unit, ConfigRecord const& record);
  void noteAll(std::size_t table, TableContents const& contents);
  void checkRest(std::size_t table, TableContents const& contents);

  CheckLimits limits_;
  bool mayRebuild_ = false;
  std::array<std::unordered_map<std::uint64_t, Content>, kTables> known_;
  std::vector<std::string> problems_;
};

}  // namespace Inlif
