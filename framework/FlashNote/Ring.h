// A ring of short binary notes about the milestones of a process: cheap to write, read out as text when
// somebody asks.
//
// A note is one record of fixed size; the oldest is overwritten. Text is not formatted when a note is taken:
// the record holds the id of its message, which each call site gets once and keeps in a static, and the
// arguments. Reading out puts the two together.
//
// Record, 128 bytes, written by the thread of the agent alone:
//
//   offset | width | field
//        0 |     8 | sequence, from 1; 0 in a record that was never written
//        8 |     8 | time, nanoseconds since 1970 UTC
//       16 |     4 | message id
//       20 |     2 | bytes of arguments in use
//       22 |     2 | reserved, 0
//       24 |   104 | arguments in order: "i" 8 bytes, signed; "s" a byte of length and the characters that fit
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "Cobble/Export.h"
#include "Vex/FileName.h"
#include "Vex/Text.h"

namespace FlashNote {

// What a call site registers once.
struct Message {
  std::string format;
  // One letter for each argument: "i" integer, "s" string.
  std::string letters;
  std::string file;
  int line;
};

// A note as read out.
struct Note {
  std::uint64_t sequence;
  std::uint64_t timeNs;
  std::uint32_t messageId;
  std::string text;
};

struct Record {
  static constexpr std::size_t kArgumentBytes = 104;

  std::uint64_t sequence;
  std::uint64_t timeNs;
  std::uint32_t messageId;
  std::uint16_t argumentLength;
  std::uint16_t reserved;
  unsigned char arguments[kArgumentBytes];
};
static_assert(sizeof(Record) == 128 && offsetof(Record, argumentLength) == 20 &&
              offsetof(Record, arguments) == 24);
static_assert(std::is_trivially_copyable_v<Record> && std::has_unique_object_representations_v<Record>);

// Collects the arguments of one note. A string that does not fit is cut; an integer that does not fit, and
// all that comes after it, is left out and reads as "...".
class LOAM_FRAMEWORK_EXPORT NoteWriter {
 public:
  explicit NoteWriter(Record& record) : record_(record) { record_.argumentLength = 0; }
  void integer(std::int64_t value);
  void string(std::string_view value);

 private:
  Record& record_;
  bool full_ = false;
};

class LOAM_FRAMEWORK_EXPORT Ring {
 public:
  // REQUIRES: records is at least 1.
  explicit Ring(std::size_t records);
  // A ring that goes while it is the default leaves the process without one.
  ~Ring();
  Ring(Ring const&) = delete;
  Ring& operator=(Ring const&) = delete;

  // The ring into which FLASH_NOTE writes; null for none. The ring stays the property of who set it.
  static Ring* defaultRing() { return default_.load(std::memory_order_acquire); }
  static void defaultRingIs(Ring* ring) { default_.store(ring, std::memory_order_release); }

  // The id of a new message, from 1 up; kept for the life of the process.
  static std::uint32_t messageIs(Message message);

  // The record that the next note overwrites, with sequence, time and id filled in.
  Record& next(std::uint32_t messageId);
  // Notes written so far, also those that have been overwritten.
  std::uint64_t written() const { return written_; }
  std::size_t capacity() const { return records_.size(); }
  // What the ring still holds, oldest first.
  std::vector<Note> notes() const;

 private:
  static std::atomic<Ring*> default_;

  std::vector<Record> records_;
  std::uint64_t written_ = 0;
};

namespace Impl {

// The letters of a note, checked against its arguments at compile time: an "i" takes an integer, an "s"
// anything with a text.
template <class... Args>
struct Letters {
  consteval Letters(char const* text) : text_(text) {  // NOLINT: implicit, so that a literal serves
    std::size_t count = 0;
    while (text[count] != '\0') ++count;
    bool const integral[] = {std::is_integral_v<std::remove_cvref_t<Args>>..., false};
    if (count != sizeof...(Args)) throw "one letter for each argument";
    for (std::size_t i = 0; i < count; ++i) {
      if (text[i] != 's' && !(text[i] == 'i' && integral[i])) throw "the letter does not fit its argument";
    }
  }
  char const* text_;
};

template <class Arg>
void put(NoteWriter& writer, char letter, Arg const& arg) {
  if constexpr (std::is_integral_v<Arg>) {
    if (letter == 'i') {
      writer.integer(static_cast<std::int64_t>(arg));
      return;
    }
  }
  if constexpr (std::is_convertible_v<Arg const&, std::string_view>) {
    writer.string(arg);
  } else {
    writer.string(fmt::format("{}", arg));
  }
}

template <class... Args>
void note(Ring& ring, std::atomic<std::uint32_t>& id, std::string_view file, int line,
          fmt::format_string<Args const&...> format, Letters<std::type_identity_t<Args>...> letters,
          Args const&... args) {
  if (id.load(std::memory_order_relaxed) == 0) {
    fmt::string_view const text = format;
    id.store(Ring::messageIs({{text.data(), text.size()}, letters.text_, std::string(file), line}),
             std::memory_order_relaxed);
  }
  NoteWriter writer(ring.next(id.load(std::memory_order_relaxed)));
  char const* letter = letters.text_;
  (put(writer, *letter++, args), ...);
  static_cast<void>(letter);
}

}  // namespace Impl
}  // namespace FlashNote

// FLASH_NOTE("message {}", "i", argument...): takes a note when the process has a default ring, and else does
// nothing; the arguments are not evaluated then. The letters are a literal, empty for a message without
// arguments.
#define FLASH_NOTE(...)                                                                                 \
  do {                                                                                                  \
    if (::FlashNote::Ring* flashNoteRing_ = ::FlashNote::Ring::defaultRing()) {                         \
      static std::atomic<std::uint32_t> flashNoteId_{0};                                                \
      ::FlashNote::Impl::note(*flashNoteRing_, flashNoteId_, ::Vex::Impl::fileName(__FILE__), __LINE__, \
                              __VA_ARGS__);                                                             \
    }                                                                                                   \
  } while (false)
