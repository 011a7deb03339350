// One linkage of any kind with a real resource table and no software table: entries are committed and removed
// by hand, and what the resource table saw of it is read from its report.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>

#include "Bursar/Surroundings.h"
#include "LoamInLif/InLifNInfraTypes.h"
#include "LoamInLif/InLifNResourceTableLinkage.h"
#include "OrderedTable/TableName/TableName.h"
#include "support/Listener.h"
#include "support/Receipt.h"
#include "support/ResourceKeys.h"

namespace LinkageTests {

using LoamTunnelNiLib::InLifModelEntry;
using SwKey = LoamTunnelNiLib::InLifModelEntryKey;

// The receipt of an operation that has reached version `version` of some log.
inline Pivot::Ptr<TestSupport::Receipt> receipt(std::uint64_t version) {
  return Pivot::make<TestSupport::Receipt>(Asic::LogVersion(version));
}

// A group in which the hardware takes nothing.
class QuietSurroundings final : public BursarResourceTable::Surroundings {
 public:
  bool isTaken(Asic::TableVersion const&) const override { return false; }
  Pivot::Ptr<Asic::NeededEntry const> published() const override { return Pivot::make<Asic::NeededEntry>(); }
  void resourceSettled() override {}
};

template <class I, class K>
struct Case {
  using Instance = I;
  using Kind = K;
};

// All kinds of one instance, and two kinds of each of the others.
template <class... K>
testing::Types<Case<LoamInLif::InLif0, K>..., Case<LoamInLif::InLif1, LoamInLif::InLifDataKind>,
               Case<LoamInLif::InLif1, LoamInLif::VlanEditProfileKind>,
               Case<LoamInLif::InLif23, LoamInLif::LearnEnableVlanKind>,
               Case<LoamInLif::InLif23, LoamInLif::L2AdjToFecKind>>
    casesOf(LoamInLif::KindList<K...>);
using Cases = decltype(casesOf(LoamInLif::Kinds()));

template <class C>
class LinkageTest : public testing::Test {
 public:
  using Instance = typename C::Instance;
  using Kind = typename C::Kind;
  using Linkage = typename Instance::template Linkage<Kind>;
  using Sm = typename Linkage::LocalUsageUpdateSm;
  using EntryWrapper = typename Instance::EntryWrapper;
  using EntryPtr = Pivot::Ptr<EntryWrapper>;
  using ResourceTable = typename Kind::ResourceTable;
  using Key = typename Kind::Key;
  using Report = BursarResourceTable::Steering::Report;

  static Key key(unsigned n) { return TestSupport::keyOf<Kind>(n); }

  Pivot::Ptr<ResourceTable> makeResourceTable() {
    auto const name = Pivot::make<Asic::CanonicalTableName>(Asic::OrderedTableType::resourceTable, "",
                                                            Kind::resourceNamespace, Kind::resourceTableName);
    return Pivot::make<ResourceTable>(name, surroundings, nullptr);
  }

  // A write under way: its wrapper, resolved, with a receipt of the next version.
  EntryPtr written(unsigned swKey, Key const& resKey) {
    InLifModelEntry entry;
    entry.logEntry.key = SwKey(swKey);
    entry.logEntry.clientBytes()[0] = std::byte{1};  // no entry equals the default one
    entry.rsrcKeys.*Kind::keyField = resKey;
    auto const wrapper = Pivot::make<EntryWrapper>(entry, receipt(++version));
    linkage->resolveEntry(wrapper);
    return wrapper;
  }
  void commit(unsigned swKey, Key const& resKey) {
    auto const wrapper = written(swKey, resKey);
    linkage->updateLocalUsage(wrapper, committed[swKey], false);
    committed[swKey] = wrapper->entry();
  }
  void remove(unsigned swKey) {
    InLifModelEntry none;
    none.logEntry.key = SwKey(swKey);
    auto const wrapper = Pivot::make<EntryWrapper>(none, receipt(++version));
    linkage->updateLocalUsage(wrapper, committed[swKey], true);
    committed.erase(swKey);
  }

  // Software entries that use the n-th key by the linkage's account.
  std::size_t users(unsigned n) const {
    auto const sm = linkage->entryUsageSm(key(n));
    return sm ? sm->entryUsage().size() : 0;
  }
  // Clients that hold the n-th key at the resource table.
  std::uint32_t held(unsigned n) const { return resources->usersOf(key(n)); }
  Report report(unsigned n) const { return *resources->report(ResourceTable::bytesOf(key(n))); }
  // The version of the operation with which the n-th key was acknowledged last.
  std::uint64_t ackedBy(unsigned n) const { return report(n).ackedBy.logVersion().value(); }

  QuietSurroundings surroundings;
  Pivot::Ptr<ResourceTable> resources = makeResourceTable();
  Pivot::Ptr<Linkage> linkage = Pivot::make<Linkage>(nullptr, resources->makeClientInstance());
  std::map<unsigned, InLifModelEntry> committed;
  std::uint64_t version = 0;
};

using TestSupport::Listener;

}  // namespace LinkageTests
