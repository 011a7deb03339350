// The records of the ten linkages of an instance and of their LocalUsageUpdateSm.
#pragma once

#include <optional>

#include "types/FamilyRecords.h"

namespace LoamInLif {

// The resource keys in use. A member is made from its resource handle, which knows the key.
template <class L>
struct EntryUsageSmAccess {
  using Object = L;
  using Key = typename L::Key;
  using Member = Pivot::Ptr<typename L::LocalUsageUpdateSm>;
  static constexpr bool kReportsMissing = false;
  using MadeFrom = Pivot::Inspect::TypeList<typename L::ResourcePtr>;
  static constexpr Pivot::Argument const* arguments = Pivot::Inspect::Arguments<MadeFrom, "resPtr">::list;

  static std::size_t count(Object const& linkage) { return linkage.entryUsageSms(); }
  static bool has(Object const& linkage, Key const& key) { return linkage.entryUsageSm(key) != nullptr; }
  static void read(Pivot::OpResult& result, Object const& linkage, Key const& key) {
    Pivot::Inspect::opResultEncode<Member>(result, linkage.entryUsageSm(key));
  }
  static void write(Pivot::OpCall const& call) {
    Pivot::Inspect::withArguments(MadeFrom(), call.value, [&](auto const& resPtr) {
      Pivot::Inspect::opResultEncode<Member>(call.result, object(call).entryUsageSmIs(resPtr));
    });
  }
  static void remove(Pivot::OpCall const& call) {
    auto const& key = Pivot::Inspect::given<Key>(call.key);
    Pivot::Inspect::opResultEncode<Member>(call.result, object(call).entryUsageSmDel(key));
  }
  static std::optional<Key> first(Object const& linkage) { return keyOf(linkage.entryUsageSmFirst()); }
  static std::optional<Key> from(Object const& linkage, Key const& key) {
    return keyOf(linkage.entryUsageSmFrom(key));
  }
  static std::optional<Key> after(Object const& linkage, Key const& key) {
    return keyOf(linkage.entryUsageSmAfter(key));
  }

 private:
  static Object& object(Pivot::OpCall const& call) { return Pivot::Inspect::objectAs<Object>(call.object); }
  static std::optional<Key> keyOf(Member const& sm) {
    return sm ? std::optional<Key>(sm->resKey()) : std::nullopt;
  }
};

template <class I, class Kind>
struct RecordOf<LinkageOf<I, Kind>> : Record<typename I::template Linkage<Kind>, Pivot::Node> {
  using T = LinkageOf<I, Kind>;
  using Linkage = typename I::template Linkage<Kind>;
  using Entry = typename T::Entry;
  static constexpr auto updateLocalUsage =
      static_cast<void (T::*)(typename T::EntryPtr const&, Entry const&, bool)>(&T::updateLocalUsage);
  static constexpr auto resourceKeyFromEntry =
      static_cast<typename T::Key const& (T::*)(Entry const&) const>(&T::resourceKeyFromEntry);
  static constexpr std::array attributes{
      stored<&T::swTable>(130, "swTable", offsetof(T, swTable_)),
      stored<&T::resTblClient>(131, "resTblClient", offsetof(T, resTblClient_)),
      operation<updateLocalUsage, "swEntry", "oldEntry", "isDeleted">(132, "updateLocalUsage"),
      operation<&T::entryResolutionState, "entry">(133, "entryResolutionState"),
      operation<&T::resolveEntry, "entry">(134, "resolveEntry"),
      operation<&T::getNeededEntrySet, "entry">(135, "getNeededEntrySet"),
      operation<&T::restoreEntry, "entry">(136, "restoreEntry"),
      operation<&T::handleResourceChangeAtInit>(137, "handleResourceChangeAtInit"),
      collection<EntryUsageSmAccess<Linkage>>(T::kFieldEntryUsageSm, "entryUsageSm"),
      operation<&T::resourceKey, "entry">(139, "resourceKey"),
      listed<resourceKeyFromEntry, "entry">(140, "resourceKeyFromEntry"),
      listed<&T::resourceHandle, "entry">(141, "resourceHandle"),
      operation<&T::setResourceHandle, "entry">(142, "setResourceHandle")};
  static_assert(attributes.size() == 13, "ids 130 to 142 without a gap");
  static constexpr auto constructor = constructedBy<makerOf<Linkage>, "swTable", "resTblClient">();
};

template <class I, class Kind>
struct RecordOf<LocalUsageUpdateSmOf<I, Kind>>
    : Record<typename I::template Linkage<Kind>::LocalUsageUpdateSm, Pivot::Node> {
  using T = LocalUsageUpdateSmOf<I, Kind>;
  using Sm = typename I::template Linkage<Kind>::LocalUsageUpdateSm;
  using UsageAccess = SetAccess<&T::entryUsage, &T::entryUsageIs, &T::entryUsageDel>;
  static constexpr std::array attributes{computed<&T::resPtr>(130, "resPtr"),
                                         computed<&T::parent>(131, "parent"),
                                         computed<&T::swTable>(132, "swTable"),
                                         computed<&T::resKey>(133, "resKey"),
                                         collection<UsageAccess>(134, "entryUsage"),
                                         operation<&T::handleResourceChange>(135, "handleResourceChange")};
  static constexpr auto constructor = constructedBy<&Sm::LocalUsageUpdateSmIs, "resPtr", "parent">();
};

namespace Impl {
template <class... A, class... B>
Pivot::Inspect::TypeList<A..., B...> operator+(Pivot::Inspect::TypeList<A...>,
                                               Pivot::Inspect::TypeList<B...>);
template <class... R>
Pivot::ModuleTables<R...> tablesOf(Pivot::Inspect::TypeList<R...>);

// For each kind the LocalUsageUpdateSm ahead of its linkage.
template <class I, class... Kind>
auto linkageTables(KindList<Kind...>) -> decltype(tablesOf(
    (Pivot::Inspect::TypeList<>() + ... +
     Pivot::Inspect::TypeList<RecordOf<LocalUsageUpdateSmOf<I, Kind>>, RecordOf<LinkageOf<I, Kind>>>())));
}  // namespace Impl

template <class I>
using ResourceTableLinkageTables = decltype(Impl::linkageTables<I>(Kinds()));

}  // namespace LoamInLif
