// The writer of the hardware: takes the change logs in version order, across tables in the order that their
// needs demand, into the hardware, keeps an image of what stands there and the failures of what does not, and reports how
// far it has come.
//
// A process that stands for the hardware runs one; tests run one in their own process, beside the agent's objects. One
// thread. It opens the agent's collections read-only and writes only its own: an image and the failures for each table, and
// the table-version map. It may start before the agent or after it, be killed at any moment, and find any
// collection replaced.
//
// Its owner waits until the descriptor of watch() is readable or nextDeadline() has come, and gives it a turn(); or it has
// nothing else to do, and calls turn() and wait() in turns.
//
//   W1. A table is looked at only once it has been announced since the group's collection began. The
//       announced version is read first, the file of the log is checked after that, and records are taken
//       only up to that version: so each of them is complete, and a version without a record is a gap, not a
//       record still to come. (Were the log looked at first, a record that is published between the two looks
//       would be passed over as a gap.)
//   W2. A record waits until the other tables are applied up to its needs. Needs point backwards, so some
//       table always goes on.
//   W3. A row of the table-version map is written from the applied version and never falls, but for the boot of
//       another kernel, after which nothing is reported until the images have been rebuilt. What is under way in the
//       hardware is not applied.
//   W4. What cannot be read of the agent's is counted in the scratchpad of the table-version map, once for each find,
//       and the agent woken: it makes readable what it can, and publishes the rest again. Before that, whatever was
//       concluded from the damage is stored.
//   W5. A refused record counts as applied, and stands in the failures before it does.
#pragma once

#include <chrono>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Asic/GroupInfo.h"
#include "Asic/GroupShoal.h"
#include "Pivot/Status.h"
#include "Shoal/ChangeWatch.h"
#include "Shoal/ShoalMap.h"
#include "Shoal/SteadyReader.h"
#include "hardware/Hardware.h"

namespace LoamHardware {

class Writer {
 public:
  using Clock = std::chrono::steady_clock;

  // The writer of all tables of a group, which it counts by their places there. The hardware outlives it.
  Writer(Asic::GroupInfo group, Hardware& hardware);
  ~Writer();

  // Claims the writer's role of the store, opens or makes its collections, and opens the hardware. REQUIRES: the root of
  // the store is set.
  Pivot::Status open();

  // Gives at most `budget` records, of all tables in turn, and reports what is complete. Returns how many were given;
  // fewer than the budget when all that is left waits for something. Never waits.
  std::size_t turn(std::size_t budget);
  // Waits until there may be something new, or for the time given. A return says nothing more than "look
  // again".
  void wait(std::chrono::milliseconds timeout);

  // For an owner with a loop of its own: the descriptor to wait for, readable when a turn has something to do. The writer
  // keeps it. REQUIRES: open(); signals that the owner takes are blocked already, since a thread is begun that must not
  // get them.
  Pivot::Status watch(int& descriptor);
  // When the next turn is due, if nothing comes before it.
  Clock::time_point nextDeadline() const;

  // What a table has applied; 0 while its image is being rebuilt.
  Asic::LogVersion applied(std::size_t table) const;
  // How many keys and units of a table have a row in its failures.
  std::uint32_t failures(std::size_t table) const;
  // The record that waits for another table, and the need that it waits for; version 0 when none does.
  struct HeldBack {
    Asic::LogVersion version;
    Asic::TableVersion need;
  };
  HeldBack const& heldBack(std::size_t table) const;

 private:
  struct Table;
  enum class Verdict { go, wait };

  template <class Record>
  bool readable(Shoal::SteadyReader<Record>& collection, bool look = true);
  Pivot::Status openRows();
  bool announcedVersion(Table& table, Asic::LogVersion& version);
  void complain(std::string const& about, std::string const& what);
  bool lookAtLog(Table& table, std::uint64_t& incarnation, Asic::LogVersion& cleaned);
  bool rebuild(Table& table, Asic::LogVersion version, std::uint64_t log);
  bool prepare(Table& table, Asic::LogVersion announced);
  // Gives at most `budget` records of one table. Adds what it gave to `count`; false when the table
  // cannot go on now.
  bool advance(Table& table, std::size_t budget, std::size_t& count);
  bool give(Table& table, Asic::LogVersion announced, std::size_t budget, std::size_t& count);
  Verdict needsMet(Table& table, Asic::LogVersion version);
  bool passOn();
  bool takeCompletions();
  void settle(Table& table);
  void report(Table& table);
  void hardwareIsGone();
  bool reopen();
  bool isTimeToLook();
  bool underWay() const;
  void watchForAnnouncement(std::chrono::milliseconds timeout);
  void watchHardware();

  Asic::GroupInfo const group_;
  Hardware& hardware_;
  std::map<std::string, std::string> unreadable_;  // by path, why; told already
  std::map<std::string, std::string> complained_;  // by path, or table for its announced version: of what
  Shoal::SteadyReader<Asic::AnnouncedRow> announced_;
  Shoal::SteadyReader<Asic::NeededRow> needed_;
  Shoal::ShoalMap<Asic::TableVersion> rows_;
  std::vector<std::unique_ptr<Table>> tables_;
  std::vector<Completion> completed_;
  std::uint32_t counterSeen_ = 0;  // of the announcements, read before the last turn looked at them
  unsigned openingSeen_ = 0;       // the opening of the announcements to which counterSeen_ belongs
  bool reported_ = false;          // rows were written since the agent was woken
  // While the hardware is gone: when it is opened again, and the pause after that.
  std::optional<Clock::time_point> reopenAt_;
  std::chrono::milliseconds reopenPause_{0};
  std::string reopenProblem_;  // told already
  Clock::time_point lastTurn_;
  Clock::time_point lastLook_;  // for another file of the announcements
  Shoal::ChangeWatch<Asic::AnnouncedRow> watchThread_;
  int descriptor_ = -1;  // epoll
  int watch_ = -1;       // inotify
};

}  // namespace LoamHardware
