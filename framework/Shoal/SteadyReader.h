// A shared collection of another process, read over all that can happen to its file: not there yet, replaced
// by a new one, in the middle of a change, damaged.
//
// Every program beside the owner reads through this class: the writer of the hardware, the agent where it waits for
// that one, the commands that look at a store. A read is repeated while it is overtaken; one that stays so is told
// as busy, never taken for absence. One thread for each object.
#pragma once

#include <sched.h>

#include <memory>
#include <string>
#include <utility>

#include "Pivot/Exceptions.h"
#include "Shoal/ShoalReader.h"

namespace Shoal {

enum class Read { found, absent, busy, damaged };

template <class Record>
class SteadyReader {
 public:
  using Key = typename RecordTraits<Record>::Key;

  explicit SteadyReader(std::string path) : path_(std::move(path)) {}

  std::string const& path() const { return path_; }
  // Makes sure that the file that has the path now is the one read; false when none can be read, for the
  // reason in problem(). With `look`, asks the file system whether the path leads elsewhere by now, otherwise
  // only where the file carries the mark of one that is being replaced. Until another has its place, as after the
  // death of its owner, it is read on.
  bool ready(bool look = true) {
    if (reader_ && (look || reader_->retired()) && reader_->replaced()) reader_.reset();
    if (reader_) return true;
    auto opened = ShoalReader<Record>::open(path_);
    reader_ = std::move(opened.reader);
    problem_ = opened.state == OpenState::notThereYet ? std::string() : opened.message;
    if (reader_) ++openings_;
    return reader_ != nullptr;
  }
  // Why the file cannot be read; empty when there is none yet.
  std::string const& problem() const { return problem_; }
  // Counts the files that were opened: a walk that sees it change begins again.
  unsigned openings() const { return openings_; }

  // REQUIRES for all below: ready() was true.
  ShoalReader<Record>& reader() { return *reader_; }
  Read lookup(Key const& key, Record& out) {
    return steady([&] { return reader_->lookup(key, out); });
  }
  // The record after `after` in the order of the walk, or the first one for null.
  Read next(Key const* after, Record& out) {
    return steady([&] { return after ? reader_->next(*after, out) : reader_->first(out); });
  }
  // After a step that was damaged: the first record behind what is damaged.
  Read nextBehindDamage(Record& out) {
    return steady([&] { return reader_->nextBehindDamage(out); });
  }

 private:
  static constexpr int kRepeats = 200;

  template <class F>
  Read steady(F read) {
    try {
      for (int i = 0; i < kRepeats; ++i) {
        switch (read()) {
          case ReadResult::found:
            return Read::found;
          case ReadResult::absent:
            return Read::absent;
          case ReadResult::busy:
            sched_yield();
        }
      }
      return Read::busy;
    } catch (Pivot::CorruptionDetectedException const& damage) {
      problem_ = damage.what();
      return Read::damaged;
    }
  }

  std::string path_;
  std::string problem_;
  std::unique_ptr<ShoalReader<Record>> reader_;
  unsigned openings_ = 0;
};

// Calls f(record) for every record; f returns false to stop. Tells how the walk ended: absent at its end,
// found when f stopped it.
template <class Record, class F>
Read walk(SteadyReader<Record>& collection, F f) {
  Record record;
  Read result = collection.next(nullptr, record);
  while (result == Read::found) {
    auto const key = RecordTraits<Record>::key(record);
    if (!f(std::as_const(record))) return Read::found;
    result = collection.next(&key, record);
  }
  return result;
}

// The same, and goes on behind what is damaged; `problem` tells the first damage that was met, and is left alone
// without any.
template <class Record, class F>
Read walkOverDamage(SteadyReader<Record>& collection, std::string& problem, F f) {
  Record record;
  Read result = collection.next(nullptr, record);
  while (result == Read::found || result == Read::damaged) {
    if (result == Read::damaged) {
      if (problem.empty()) problem = collection.problem();
      result = collection.nextBehindDamage(record);
      continue;
    }
    auto const key = RecordTraits<Record>::key(record);
    if (!f(std::as_const(record))) return Read::found;
    result = collection.next(&key, record);
  }
  return result;
}

}  // namespace Shoal
