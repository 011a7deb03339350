// The records of the store as `show` prints them: configurations, change logs and images.
//
// Each dump remembers up to which version it has printed a table, so that printing again shows what is new.
// Read-only; a record that is damaged or stays busy is told on standard error, and the dump goes on with the
// next collection.
#pragma once

#include <array>

#include "LoamTunnelNiLib/InLifImage.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/SteadyReader.h"
#include "tools/show/Selection.h"

namespace Inlif {

class Dump {
 public:
  explicit Dump(Selection const& selection) : selection_(selection) {}
  virtual ~Dump() = default;

  // Prints what is new since the last call. False when some collection could not be read whole.
  bool print();

 protected:
  virtual bool printTable(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) = 0;

  Selection const& selection_;

 private:
  std::array<std::uint64_t, kTables> printed_{};
};

class ConfigDump final : public Dump {
 public:
  using Dump::Dump;

 private:
  bool printTable(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) override;
};

class LogDump final : public Dump {
 public:
  using Dump::Dump;

 private:
  bool printTable(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) override;
};

class ImageDump final : public Dump {
 public:
  using Dump::Dump;

 private:
  bool printTable(TableInfo const& table, std::uint64_t above, std::uint64_t& highest) override;
};

}  // namespace Inlif
