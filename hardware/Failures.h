// The failures of one table, as the writer keeps them: a row in the store for each key about which something is wrong in
// the hardware. The writer owns one for each table, and calls it on its own thread alone. Layout:
// LoamTunnelNiLib/InLifFailure.h.
//
//   F1. The row of a refusal stands before the version that was refused counts as applied; it goes before a later version of
//       its key, which was taken, does. So whoever sees a version applied finds its record in the image or its row here.
//   F2. Rows that were lost, or came back older, or stand beside an image that did, are made up by the rebuilding of the
//       table, which asks the hardware again. The image notes how many changes this collection has seen, after each of
//       them: less is older than the image, and more, by more than the one that a death leaves, newer. A death while it notes
//       the number may leave none there, and costs a rebuilding.
//   F3. A row is never what the table waits for: without room the refusal is traced and counted, no more.
//
// A death between a change here and the version that follows it: the record is given again, and the change made again.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string_view>

#include "Asic/GroupInfo.h"
#include "LoamTunnelNiLib/InLifFailure.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Pivot/Status.h"
#include "hardware/Image.h"

namespace LoamHardware {

class Failures {
 public:
  using LogRecord = LoamTunnelNiLib::InLifModelLogShoalEntry;
  using Key = LoamTunnelNiLib::InLifFailureKey;
  using Row = LoamTunnelNiLib::InLifFailureRow;

  // A refused entry of another table that a record needs.
  struct Need {
    Asic::SwTableId table;
    Key key;
    auto operator<=>(Need const&) const = default;
  };

  // Whether failures that have seen so many changes belong to an image that has noted so many.
  static bool fit(std::uint64_t changes, std::uint64_t noted) { return changes - noted <= 1; }

  Failures(Asic::TableInfo const& table, Image& image) : table_(table), image_(image) {}

  // Opens the failures of an earlier life or makes them; gives the image up when they do not fit it (F2). REQUIRES: the
  // image is mounted.
  Pivot::Status mount();

  // The hardware has refused the record.
  void refused(LogRecord const& record, LoamTunnelNiLib::FailureClass why, std::string_view text);
  // It puts the record off.
  void putOff(LogRecord const& record, std::string_view text) {
    refused(record, LoamTunnelNiLib::FailureClass::busy, text);
  }
  // It has taken the record: what was wrong with its key, or on its unit, is over.
  void taken(LogRecord const& record) {
    if (map_->size() != 0) over(record);
  }
  // It has taken the record, although one that it needs was refused.
  void standsWithout(LogRecord const& record, Need const& need);
  // The entry that was refused at a version, to see what other tables need.
  std::optional<Key> refusedAt(Asic::LogVersion version) const;
  // Told when the row of an entry goes: those who stand without it do so no more.
  void onRecovery(std::function<void(Key const&)> told) { recovered_ = std::move(told); }
  void needRecovered(Need const& need);

  // Around a rebuilding: rows about which the hardware was not asked again are over at its end. Refused when rows were
  // lost meanwhile: the rebuilding is to begin again.
  void rebuildingBegins();
  Pivot::Status rebuildingEnds();
  // Another table was rebuilt: whoever stands without an entry of it about which nothing is wrong there does so no more.
  // The row of that entry may have been lost, so that no recovery told it.
  void rebuilt(Failures& other);
  // Rows were lost since the table was rebuilt: the image is to be given up.
  bool lost() const { return map_->lossEpoch() != lossEpoch_; }

  std::uint32_t size() const { return map_->size(); }
  void wakeReaders() { map_->collectionControl().wakeReaders(); }

 private:
  using Map = LoamTunnelNiLib::InLifFailures::Map;

  Pivot::Status openMap();
  void over(LogRecord const& record);
  bool fails(Key const& key);
  void set(Row const& row);
  void drop(Key const& key);
  template <class F>
  void dropIf(F drops);
  void changed();
  void rememberAll();
  void remember(Row const& row);
  void forget(Row const& row);

  Asic::TableInfo const& table_;
  Image& image_;
  std::unique_ptr<Map> map_;
  std::uint64_t lossEpoch_ = 0;
  std::function<void(Key const&)> recovered_;
  std::map<Asic::LogVersion, Key> refusals_;  // rows by their versions
  std::multimap<Need, Key> dependents_;       // rows of class needRefused by what they lack
  std::optional<std::set<Key>> askedAgain_;   // while the table is rebuilt
  bool noRoom_ = false;                       // told already, and still so
};

}  // namespace LoamHardware
