#include <fmt/format.h>

#include <chrono>
#include <thread>

#include "Asic/GroupResolver.h"
#include "tools/agent/operations/StatusAnswer.h"
#include "tools/dump/Load.h"
#include "tools/support/ErrorFile.h"

namespace Inlif {
namespace {

using Clock = std::chrono::steady_clock;

// Operations that are queued ahead of the commits.
constexpr std::size_t kQueuedAtOnce = 2048;
// Commits come within a turn; what has waited so long waits for somebody else, as for the room of a full log.
constexpr std::chrono::seconds kNoMove{10};
constexpr std::chrono::milliseconds kPause{20};

class StoreLoad {
 public:
  StoreLoad(LoamAgent::Host& host, DumpReader& reader, LoadResult& result, Progress& progress)
      : host_(host), reader_(reader), result_(result), progress_(progress) {}

  Pivot::Status run() {
    bool more = true;
    std::size_t waiting = 0;
    auto moved = Clock::now();
    while (more || queued() > 0) {
      if (more && queued() < kQueuedAtOnce) more = writeSome();
      bool const busy = host_.turn();
      if (queued() != waiting || queued() == 0) moved = Clock::now();
      waiting = queued();
      if (Clock::now() - moved > kNoMove)
        return Pivot::Status::refused(fmt::format("nothing moves any more: {}", pendingText(host_)));
      if (!busy && waiting > 0) std::this_thread::sleep_for(kPause);
    }
    // Ends that are told only after the commits.
    while (host_.turn()) {
    }
    return Pivot::Status::ok();
  }

 private:
  std::size_t queued() const { return host_.group().groupResolver()->length(); }

  // False at the end of the file.
  bool writeSome() {
    DumpLine line;
    Pivot::Status status = Pivot::Status::ok();
    for (std::size_t i = 0; i < kQueuedAtOnce; ++i) {
      if (!reader_.next(line, status)) return false;
      progress_.at(line.number);
      if (line.isUnit)
        makeUnit(line);
      else
        write(line);
    }
    return true;
  }

  void makeUnit(DumpLine const& line) {
    Pivot::Status const status = host_.makeTable(line.place.table, line.place.unit, false);
    if (!status.isOk()) return result_.refuse(line.number, status.message());
    ++result_.units;
  }

  void write(DumpLine const& line) {
    auto const table = host_.front(line.place.table).table(line.place.unit);
    if (!table)
      return result_.refuse(line.number,
                            fmt::format("{} has no unit {}; expected a line before this one that makes it",
                                        line.place.tableName(), line.place.unit));
    ++result_.entries;
    using Handle = Asic::OrderedSwTable::EntryHandle;
    table->entryWriteWithResponseHandler(
        line.entry.logEntry.key, line.entry, nullptr,
        [&result = result_, number = line.number](Pivot::Ptr<Handle const> const& handle) {
          if (handle->entryState() != Asic::EntryState::entryStateDone)
            result.refuse(number, LoadResult::kFailed);
        });
  }

  LoamAgent::Host& host_;
  DumpReader& reader_;
  LoadResult& result_;
  Progress& progress_;
};

// Records that the writer of the hardware has still to take.
std::size_t recordsOf(LoamAgent::Host& host) {
  std::size_t records = 0;
  for (std::size_t table = 0; table < kTables; ++table) records += host.front(table).logRecords();
  return records;
}

}  // namespace

Outcome loadIntoStore(DumpReader& reader, LoadResult& result, Progress& progress) {
  LoamAgent::Host host;
  Pivot::Status status = host.open({.store = {}, .suppressInitialMark = true});
  if (status.isOk()) {
    keepErrors(VexSharedMem::StoreRoot::Role::agent);
    status = StoreLoad(host, reader, result, progress).run();
    result.onTheirWay = recordsOf(host);
  }
  host.close();
  return status.isOk() ? Outcome::done() : Outcome::refused(std::move(status));
}

}  // namespace Inlif
