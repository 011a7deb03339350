// What the writer asks of the hardware: the one interface that somebody with a chip implements.
//
// The writer owns no hardware and knows none; it is given an object of this class and drives it from one thread. An
// implementation translates entries into its chip's own tables and says what became of each call. It keeps no versions,
// no order and no state of the store: all that is the writer's.
//
// What an implementation may rely on:
//
//   H1. All calls come from one thread, none from within another.
//   H2. Of a table the calls come in the order of its versions. A record is given only when everything that it needs of
//       other tables has been answered done or refused. The exception is the rebuilding of a table, told below.
//   H3. A call that was answered busy comes again, with the same record, before any other record of its table. Not so
//       when a rebuilding of the table begins meanwhile, or begins anew: it gives what it finds missing, in its own order.
//   H4. Each run of write(), remove() and clear() of a table is followed by endBatch() before the writer sleeps.
//   H5. A call can come twice: after the death of the writer, everything that it had not yet noted as complete comes
//       again, oldest first. A record says what shall stand, never what is added, so doing it twice changes nothing.
//
// What the writer relies on:
//
//   P1. What was answered done stands in the hardware, until a later call of that key or unit changes it, or the hardware
//       answers gone.
//   P2. What was answered refused has changed nothing: what stood before under the key stands.
//   P3. Calls of one table take effect in the order in which they were made, whatever is completed later.
//   P4. No call waits for the hardware. One that would is answered busy or later.
//
// A rebuilding. When a table begins to be driven and stands() does not vouch for it, when its image was lost, and after
// gone, the writer brings the whole table to what the configuration says at one version. It asks standingUnits().
// Where that can tell, each unit is read back, entries that are not wanted are removed, and those written that are
// missing or differ; where it cannot, the table is wiped and everything written. Within a unit these calls come in the
// order of their versions, but units come one after the other, and needs between tables are not looked at: everything
// that they name has been published long since. The table reports nothing until the last of it is complete.
//
// What a death leaves. The writer can be killed between any two calls, and within one. It notes progress in the store
// after an answer, never before. So after a death the hardware may hold more than the store says, never less: up to the
// records of one batch that were written, removed or cleared and are not noted. The next life gives them again (H5), if
// stands() vouches for the rest, or rebuilds. Killed within a rebuilding, it begins the rebuilding again.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Asic/GroupInfo.h"
#include "Asic/LogVersion.h"
#include "Asic/UnitId.h"
#include "LoamTunnelNiLib/InLifFailure.h"
#include "LoamTunnelNiLib/InLifModelLogEntry.h"
#include "Pivot/Status.h"

namespace LoamHardware {

// Why the hardware does not take a record, for good. The numbers stand in the store.
enum class RefusalClass : std::uint8_t {
  // No room; the same record may be taken when others have gone.
  tableFull = static_cast<std::uint8_t>(LoamTunnelNiLib::FailureClass::tableFull),
  // A value that this hardware can never hold.
  invalid = static_cast<std::uint8_t>(LoamTunnelNiLib::FailureClass::invalid),
  // A feature that this hardware lacks.
  unsupported = static_cast<std::uint8_t>(LoamTunnelNiLib::FailureClass::unsupported),
  // The text alone tells.
  other = static_cast<std::uint8_t>(LoamTunnelNiLib::FailureClass::other),
};

// A call that is under way, by a number of the implementation's choice; unique among those under way.
using Ticket = std::uint64_t;

// What became of a call.
class [[nodiscard]] Answer {
 public:
  enum class Kind : std::uint8_t { done, busy, refused, gone, later };

  // It stands.
  static Answer done() { return Answer(Kind::done); }
  // Not now: nothing has changed, and the writer asks again, after pauses that grow to a second. That holds back the
  // table of the call alone; after some seconds it is told.
  static Answer busy() { return Answer(Kind::busy); }
  // Never: nothing has changed. The text is for an operator and holds the values; what is longer than the record of a
  // failure holds is cut. The table goes on with its next record.
  static Answer refused(RefusalClass why, std::string text) {
    Answer answer(Kind::refused);
    answer.class_ = why;
    answer.text_ = std::move(text);
    return answer;
  }
  // The hardware was reset and holds nothing that can be relied on. The writer forgets every ticket, opens the hardware
  // again and rebuilds all tables.
  static Answer gone() { return Answer(Kind::gone); }
  // It is under way; completions() tells its end. The writer goes on with the records behind it, and reports none of
  // them before this one is complete.
  static Answer later(Ticket ticket) {
    Answer answer(Kind::later);
    answer.ticket_ = ticket;
    return answer;
  }

  Kind kind() const { return kind_; }
  bool isDone() const { return kind_ == Kind::done; }
  // REQUIRES: refused.
  RefusalClass refusalClass() const { return class_; }
  std::string const& text() const { return text_; }
  // REQUIRES: later.
  Ticket ticket() const { return ticket_; }

 private:
  explicit Answer(Kind kind) : kind_(kind) {}

