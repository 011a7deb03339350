// A snapshot of the merged view of a table for inspection: a plain map of entries that nothing in the table
// refers to. The real classes are the nested InLif0SwTable::SwTableEntries_py and its like. On the agent's
// one thread.
#pragma once

#include "LoamInLif/Export.h"
#include "LoamInLif/Instance.h"
#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "LoamTunnelNiLib/InLifModelEntryKey.h"
#include "Pivot/Attribute.h"
#include "Pivot/Node.h"
#include "Vex/HashMap2018.h"

namespace LoamInLif {

template <class I>
class LOAM_INLIF_EXPORT SwTableEntriesOf : public Pivot::Node {
 public:
  using Key = LoamTunnelNiLib::InLifModelEntryKey;
  using Entry = LoamTunnelNiLib::InLifModelEntry;
  static constexpr Pivot::FieldId kFieldTableEntries = 130;

  struct TableEntriesKeyFunktor {
    Key const& operator()(Entry const& entry) const { return entry.logEntry.key; }
  };
  using HN_TableEntries = Vex::Hm2018NI<Entry, TableEntriesKeyFunktor>;
  using TableEntries = Vex::HashMap2018<HN_TableEntries, I::Seeds::tableEntries>;

  TableEntries const& tableEntries() const { return tableEntries_; }
  // The entry of a key, or a default one.
  Entry tableEntries(Key const& key) const { return Pivot::mapGet(tableEntries_, key); }
  bool tableEntriesHas(Key const& key) const { return tableEntries_.has(key); }
  void tableEntriesIs(Entry const& entry) {
    Pivot::mapIs(publisher(), kFieldTableEntries, tableEntries_, entry);
  }
  // Returns the old entry, or a default one.
  Entry tableEntriesDel(Key const& key) {
    return Pivot::mapDel(publisher(), kFieldTableEntries, tableEntries_, key);
  }
  void tableEntriesDelAll() {
    Pivot::delAll(publisher(), tableEntries_, [this](Key const& key) { tableEntriesDel(key); });
  }

 private:
  TableEntries tableEntries_;
};

}  // namespace LoamInLif
