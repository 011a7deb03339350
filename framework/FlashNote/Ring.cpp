// Writing notes, and putting message and arguments together when they are read out.
#include "FlashNote/Ring.h"

#include <fmt/args.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <mutex>

#include "Vex/Assert.h"

namespace FlashNote {
namespace {

// Message n has the id n + 1. Never destroyed: call sites keep their ids until the process ends.
struct Messages {
  std::mutex mutex;
  std::vector<Message> list;
};

Messages& messages() {
  static auto* const theMessages = new Messages;
  return *theMessages;
}

Message messageOf(std::uint32_t id) {
  Messages& known = messages();
  std::lock_guard const lock(known.mutex);
  return known.list[id - 1];
}

std::string textOf(Record const& record) {
  Message const message = messageOf(record.messageId);
  fmt::dynamic_format_arg_store<fmt::format_context> args;
  unsigned char const* at = record.arguments;
  unsigned char const* const end = at + record.argumentLength;
  for (char const letter : message.letters) {
    std::size_t const left = static_cast<std::size_t>(end - at);
    std::int64_t value = 0;
    if (left < (letter == 'i' ? sizeof(value) : 1)) {
      args.push_back("...");
    } else if (letter == 'i') {
      std::memcpy(&value, at, sizeof(value));
      at += sizeof(value);
      args.push_back(value);
    } else {
      std::size_t const length = *at++;
      args.push_back(std::string(reinterpret_cast<char const*>(at), length));
      at += length;
    }
  }
  try {
    return fmt::vformat(message.format, args);
  } catch (fmt::format_error const&) {
    // What is kept as a text, or was cut, does not fit each way to show a number.
    return message.format;
  }
}

}  // namespace

std::atomic<Ring*> Ring::default_{nullptr};

void NoteWriter::integer(std::int64_t value) {
  if (sizeof(value) > Record::kArgumentBytes - record_.argumentLength) {
    // The record is full for good: a later, shorter argument must not be taken for this one.
    full_ = true;
  }
  if (full_) return;
  std::memcpy(record_.arguments + record_.argumentLength, &value, sizeof(value));
  record_.argumentLength = static_cast<std::uint16_t>(record_.argumentLength + sizeof(value));
}

void NoteWriter::string(std::string_view value) {
  std::size_t const room = Record::kArgumentBytes - record_.argumentLength;
  if (room == 0) full_ = true;
  if (full_) return;
  std::size_t const length = std::min(value.size(), room - 1);
  unsigned char* const at = record_.arguments + record_.argumentLength;
  *at = static_cast<unsigned char>(length);
  std::memcpy(at + 1, value.data(), length);
  record_.argumentLength = static_cast<std::uint16_t>(record_.argumentLength + 1 + length);
}

Ring::Ring(std::size_t records) : records_(records) {
  VEX_ASSERT(records >= 1, "records >= 1");
}

Ring::~Ring() {
  Ring* self = this;
  default_.compare_exchange_strong(self, nullptr);
}

std::uint32_t Ring::messageIs(Message message) {
  Messages& known = messages();
  std::lock_guard const lock(known.mutex);
  known.list.push_back(std::move(message));
  return static_cast<std::uint32_t>(known.list.size());
}

Record& Ring::next(std::uint32_t messageId) {
  Record& record = records_[written_ % records_.size()];
  auto const now = std::chrono::system_clock::now().time_since_epoch();
  record.sequence = ++written_;
  record.timeNs =
      static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
  record.messageId = messageId;
  return record;
}

std::vector<Note> Ring::notes() const {
  std::vector<Note> notes;
  std::uint64_t const held = std::min<std::uint64_t>(written_, records_.size());
  for (std::uint64_t sequence = written_ - held; sequence < written_; ++sequence) {
    Record const& record = records_[sequence % records_.size()];
    notes.push_back({record.sequence, record.timeNs, record.messageId, textOf(record)});
  }
  return notes;
}

}  // namespace FlashNote
