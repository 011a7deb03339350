// The working copy of one entry while an operation on it is under way: the value, the handle of the
// operation, and the ten resource handles that the entry holds on to. This is what is the same in each
// instance; EntryWrapperOf adds the hooks.
//
// A wrapper is held by a transient map of the table and by the resolver entry of its operation, or by one
// call that works on a committed entry. It owns its handles; dropping a resource handle is no release towards
// the resource table. Used on the agent's one thread. Its attributes publish nothing.
//
//   field id  attribute     kind
//        130  entry         stored, a copy
//        131  entryHandle   stored, fixed at construction
//        132  key           view of entry
//        133  logEntry      view of entry
//        134  rsrcKeys      view of entry
//   135..164  of each kind in linkage order: key field (view), handle field (stored), resolved field (operation)
//   165..168  operations: setResolvedFields, retrieveClientData, finalizeOnSuccess, finalizeOnFailure
#pragma once

#include <cstdint>

#include "Asic/OrderedSwTable.h"
#include "LoamInLif/Export.h"
#include "LoamInLif/Kinds.h"
#include "LoamInLif/Names.h"
#include "LoamInLif/linkage/ResourceHandles.h"
#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "LoamTunnelNiLib/InLifModelEntryKey.h"
#include "Pivot/Node.h"

namespace LoamInLif {

class LOAM_INLIF_EXPORT EntryWrapperCore : public Pivot::Node {
 public:
  using Entry = LoamTunnelNiLib::InLifModelEntry;
  using LogEntry = LoamTunnelNiLib::InLifModelLogEntry;
  using ResourceKeys = LoamTunnelNiLib::InLifModelResourceKeys;
  using Key = LoamTunnelNiLib::InLifModelEntryKey;
  using EntryHandlePtr = Pivot::Ptr<Asic::OrderedSwTable::EntryHandle>;

  // Takes the entry as it is, whatever its key field says: the table stores the key of the operation
  // afterwards.
  EntryWrapperCore(Entry const& entry, EntryHandlePtr const& entryHandle)
      : entry_(entry), entryHandle_(entryHandle), usedResources_(kindsUsedBy(entry.rsrcKeys)) {}

  // A client's hook may change what goes to the log through these. The key is the operation's and stays, whatever
  // they are given, and so do the resource keys once there is an operation: its resources were asked for by
  // them, and are accounted and released by what stands in the store.
  Entry const& entry() const { return entry_; }
  void entryIs(Entry const& entry) {
    logEntryIs(entry.logEntry);
    rsrcKeysIs(entry.rsrcKeys);
  }
  EntryHandlePtr const& entryHandle() const { return entryHandle_; }
  Key const& key() const { return entry_.logEntry.key; }
  // For the table alone, before anybody else knows the wrapper: it is that of an operation from here on.
  void keyIs(Key const& key) {
    entry_.logEntry.key = key;
    isOfOperation_ = true;
  }
  LogEntry const& logEntry() const { return entry_.logEntry; }
  void logEntryIs(LogEntry const& logEntry) {
    Key const ownKey = key();
    entry_.logEntry = logEntry;
    entry_.logEntry.key = ownKey;
  }
  ResourceKeys const& rsrcKeys() const { return entry_.rsrcKeys; }
  void rsrcKeysIs(ResourceKeys const& rsrcKeys) {
    if (isOfOperation_) return;
    entry_.rsrcKeys = rsrcKeys;
    usedResources_ |= kindsUsedBy(rsrcKeys);
  }
  // Bit n is that of kind n in linkage order. Where it is clear, the kind has the null key and no handle. A bit that
  // was set stays, since a handle outlives its key.
  std::uint32_t usedResources() const { return usedResources_; }

  // The ten handle fields; only the linkages write them, for keys that are not null.
  ResourceHandles& resourceHandles() { return resourceHandles_; }
  ResourceHandles const& resourceHandles() const { return resourceHandles_; }

  // What the resource of a kind yields at this moment; the kind's default without a handle.
  template <class Kind>
  auto resolvedValue() const {
    using Value = std::remove_cvref_t<decltype(entry_.logEntry.*Kind::resolvedField)>;
    auto const& resource = resourceHandles_.*Kind::handleField;
    return resource ? static_cast<Value>(resource->value()) : static_cast<Value>(Kind::defaultValue);
  }

  // Per kind: the key field, the handle field and the resolved value under their own names.
#define LOAM_INLIF_WRAPPER_FIELDS(Name, keyField, handleField, resolvedField)          \
  Name##Kind::Key const& keyField() const {                                            \
    return entry_.rsrcKeys.keyField;                                                   \
  }                                                                                    \
  void keyField##Is(Name##Kind::Key const& key) {                                      \
    if (isOfOperation_) return;                                                        \
    entry_.rsrcKeys.keyField = key;                                                    \
    usedResources_ |= kindBit<Name##Kind>;                                             \
  }                                                                                    \
  Pivot::Ptr<Name##Kind::ResourceHandle const> const& handleField() const {            \
    return resourceHandles_.handleField;                                               \
  }                                                                                    \
  void handleField##Is(Pivot::Ptr<Name##Kind::ResourceHandle const> const& resource) { \
    resourceHandles_.handleField = resource;                                           \
    usedResources_ |= kindBit<Name##Kind>;                                             \
  }                                                                                    \
  auto resolvedField() const {                                                         \
    return resolvedValue<Name##Kind>();                                                \
  }
  LOAM_INLIF_EACH_KIND(LOAM_INLIF_WRAPPER_FIELDS)
#undef LOAM_INLIF_WRAPPER_FIELDS

  // Writes the ten resolved values over whatever the log part of the entry held there.
  void setResolvedFields() {
    forEachKind([this]<class Kind>() { entry_.logEntry.*Kind::resolvedField = resolvedValue<Kind>(); });
  }
  // Whether setResolvedFields would change nothing, with every resource of the entry done.
  bool agreesWithResources() const {
    bool agrees = true;
    forEachKind([&]<class Kind>() {
      auto const& resource = resourceHandles_.*Kind::handleField;
      agrees = agrees && (!resource || resource->entryState() == Asic::EntryState::entryStateDone) &&
               entry_.logEntry.*Kind::resolvedField == resolvedValue<Kind>();
    });
    return agrees;
  }
  // Called last on a wrapper built from a committed entry. The family keeps nothing beside the entry, so
  // there is nothing to fetch.
  void retrieveClientData() {}

 private:
  template <class Wrapper>
  friend struct RecordOf;

  Entry entry_;
  EntryHandlePtr entryHandle_;
  ResourceHandles resourceHandles_;
  std::uint32_t usedResources_;
  bool isOfOperation_ = false;
};

}  // namespace LoamInLif