  Kind kind_;
  RefusalClass class_ = RefusalClass::other;
  Ticket ticket_ = 0;
  std::string text_;
};

// A table of one unit: the table by its place in the group that open() was given.
struct UnitTable {
  std::size_t table = 0;
  Asic::UnitId unit = 0;

  friend bool operator==(UnitTable const&, UnitTable const&) = default;
};

// An entry's key and record, as bytes of fixed width and as the typed view on them. Integers are little-endian; the
// fields and their offsets stand in LoamTunnelNiLib/InLifModelLogEntry.h. Bytes that belong to nobody are zero, so two
// records of bytes are equal when the entries are. Valid during the call.
class Entry {
 public:
  static constexpr std::size_t kKeyBytes = sizeof(LoamTunnelNiLib::InLifModelEntryKey);
  static constexpr std::size_t kRecordBytes = sizeof(LoamTunnelNiLib::InLifModelLogEntry);

  Entry(LoamTunnelNiLib::InLifModelLogEntry const& fields, Asic::LogVersion version)
      : fields_(&fields), version_(version) {}

  LoamTunnelNiLib::InLifModelLogEntry const& fields() const { return *fields_; }
  LoamTunnelNiLib::InLifModelEntryKey key() const { return fields_->key; }
  std::span<std::byte const, kKeyBytes> keyBytes() const {
    return std::as_bytes(std::span<LoamTunnelNiLib::InLifModelEntryKey const, 1>(&fields_->key, 1));
  }
  std::span<std::byte const, kRecordBytes> bytes() const {
    return std::as_bytes(std::span<LoamTunnelNiLib::InLifModelLogEntry const, 1>(fields_, 1));
  }
  // Of the log record that says so; for messages, not to be kept.
  Asic::LogVersion version() const { return version_; }

 private:
  LoamTunnelNiLib::InLifModelLogEntry const* fields_;
  Asic::LogVersion version_;
};
static_assert(Entry::kKeyBytes == 4 && Entry::kRecordBytes == 96);

// The end of a call that was answered later: done or refused; or gone under any number, when the hardware has found out by
// itself that it was reset.
struct Completion {
  Ticket ticket;
  Answer answer;
};

class Hardware {
 public:
  virtual ~Hardware() = default;

  // Makes the hardware ready, when the writer starts and again after each gone; tables are named by their places in the
  // group from here on. A refusal at the start ends the writer with its text; after a gone it is tried again, with
  // growing pauses. Killed within it: the next life opens again.
  virtual Pivot::Status open(Asic::GroupInfo const& group) = 0;

  // Asked once for each table after the start: whether everything that earlier lives of the writer were told done of
  // stands as it did, and nothing else but what H5 will give again. True spares a rebuilding. Hardware that may have been
  // reset, exchanged, or changed by others or for another store since, says false.
  virtual bool stands(std::size_t table) = 0;

  // The entry shall stand under its key on the unit, in place of what stood there. Killed after it: it stands, the store
  // does not know, it is given again.
  virtual Answer write(UnitTable place, Entry const& entry) = 0;
  // Nothing shall stand under the key of the entry, which is the last that was published of it; a key under which nothing
  // stands is done. Killed after it: it is given again, and finds nothing.
  virtual Answer remove(UnitTable place, Entry const& entry) = 0;
  // Nothing shall stand on the unit, of this table. Killed within it: some entries are gone, it is given again.
  virtual Answer clear(UnitTable place) = 0;
  // Nothing more comes for a while: what write(), remove() and clear() of the table have gathered goes to the hardware now,
  // and is completed through its tickets. done, busy or gone. Killed before it: what was gathered is lost with the
  // process, and is given again, since nothing of it was complete.
  virtual Answer endBatch(std::size_t table) = 0;

  // Appends what has been completed since the last call, in any order.
  virtual void completions(std::vector<Completion>& completed) { static_cast<void>(completed); }
  // Becomes readable when completions() has something, and unreadable when it was called; -1 without one: the writer
  // looks each millisecond while something is under way.
  virtual int descriptor() const { return -1; }

  // The units on which anything of the table stands; nothing when the hardware cannot be read back.
  virtual std::optional<std::vector<Asic::UnitId>> standingUnits(std::size_t table) {
    static_cast<void>(table);
    return std::nullopt;
  }
  // Appends the record of each entry that stands on the unit. done, busy or gone. Only where standingUnits() tells.
  virtual Answer readBack(UnitTable place, std::vector<LoamTunnelNiLib::InLifModelLogEntry>& records) {
    static_cast<void>(place), static_cast<void>(records);
    return Answer::done();
  }
  // Nothing of the table shall stand on any unit. done, gone, or busy for as long as it is under way. Only where
  // standingUnits() tells nothing. Killed within it: the rebuilding that wanted it begins again.
  virtual Answer wipe(std::size_t table) {
    static_cast<void>(table);
    return Answer::done();
  }

  // How many entries of the table the unit takes; 0 where that is not fixed. For people and checks: the writer gives every
  // record and lets the hardware refuse.
  virtual std::uint32_t capacity(UnitTable place) const {
    static_cast<void>(place);
    return 0;
  }
};

}  // namespace LoamHardware
