// What may happen to the files of a store between two lives, done on purpose: the torture loses them, flips single bits
// in them, and puts back older copies, of one file or of a whole side, with its manifest or without; and lets the
// files be those of another boot of the kernel.
//
// A side is what one of the two roles owns; the writer's lies below `hardware`. One object for a run: it keeps the
// copies. REQUIRES for copy() and strike(): no process changes what they touch.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace Inlif {

// The ways of a strike.
enum class Strike : std::uint8_t {
  loseFile,
  loseSide,
  loseManifest,
  putBackFile,
  putBackSome,
  putBackSide,
  flipBit,
  otherBoot
};
inline constexpr std::size_t kStrikes = 8;
char const* nameOf(Strike strike);

class StoreDamage {
 public:
  using Random = std::mt19937_64;
  enum class Side { agent, writer };

  // `copies`: a folder of its own, made when it is needed.
  StoreDamage(std::string store, std::string copies);

  // Copies all files as they stand, so that they can come back older.
  void copy();
  // One strike on a side, as chance has it; after it a line that says what was done.
  Strike strike(Random& random, Side side);
  // Flips one bit in a configuration.
  void flipConfiguration(Random& random);
  // Has every file of both sides come from another boot of the kernel.
  void otherBoot(Random& random);
  std::string const& done() const { return done_; }

 private:
  using Path = std::filesystem::path;
  using Files = std::vector<std::string>;  // relative to the store, ascending

  static constexpr std::size_t kMostCopies = 4;

  static Side sideOf(std::string const& file);
  static std::string manifestOf(Side side);
  Files filesOf(Path const& folder, Side side) const;
  void lose(Files const& files);
  void putBack(Random& random, Side side, Files files);
  void flip(Random& random, std::string const& file);

  Path store_;
  Path copies_;
  std::deque<std::string> kept_;  // names of the copies, oldest first
  std::uint64_t nextCopy_ = 0;
  std::string done_;
};

}  // namespace Inlif
