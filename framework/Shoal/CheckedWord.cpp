#include "Shoal/CheckedWord.h"

#include "Shoal/CrashPoint.h"

namespace Shoal {
namespace {

struct Words {
  std::uint64_t word[2][2];
  bool operator==(Words const&) const = default;
};

Words collect(RegisterWords const& words) {
  Words seen;
  for (int cell = 0; cell < 2; ++cell) {
    // Acquire: meets the releases of writeRegister, so that a new second word is never seen with an old first
    // one, nor a new cell while the other one is still half new.
    seen.word[cell][1] = words.word[cell][1].load(std::memory_order_acquire);
    seen.word[cell][0] = words.word[cell][0].load(std::memory_order_acquire);
  }
  return seen;
}

bool complete(Words const& seen, int cell) {
  return CheckedWord::sequence(seen.word[cell][0]) == CheckedWord::sequence(seen.word[cell][1]);
}

// The cell that holds the value, -1 if both are half written.
int newest(Words const& seen) {
  if (!complete(seen, 0)) return complete(seen, 1) ? 1 : -1;
  if (!complete(seen, 1)) return 0;
  auto const ahead = static_cast<std::int8_t>(CheckedWord::sequence(seen.word[1][0]) -
                                              CheckedWord::sequence(seen.word[0][0]));
  return ahead > 0 ? 1 : 0;
}

std::uint32_t placeOf(WordPlace place, int cell, int half) {
  return static_cast<std::uint32_t>(place) + static_cast<std::uint32_t>(2 * cell + half);
}

void writeCell(RegisterWords& words, int cell, WordPlace place, std::uint64_t salt, std::uint64_t value,
               std::uint8_t sequence) {
  // Release, each: the second word is never seen without the first, nor a write without the one before it,
  // which went into the other cell.
  words.word[cell][0].store(
      CheckedWord::of(static_cast<std::uint32_t>(value), sequence, placeOf(place, cell, 0), salt),
      std::memory_order_release);
  LOAM_CRASH_POINT("register: first half written");
  words.word[cell][1].store(
      CheckedWord::of(static_cast<std::uint32_t>(value >> 32), sequence, placeOf(place, cell, 1), salt),
      std::memory_order_release);
  LOAM_CRASH_POINT("register: written");
}

}  // namespace

RegisterState readRegister(RegisterWords const& words, WordPlace place, std::uint64_t salt,
                           std::uint64_t& value) {
  Words const seen = collect(words);
  for (int cell = 0; cell < 2; ++cell)
    for (int half = 0; half < 2; ++half)
      if (!CheckedWord::valid(seen.word[cell][half], placeOf(place, cell, half), salt))
        return RegisterState::damaged;
  int const cell = newest(seen);
  // The sequence has eight bits. The second look keeps a reader that slept through 256 writes from joining
  // halves of two values.
  if (cell < 0 || !(collect(words) == seen)) return RegisterState::busy;
  value = CheckedWord::payload(seen.word[cell][0]) | std::uint64_t{CheckedWord::payload(seen.word[cell][1])}
                                                         << 32;
  return RegisterState::whole;
}

void initRegister(RegisterWords& words, WordPlace place, std::uint64_t salt, std::uint64_t value) {
  writeCell(words, 0, place, salt, value, 0);
  writeCell(words, 1, place, salt, value, 1);
}

void writeRegister(RegisterWords& words, WordPlace place, std::uint64_t salt, std::uint64_t value) {
  Words const seen = collect(words);
  int const current = newest(seen);
  int const cell = current < 0 ? 0 : current;
  writeCell(words, 1 - cell, place, salt, value,
            static_cast<std::uint8_t>(CheckedWord::sequence(seen.word[cell][0]) + 1));
}

}  // namespace Shoal
