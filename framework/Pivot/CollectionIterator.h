// Iterators by which inspection walks a collection whose type it does not know.
//
// An iterator keeps its object alive and stands on a key, not in the collection: a walk survives whatever is
// added, removed or replaced between two steps, and delivers each member that stays exactly once. All on the
// agent's one thread.
#pragma once

#include <cstddef>
#include <optional>

#include "Cobble/AllocTrack.h"
#include "Pivot/Node.h"
#include "Pivot/OpResult.h"
#include "Pivot/TypeRecords.h"

namespace Vex {

class LOAM_FRAMEWORK_EXPORT CollectionIteratorBase {
 public:
  CollectionIteratorBase() = default;
  CollectionIteratorBase(CollectionIteratorBase const&) = delete;
  CollectionIteratorBase& operator=(CollectionIteratorBase const&) = delete;
  virtual ~CollectionIteratorBase();

  // From the slab, counted by memAllocationTracker_.
  static void* operator new(std::size_t bytes);
  static void operator delete(void* block, std::size_t bytes) noexcept;
  static AllocTrackTypeInfo memAllocationTracker_;

  // What IteratorFunctions tells.
  virtual void objectOf(Pivot::OpResult& result) const = 0;
  virtual void keyOf(Pivot::OpResult& result) const = 0;
  virtual bool isNonnull() const = 0;
  virtual void inc() = 0;
};

// The functions of a class's iterators.
struct IteratorFunctions {
  // The member's object, with a new reference; for a set, whether the key is there. Of a member that has gone
  // since the last step, what a read of a missing key gives. Nothing at the end.
  void (*iterObj)(Pivot::OpResult& result, CollectionIteratorBase const* iterator);
  // A copy of the member's key. Nothing at the end.
  void (*iterKey)(Pivot::OpResult& result, CollectionIteratorBase const* iterator);
  // Whether the iterator stands on a member.
  bool (*iterNonnull)(CollectionIteratorBase const* iterator);
  void (*iterInc)(CollectionIteratorBase* iterator);
  // Destroys the iterator and frees it.
  void (*iterDel)(CollectionIteratorBase* iterator);
};

// The five functions, over the iterator's own.
LOAM_FRAMEWORK_EXPORT void iterObj(Pivot::OpResult& result, CollectionIteratorBase const* iterator);
LOAM_FRAMEWORK_EXPORT void iterKey(Pivot::OpResult& result, CollectionIteratorBase const* iterator);
LOAM_FRAMEWORK_EXPORT bool iterNonnull(CollectionIteratorBase const* iterator);
LOAM_FRAMEWORK_EXPORT void iterInc(CollectionIteratorBase* iterator);
LOAM_FRAMEWORK_EXPORT void iterDel(CollectionIteratorBase* iterator);

// A walk over one collection of an object, for tools:
//   for (Vex::MemberWalk walk(view, object, id); walk; walk.inc()) { walk.key(result); walk.object(result); }
class MemberWalk {
 public:
  // From the first member, or from startKey on. A field that is no collection gives an empty walk.
  MemberWalk(Pivot::TypeView const& type, void* object, Pivot::FieldId field, void const* startKey = nullptr)
      : iterator_(type.iterator(object, field, startKey, functions_)) {}
  ~MemberWalk() {
    if (iterator_ != nullptr) functions_->iterDel(iterator_);
  }
  MemberWalk(MemberWalk const&) = delete;
  MemberWalk& operator=(MemberWalk const&) = delete;

  explicit operator bool() const { return iterator_ != nullptr && functions_->iterNonnull(iterator_); }
  void key(Pivot::OpResult& result) const { functions_->iterKey(result, iterator_); }
  void object(Pivot::OpResult& result) const { functions_->iterObj(result, iterator_); }
  void inc() { functions_->iterInc(iterator_); }

 private:
  IteratorFunctions const* functions_ = nullptr;
  CollectionIteratorBase* iterator_;
};

// The iterator over a collection that Access knows how to walk by key (Pivot/CollectionRows.h).
template <class Access>
class CollectionIterator final : public CollectionIteratorBase {
  using Object = typename Access::Object;
  using Key = typename Access::Key;

 public:
  CollectionIterator(Object& object, Key const* startKey)
      : object_(&object),
        key_(startKey == nullptr ? Access::first(object) : Access::from(object, *startKey)) {}

  void objectOf(Pivot::OpResult& result) const override {
    result.clear();
    if (key_) Access::read(result, *object_, *key_);
  }
  void keyOf(Pivot::OpResult& result) const override {
    result.clear();
    if (key_) result.take<Key>(*key_);
  }
  bool isNonnull() const override { return key_.has_value(); }
  void inc() override {
    if (key_) key_ = Access::after(*object_, *key_);
  }

 private:
  Pivot::Ptr<Object> const object_;
  std::optional<Key> key_;
};

}  // namespace Vex
