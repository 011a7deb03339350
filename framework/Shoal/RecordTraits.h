// What the store must know of a record type, and the type's default record. Whoever declares a record
// specialises RecordTraits beside it:
//
//   template <> struct Shoal::RecordTraits<MyRecord> {
//     using Key = MyKey;
//     static Key key(MyRecord const& record) { return record.key; }
//     static constexpr char const* typeName = "MyLib::MyRecord";
//     static constexpr std::uint64_t layout = Shoal::layoutSignature({sizeof(MyRecord), ...});
//   };
#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <type_traits>

#include "Shoal/Checksum.h"
#include "Shoal/FileLayout.h"

namespace Shoal {

template <class Record>
struct RecordTraits;

// Folds sizes and offsets of a record into the signature that its files carry: two builds that lay the record
// out differently do not read each other's files.
constexpr std::uint64_t layoutSignature(std::initializer_list<std::uint64_t> sizesAndOffsets) {
  std::uint64_t signature = kFormatVersion;
  for (std::uint64_t value : sizesAndOffsets) signature = mix64(signature * 31 + value);
  return signature;
}

// A record is copied as bytes and outlives the program that wrote it.
template <class Record>
concept StoredRecord = std::is_trivially_copyable_v<Record> && std::is_standard_layout_v<Record> &&
                           sizeof(Record) <= kMaxRecordBytes
                       && alignof(Record) <= 16;

// A key is hashed and compared as bytes, so equal keys must have equal bytes: padding is named and zeroed.
template <class Key>
concept StoredKey = std::is_trivially_copyable_v<Key> && std::has_unique_object_representations_v<Key> &&
                        sizeof(Key) >= 1 &&
                    sizeof(Key) <= kMaxKeyBytes;

// The record type as the core of the store sees it: sizes, names, and how to find the key in a record.
struct RecordType {
  char const* typeName;
  std::uint64_t layout;
  std::uint32_t recordBytes;
  std::uint32_t keyBytes;
  void (*keyOf)(void const* record, void* key);  // copies keyBytes bytes; any bytes are a record to it

  template <StoredRecord Record, StoredKey Key>
  static RecordType const& of() {
    using Traits = RecordTraits<Record>;
    static_assert(std::is_same_v<typename Traits::Key, Key>);
    static RecordType const type{Traits::typeName, Traits::layout, sizeof(Record), sizeof(Key),
                                 [](void const* record, void* key) {
                                   Key const k = Traits::key(*static_cast<Record const*>(record));
                                   std::memcpy(key, &k, sizeof(Key));
                                 }};
    return type;
  }
};

// The record that the store returns for an absent key.
template <class Record>
struct AllocBase {
  static Record const& type_default() {
    static Record const record{};
    return record;
  }
};

}  // namespace Shoal
