// The bodies of ResourceTableOf, for the one source file of each class that instantiates it.
#pragma once

#include <cstddef>
#include <cstring>
#include <utility>
#include <vector>

#include "Bursar/ResourceTableOf.h"
#include "Pivot/ValueType.h"
#include "Shoal/ReportedReads.h"
#include "Vex/Assert.h"
#include "Vex/HashMap2018.h"
#include "Vex/LookAhead.h"
#include "Vex/Trace.h"

namespace BursarResourceTable {

// Handles by key. The key is kept once, in the handle; beside the pointer lies its hash, so that a look for a key that
// is not there touches no handle, and one for a key that is there only its own.
template <class Traits>
struct ResourceTableOf<Traits>::Index {
  struct KeyOfHandle {
    Key const& operator()(Pivot::Ptr<ResourceHandle> const& handle) const { return handle->key(); }
  };

  Vex::HashMap2018<Vex::Hm2018NI<Pivot::Ptr<ResourceHandle>, KeyOfHandle>, kIndexSeed> handles;
};

// ---- the records; the source file has included the names of its table

template <class Traits>
Pivot::TypeData ResourceTableOf<Traits>::ResourceHandle::typeData() const {
  return Pivot::TypeNamed<ResourceHandle>::record;
}

template <class Traits>
Pivot::TypeData ResourceTableOf<Traits>::ClientInstance::typeData() const {
  return Pivot::TypeNamed<ClientInstance>::record;
}

// ---- the table

template <class Traits>
ResourceTableOf<Traits>::ResourceTableOf(Pivot::Ptr<Asic::CanonicalTableName const> name,
                                         Surroundings& surroundings, Pivot::Ptr<Store> store)
    : ResourceTable(std::move(name), Traits::kSpace, surroundings),
      index_(std::make_unique<Index>()),
      store_(std::move(store)) {
  static_assert(Traits::kSpace.maxKeys <= Traits::kSpace.maxValue || !Traits::kSpace.allocated);
  static_assert(Traits::kSpace.width == 8 * sizeof(Value));
  if (store_) readBack();
}

template <class Traits>
ResourceTableOf<Traits>::~ResourceTableOf() = default;

template <class Traits>
void ResourceTableOf<Traits>::readBack() {
  auto& map = store_->map();
  std::vector<Key> refused;
  index_->handles.reserve(map.size());
  // The slot of a key lies anywhere: each handle waits for a few others while its slot is fetched.
  Vex::LookAhead<Pivot::Ptr<ResourceHandle>, 8> ahead;
  auto const enter = [&](Pivot::Ptr<ResourceHandle>& handle) { index_->handles.insert(std::move(handle)); };
  ::Shoal::forEach(map, [&](auto const& record) {
    auto handle = Pivot::make<ResourceHandle>(record.key);
    if (restore(*handle, record.value, record.allocated, static_cast<Asic::EntryState>(record.state))) {
      ahead.push(std::move(handle), enter);
      index_->handles.prefetch(record.key);
    } else {
      refused.push_back(record.key);
    }
  });
  ahead.drain(enter);
  for (Key const& key : refused) map.del(key);
  restored();
  reportLoss(map.collectionControl().wiped(), refused.size());
  map.collectionControl().clearWiped();
}

template <class Traits>
typename ResourceTableOf<Traits>::ResourceHandle* ResourceTableOf<Traits>::lookup(Key const& key) const {
  auto const* const handle = index_->handles.find(key);
  return handle == nullptr ? nullptr : handle->get();
}

template <class Traits>
Pivot::Ptr<typename ResourceTableOf<Traits>::ResourceHandle> ResourceTableOf<Traits>::enter(Key const& key) {
  auto handle = Pivot::make<ResourceHandle>(key);
  index_->handles.insert(handle);
  handOut(*handle);
  return handle;
}

template <class Traits>
Pivot::Ptr<typename ResourceTableOf<Traits>::ResourceHandle> ResourceTableOf<Traits>::requested(
    Key const& key) {
  Pivot::Ptr<ResourceHandle> const handle = lookup(key);
  if (!handle) return enter(key);
  if ((handle->marks_ & Base::kAttention) != 0) [[unlikely]] {
    reconsider(*handle);
  }
  return handle;
}

template <class Traits>
Pivot::Ptr<typename ResourceTableOf<Traits>::ResourceHandle const> ResourceTableOf<Traits>::handle(
    Key const& key) const {
  return lookup(key);
}

template <class Traits>
std::uint32_t ResourceTableOf<Traits>::entrys() const {
  return static_cast<std::uint32_t>(index_->handles.size());
}

template <class Traits>
Pivot::Ptr<typename ResourceTableOf<Traits>::ClientInstance> ResourceTableOf<Traits>::makeClientInstance() {
  return Pivot::make<ClientInstance>(Pivot::Ptr<ResourceTableOf>(this));
}

// ---- what the core asks for

namespace Impl {
template <class Key>
Key keyFrom(Steering::KeyBytes bytes) {
  Key key;
  std::memcpy(&key, bytes.data(), sizeof(Key));
  return key;
}
}  // namespace Impl

template <class Traits>
ResourceHandle* ResourceTableOf<Traits>::find(KeyBytes key) const {
  return key.size() == sizeof(Key) ? lookup(Impl::keyFrom<Key>(key)) : nullptr;
}

template <class Traits>
Pivot::Ptr<ResourceHandle> ResourceTableOf<Traits>::findOrMake(KeyBytes key) {
  return requested(Impl::keyFrom<Key>(key));
}

template <class Traits>
std::uint64_t ResourceTableOf<Traits>::computed(Base const& handle) const {
  if constexpr (Traits::kSpace.allocated) {
    return allocatedOf(handle);
  } else {
    return Traits::computed(static_cast<ResourceHandle const&>(handle).key());
  }
}

template <class Traits>
Pivot::Status ResourceTableOf<Traits>::save(Base const& handle) {
  if (!store_) return Pivot::Status::ok();
  std::uint64_t const lossEpoch = store_->map().lossEpoch();
  Pivot::Status const status = recordIs(handle);
  if (store_->map().lossEpoch() != lossEpoch) [[unlikely]]
    saveAll();
  return status;
}

template <class Traits>
Pivot::Status ResourceTableOf<Traits>::recordIs(Base const& handle) {
  auto& map = store_->map();
  ResourceRecord<Traits> record;
  record.value = handle.value_;
  record.allocated = allocatedOf(handle);
  record.key = static_cast<ResourceHandle const&>(handle).key();
  record.state = static_cast<std::uint8_t>(handle.state_);
  // A record that is there already is replaced within the room that it has.
  if (Pivot::Status room = map.reserve(1); !room && !isSaved(record.key)) return room;
  map.set(record);
  return Pivot::Status::ok();
}

template <class Traits>
bool ResourceTableOf<Traits>::isSaved(Key const& key) {
  return ::Shoal::holds(store_->map(), key);
}

// What a change found damaged took the records of other keys along: the next life would give them other values.
template <class Traits>
void ResourceTableOf<Traits>::saveAll() {
  for (auto const& node : index_->handles) {
    ResourceHandle const& handle = *node.value();
    if ((handle.marks_ & Base::kExhausted) != 0) continue;
    if (Pivot::Status const status = recordIs(handle); !status) tellUnsaved(status);
  }
}

template <class Traits>
void ResourceTableOf<Traits>::forget(Base& handle) {
  Key const key = static_cast<ResourceHandle const&>(handle).key();
  ++forgotten_;
  handle.marks_ |= Base::kForgotten;
  index_->handles.erase(key);
  if (!store_) return;
  std::uint64_t const lossEpoch = store_->map().lossEpoch();
  store_->map().del(key);
  if (store_->map().lossEpoch() != lossEpoch) [[unlikely]]
    saveAll();
}

template <class Traits>
void ResourceTableOf<Traits>::eachHandle(void (*visit)(void* context, Base& handle), void* context) const {
  // The handles lie anywhere: each is fetched a few before it is looked at.
  Vex::LookAhead<Base*, 8> ahead;
  auto const use = [&](Base* handle) { visit(context, *handle); };
  for (auto const& node : index_->handles) {
    node.value()->prefetch();
    ahead.push(node.value().get(), use);
  }
  ahead.drain(use);
}

template <class Traits>
void ResourceTableOf<Traits>::walkEach(void (*visit)(void* context, KeyBytes key, Report const& report),
                                       void* context) const {
  for (auto const& node : index_->handles) {
    visit(context, bytesOf(node.key()), reportOf(*node.value()));
  }
}

template <class Traits>
Pivot::String ResourceTableOf<Traits>::keyText(KeyBytes key) const {
  return key.size() == sizeof(Key) ? Impl::keyFrom<Key>(key).text() : Pivot::String();
}

// ---- a client

template <class Traits>
ResourceTableOf<Traits>::ClientInstance::ClientInstance(Pivot::Ptr<ResourceTableOf> table)
    : table_(std::move(table)), id_(table_->makeClient()) {}

template <class Traits>
ResourceTableOf<Traits>::ClientInstance::~ClientInstance() {
  table_->clientGone(id_);
}

template <class Traits>
Pivot::Ptr<typename ResourceTableOf<Traits>::ResourceHandle const>
ResourceTableOf<Traits>::ClientInstance::request(Key const& key, Dependency const&) {
  if (isLast(key) && (last_->marks_ & Base::kAttention) == 0) return last_;
  last_ = table_->lookup(key);
  // Handing a key out, and bringing one back, tells others, who may request and forget keys and even change the
  // one that is referred to here: nothing is remembered of such a request.
  if (last_ == nullptr || (last_->marks_ & Base::kAttention) != 0) {
    last_ = nullptr;
    return table_->requested(key);
  }
  lastKey_ = key;
  lastForgotten_ = table_->forgotten_;
  return last_;
}

template <class Traits>
bool ResourceTableOf<Traits>::ClientInstance::stands(ResourceHandle const& handle, Key const& key) {
  return (handle.marks_ & Base::kAttention) == 0 && handle.key().isEq(key);
}

template <class Traits>
bool ResourceTableOf<Traits>::ClientInstance::isLast(Key const& key) const {
  return last_ != nullptr && lastForgotten_ == table_->forgotten_ && lastKey_.isEq(key);
}

template <class Traits>
bool ResourceTableOf<Traits>::ClientInstance::prefetch(Key const& key) const {
  if (isLast(key)) return false;
  table_->index_->handles.prefetch(key);
  return true;
}

template <class Traits>
void ResourceTableOf<Traits>::ClientInstance::prefetchHandle(Key const& key) const {
  if (auto const* const handle = table_->index_->handles.findByHash(key)) (*handle)->prefetch();
}

// The table made the handle and is the only one to change it; clients see it as const.
template <class Traits>
void ResourceTableOf<Traits>::ClientInstance::ackUpdate(Pivot::Ptr<ResourceHandle const> const& resPtr,
                                                        std::uint32_t updateVersion,
                                                        Dependency const& dependency) {
  VEX_ASSERT(resPtr, "resPtr");
  table_->acked(const_cast<ResourceHandle&>(*resPtr), id_, updateVersion, dependency);
}

template <class Traits>
void ResourceTableOf<Traits>::ClientInstance::release(Pivot::Ptr<ResourceHandle const> const& resPtr,
                                                      Dependency const& dependency) {
  VEX_ASSERT(resPtr, "resPtr");
  table_->released(const_cast<ResourceHandle&>(*resPtr), id_, dependency);
}

}  // namespace BursarResourceTable

#define BURSAR_DEFINE_TABLE(Namespace, Table, Traits)                     \
  template class BursarResourceTable::ResourceTableOf<Namespace::Traits>; \
  Namespace::Table::~Table() = default;
