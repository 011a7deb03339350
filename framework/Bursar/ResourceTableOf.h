// The five resource table classes from one text: a table of keys and handles over ResourceTable. A class
// supplies its traits:
//
//   Key, Value            the key type, and the unsigned type of its values
//   kSpace                a ValueSpace
//   kShoalName            type name of its collection in the store
//   computed(Key const&)  the value of a key, for tables whose values are computed
//
// A request of a known key is one lookup in a hash table, or none for the key that the client requested last,
// and allocates nothing: ten of them are made for each write, and again for each time that a waiting write is
// looked at.
#pragma once

#include <cstdint>
#include <memory>

#include "Bursar/ResourceShoal.h"
#include "Bursar/ResourceTable.h"
#include "Cobble/Export.h"
#include "Cobble/Slab.h"

namespace BursarResourceTable {

template <class Traits>
class ResourceTableOf : public ResourceTable {
 public:
  using Key = typename Traits::Key;
  using Value = typename Traits::Value;
  using Store = ResourceShoal<Traits>;
  using Dependency = Pivot::Ptr<Asic::DependencyEntryHandle const>;
  static constexpr std::uint32_t kMaxKeys = Traits::kSpace.maxKeys;
  static constexpr std::uint64_t kNoValue = Traits::kSpace.noValue;

  class ResourceHandle final : public BursarResourceTable::ResourceHandle {
   public:
    COBBLE_SLAB(ResourceHandle, Cobble::SlabAllocationPattern::kDefault)

    explicit ResourceHandle(Key const& keyGiven) : key_(keyGiven) {}

    Key const& key() const noexcept { return key_; }
    Value value() const noexcept { return static_cast<Value>(rawValue()); }
    Pivot::TypeData typeData() const override;

   private:
    Key const key_;
  };

  // One user of the table; each linkage has its own. It keeps the table alive. A client that goes without
  // releasing leaves its keys handed out: what they are used for may still be in the hardware.
  class ClientInstance final : public Pivot::Node {
   public:
    COBBLE_SLAB(ClientInstance, Cobble::SlabAllocationPattern::kDefault)

    explicit ClientInstance(Pivot::Ptr<ResourceTableOf> table);
    ~ClientInstance() override;
    Pivot::TypeData typeData() const override;

    // The handle of the key, never null; the same one at each request. A key that is not known is handed out
    // at once. Asks for no matching release, and takes no note of the dependency, which is null with every
    // present caller.
    Pivot::Ptr<ResourceHandle const> request(Key const& key, Dependency const& dependency);
    // Whether a request of the key would give this handle, which an earlier one of this table gave: it spares the
    // look into the table.
    static bool stands(ResourceHandle const& handle, Key const& key);
    // For a key that will be requested a little later: prefetch starts fetching from memory where the table
    // looks the key up, and after a while prefetchHandle what it finds there. False, and nothing is fetched, for
    // the key that was requested last. Neither changes anything.
    bool prefetch(Key const& key) const;
    void prefetchHandle(Key const& key) const;
    // The client uses the key and has taken over the state that `updateVersion` stands for; the record that
    // did so is the dependency's, if there is one. Acknowledging again is no second use.
    void ackUpdate(Pivot::Ptr<ResourceHandle const> const& resPtr, std::uint32_t updateVersion,
                   Dependency const& dependency);
    // The client has no use for the key any more since the operation of `dependency`. Null, or an operation
    // without a version, means "since whatever is published by now".
    void release(Pivot::Ptr<ResourceHandle const> const& resPtr, Dependency const& dependency);

   private:
    bool isLast(Key const& key) const;

    Pivot::Ptr<ResourceTableOf> const table_;
    ClientId const id_;
    // What was requested last, not counted: entries that come one after the other often share a key. Holds as
    // long as the table has forgotten no more keys than it had then. The key is a copy: that of the handle lies
    // on a line that a request of another key need not fetch.
    ResourceHandle* last_ = nullptr;
    std::uint64_t lastForgotten_ = 0;
    Key lastKey_;
  };

  // Takes up what the store remembers. `store` is mounted, or null for a table that remembers nothing beyond
  // its life. REQUIRES: surroundings outlive the table.
  ResourceTableOf(Pivot::Ptr<Asic::CanonicalTableName const> name, Surroundings& surroundings,
                  Pivot::Ptr<Store> store);
  ~ResourceTableOf() override;

  Pivot::Ptr<ClientInstance> makeClientInstance();
  std::uint32_t entrys() const override;

  // The typed forms of steering.
  static KeyBytes bytesOf(Key const& key) noexcept { return std::as_bytes(std::span<Key const, 1>(&key, 1)); }
  Pivot::Status stateIs(Key const& key, Asic::EntryState state) {
    return Steering::stateIs(bytesOf(key), state);
  }
  Pivot::Status valueIs(Key const& key, Value value) { return Steering::valueIs(bytesOf(key), value); }
  Pivot::Status neededVersionIs(Key const& key, Asic::TableVersion const& version) {
    return Steering::neededVersionIs(bytesOf(key), version);
  }
  std::uint32_t usersOf(Key const& key) const { return Steering::usersOf(bytesOf(key)); }
  // The handle of a key that is known, or null.
  Pivot::Ptr<ResourceHandle const> handle(Key const& key) const;

  std::size_t keyWidth() const override { return sizeof(Key); }
  Pivot::String keyText(KeyBytes key) const override;

 protected:
  void walkEach(void (*visit)(void* context, KeyBytes key, Report const& report),
                void* context) const override;

 private:
  using Base = BursarResourceTable::ResourceHandle;
  struct Index;
  static constexpr std::uint32_t kIndexSeed = 0x1DE25EED;

  ResourceHandle* lookup(Key const& key) const;
  Pivot::Ptr<ResourceHandle> enter(Key const& key);
  Pivot::Ptr<ResourceHandle> requested(Key const& key);
  void readBack();

  Base* find(KeyBytes key) const override;
  Pivot::Ptr<Base> findOrMake(KeyBytes key) override;
  std::uint64_t computed(Base const& handle) const override;
  Pivot::Status save(Base const& handle) override;
  Pivot::Status recordIs(Base const& handle);
  bool isSaved(Key const& key);
  void saveAll();
  void forget(Base& handle) override;
  void eachHandle(void (*visit)(void* context, Base& handle), void* context) const override;

  std::unique_ptr<Index> const index_;
  // Counts the keys that were forgotten.
  std::uint64_t forgotten_ = 0;
  Pivot::Ptr<Store> const store_;
};

}  // namespace BursarResourceTable

// A class of resource tables, with its traits before it: a real class of its own name, whose text is ResourceTableOf's.
// BURSAR_DEFINE_TABLE (ResourceTableOf-defs.h) stands in its one source file.
#define BURSAR_DECLARE_TABLE(Namespace, Table, Traits)                                            \
  extern template class BursarResourceTable::ResourceTableOf<Namespace::Traits>;                  \
  namespace Namespace {                                                                           \
  class LOAM_FRAMEWORK_EXPORT Table final : public BursarResourceTable::ResourceTableOf<Traits> { \
   public:                                                                                        \
    using BursarResourceTable::ResourceTableOf<Traits>::ResourceTableOf;                          \
    ~Table() override;                                                                            \
    Pivot::TypeData typeData() const override;                                                    \
  };                                                                                              \
  }
