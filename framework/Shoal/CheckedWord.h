// Words of a collection file that prove themselves. A checked word carries 32 bits of payload, 8 bits of
// sequence and 24 bits of check over both, its place and the file's incarnation: a flipped bit, a zeroed line
// or a word copied from elsewhere does not pass. It is stored whole, so a killed owner leaves the old or the
// new one.
//
// A register keeps a u64 in two cells of two checked words each. A write goes into the older cell, so a kill
// between its two words leaves two words of different sequence there, each of which passes, and the other
// cell stands; a damaged word does not pass. So "the write did not happen" and "the value is lost" are told
// apart, which two cells with one checksum each could not.
#pragma once

#include <cstdint>

#include "Shoal/Checksum.h"
#include "Shoal/FileLayout.h"

namespace Shoal {

// Places that salt a checked word: numbers of 24 bits. They are part of the format.
enum class WordPlace : std::uint32_t {
  liveCount = 1,
  slotsReserved = 2,
  wiped = 3,
  corrupted = 4,
  retired = 5,
  intent = 6,
  scratchpad = 16,       // to 19: its four words
  agreesWith = 20,       // to 23
  watermark = 24,        // to 27
  boot = 28,             // to 31
  pageTable = 0x800000,  // plus the directory page
};
static_assert(static_cast<std::uint32_t>(WordPlace::pageTable) + kMaxCapacity / kWordsPerFrame < 1u << 24);

struct CheckedWord {
  static std::uint64_t of(std::uint32_t payload, std::uint8_t sequence, std::uint32_t place,
                          std::uint64_t salt) {
    std::uint64_t const low = payload | std::uint64_t{sequence} << 32;
    return low | (check(low, place, salt) << 40);
  }
  static std::uint64_t of(std::uint32_t payload, WordPlace place, std::uint64_t salt) {
    return of(payload, 0, static_cast<std::uint32_t>(place), salt);
  }
  // REQUIRES nothing of the word. True if it was written by of() for this place and salt.
  static bool valid(std::uint64_t word, std::uint32_t place, std::uint64_t salt) {
    return word >> 40 == check(word & 0xFFFFFFFFFF, place, salt);
  }
  static bool valid(std::uint64_t word, WordPlace place, std::uint64_t salt) {
    return valid(word, static_cast<std::uint32_t>(place), salt);
  }
  static std::uint32_t payload(std::uint64_t word) { return static_cast<std::uint32_t>(word); }
  static std::uint8_t sequence(std::uint64_t word) { return static_cast<std::uint8_t>(word >> 32); }

 private:
  static std::uint64_t check(std::uint64_t low, std::uint32_t place, std::uint64_t salt) {
    return mix64(low ^ salt ^ std::uint64_t{place} << 40) >> 40 |
           1;  // odd, so that a zeroed word never passes
  }
};

enum class RegisterState { whole, busy, damaged };

// Reads a register; `value` is set for `whole`. `busy` (a write was seen half done, or one came between two
// looks) happens to readers only.
RegisterState readRegister(RegisterWords const& words, WordPlace place, std::uint64_t salt,
                           std::uint64_t& value);

// Sets both cells to `value`. Only for a file that has no name yet, or in a mend, for one that does not
// read whole.
void initRegister(RegisterWords& words, WordPlace place, std::uint64_t salt, std::uint64_t value);

// Writes `value` into the older cell. REQUIRES a register that reads whole. Owner only.
void writeRegister(RegisterWords& words, WordPlace place, std::uint64_t salt, std::uint64_t value);

}  // namespace Shoal
