// The layout of a collection file, for both sides of it: the one owner that writes, and the readers of other
// processes. docs/store-format.md draws the file; this header is its only definition. Nothing in a file is a
// pointer: places are offsets from the start of the file, slots and frames are indexes. Every word that
// changes after the file was made is written by the owner alone, as one aligned 64-bit store (the change
// counter: 32-bit, because it is a futex).
//
//   offset           length                  what                                 written
//   0                1024                    fixed part of the header, checksummed once, before the file has its name
//   1024             512                     control area                         by the owner
//   1536             2560                    zero                                 never
//   4096             8 * bucketCount / 512   page table: directory page -> frame  when a page gets its frame
//   frameOffset      8 * bucketCount         frames: 512 link words each          heads of the chains
//   slotOffset       slotStride * slotCount  slots: next link, checksum, record   before a link leads there
//
// Invariants, cited by number where they are kept:
//   S1  A link word names a slot together with bits of the slot's checksum and of its key's hash: it fits
//       this record only.
//   S2  A chain is strictly ascending by key, all its keys belong to its bucket, and it ends in the
//       terminator of that bucket.
//   S3  A page or slot that a page table cell or a link names was reserved with posix_fallocate before:
//       touching it cannot SIGBUS.
//   S4  A slot is written only while no link leads to it.
//   S5  There is always one free slot beyond the live records, so that a replacement needs no room of its
//       own.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Shoal {

inline constexpr std::uint64_t kMagic = 0x31304C414F485301;  // "\x01SHOAL01", little-endian
inline constexpr std::uint32_t kFormatVersion = 2;
inline constexpr std::uint32_t kPageBytes = 4096;
inline constexpr std::uint32_t kHeaderBytes = 4096;
inline constexpr std::uint32_t kWordsPerFrame = 512;
inline constexpr std::uint32_t kSlotAlignment = 64;
// A link word has 24 bits for an index, counted from 1.
inline constexpr std::uint32_t kMaxCapacity = 1u << 23;
inline constexpr std::uint32_t kMaxKeyBytes = 1024;
inline constexpr std::uint32_t kMaxRecordBytes = 1u << 16;
inline constexpr std::uint32_t kIntentBytes = 192;

// The part of the header that never changes. `check` covers the bytes before it.
struct FixedHeader {
  std::uint64_t magic;
  std::uint32_t formatVersion;
  std::uint32_t headerBytes;
  std::uint64_t layoutSignature;  // of the record type
  std::uint32_t recordBytes;
  std::uint32_t keyBytes;
  std::uint32_t capacity;     // records that the store takes
  std::uint32_t maximum;      // records that the client declared; at most the capacity
  std::uint32_t bucketCount;  // power of two, at least one frame
  std::uint32_t slotStride;   // bytes from slot to slot
  std::uint32_t role;         // StoreRoot::Role of the owner
  std::uint32_t reserved0;
  std::uint64_t incarnation;  // random, never 0
  std::uint64_t pageTableOffset;
  std::uint64_t frameOffset;
  std::uint64_t slotOffset;
  std::uint64_t fileBytes;
  std::array<char, 128> typeName;  // null-terminated
  std::array<char, 512> path;      // null-terminated, relative to the root
  std::array<std::uint8_t, 280> reserved1;
  std::uint64_t check;
};
static_assert(sizeof(FixedHeader) == 1024 && offsetof(FixedHeader, layoutSignature) == 16);
static_assert(offsetof(FixedHeader, capacity) == 32 && offsetof(FixedHeader, role) == 48);
static_assert(offsetof(FixedHeader, incarnation) == 56 && offsetof(FixedHeader, fileBytes) == 88);
static_assert(offsetof(FixedHeader, typeName) == 96 && offsetof(FixedHeader, path) == 224);
static_assert(offsetof(FixedHeader, check) == 1016);

// A u64 kept as two cells of two checked words, written in turn (CheckedWord.h).
struct RegisterWords {
  std::atomic<std::uint64_t> word[2][2];
};

// The part of the header that changes. Lines that change at different paces lie apart.
struct ControlArea {
  alignas(64) std::atomic<std::uint32_t> changeCounter;  // futex; plus one for each change of anything
  alignas(64) std::atomic<std::uint64_t> liveCount;      // checked word: number of records
  std::atomic<std::uint64_t> slotsReserved;              // checked word: slots below it may be touched (S3)
  std::atomic<std::uint64_t> wiped;                      // checked word: 1 after a loss, until cleared
  std::atomic<std::uint64_t> corrupted;                  // checked word: 1 once damage was reported
  std::atomic<std::uint64_t> retired;                    // checked word: 1 when another file took the path
  alignas(64) RegisterWords scratchpad;
  RegisterWords watermark;
  alignas(64) RegisterWords agreesWith;
  RegisterWords boot;  // of the kernel under which the owner last vouched for the contents
  // Checked word: length of the standing intent, 0 for none.
  alignas(64) std::atomic<std::uint64_t> intentWord;
  std::uint64_t intentCheck;  // of the bytes below
  std::array<std::uint8_t, kIntentBytes> intentBytes;
  std::array<std::uint8_t, 48> reserved;
};
static_assert(offsetof(ControlArea, liveCount) == 64 && offsetof(ControlArea, retired) == 96);
static_assert(offsetof(ControlArea, scratchpad) == 128 && offsetof(ControlArea, agreesWith) == 192);
static_assert(offsetof(ControlArea, watermark) == 160 && offsetof(ControlArea, boot) == 224);
static_assert(offsetof(ControlArea, intentWord) == 256 && offsetof(ControlArea, intentBytes) == 272);
static_assert(sizeof(ControlArea) == 512);
static_assert(std::atomic<std::uint64_t>::is_always_lock_free &&
              std::atomic<std::uint32_t>::is_always_lock_free);
static_assert(sizeof(std::atomic<std::uint64_t>) == 8 && sizeof(std::atomic<std::uint32_t>) == 4);

struct FileHeader {
  FixedHeader fixed;
  ControlArea control;
  std::array<std::uint8_t, 2560> reserved;
};
static_assert(sizeof(FileHeader) == kHeaderBytes && offsetof(FileHeader, control) == 1024);

// What stands before the record in a slot.
struct SlotHeader {
  std::atomic<std::uint64_t> next;      // link word or terminator
  std::atomic<std::uint64_t> checksum;  // of record and use (Checksum.h); 0 while the slot is being written
};
static_assert(sizeof(SlotHeader) == 16);

// A link word: bit 63 set, bits 40..62 from the record's checksum, bits 24..39 from the key's hash, bits
// 0..23 the slot's index plus 1. A terminator: bit 63 clear, bit 62 set, bits 24..61 a check over the
// bucket's number, bits 0..23 zero. Zero is neither.
struct Link {
  static constexpr std::uint64_t kLive = std::uint64_t{1} << 63;
  static constexpr std::uint64_t kIndexMask = 0xFFFFFF;

  static constexpr std::uint64_t of(std::uint32_t slot, std::uint16_t tag, std::uint64_t checksum) {
    return kLive | (checksum >> 41) << 40 | std::uint64_t{tag} << 24 | (slot + 1);
  }
  static constexpr bool isLive(std::uint64_t word) { return (word & kLive) != 0; }
  // The slot's index; 0xFFFFFFFF, which no range check lets pass, for a damaged word without one.
  static constexpr std::uint32_t slot(std::uint64_t word) {
    return static_cast<std::uint32_t>(word & kIndexMask) - 1;
  }
  static constexpr std::uint16_t tag(std::uint64_t word) { return static_cast<std::uint16_t>(word >> 24); }
  static constexpr bool fits(std::uint64_t word, std::uint64_t checksum) {
    return ((word >> 40) & 0x7FFFFF) == checksum >> 41;
  }
};

// Sizes and offsets of one file, all computed from the record type and the capacity, never taken from a file.
struct Geometry {
  std::uint32_t recordBytes = 0;
  std::uint32_t keyBytes = 0;
  std::uint32_t capacity = 0;
  std::uint32_t bucketCount = 0;
  std::uint32_t slotStride = 0;
  std::uint64_t pageTableOffset = 0;
  std::uint64_t frameOffset = 0;
  std::uint64_t slotOffset = 0;
  std::uint64_t fileBytes = 0;

  static constexpr std::uint64_t roundUp(std::uint64_t value, std::uint64_t unit) {
    return (value + unit - 1) / unit * unit;
  }
  static constexpr Geometry of(std::uint32_t recordBytes, std::uint32_t keyBytes, std::uint32_t capacity) {
    Geometry g;
    g.recordBytes = recordBytes;
    g.keyBytes = keyBytes;
    g.capacity = capacity;
    g.bucketCount = kWordsPerFrame;
    while (g.bucketCount < capacity) g.bucketCount *= 2;
    g.slotStride = static_cast<std::uint32_t>(roundUp(sizeof(SlotHeader) + recordBytes, kSlotAlignment));
    g.pageTableOffset = kHeaderBytes;
    g.frameOffset = g.pageTableOffset + roundUp(8ull * g.frameCount(), kPageBytes);
    g.slotOffset = g.frameOffset + 8ull * g.bucketCount;
    g.fileBytes = roundUp(g.slotOffset + std::uint64_t{g.slotStride} * g.slotCount(), kPageBytes);
    return g;
  }
  constexpr std::uint32_t frameCount() const { return bucketCount / kWordsPerFrame; }
  constexpr std::uint32_t slotCount() const { return capacity + 1; }  // S5
};

// The words of a mapped file, by place. Owner and reader have one each; the reader's mapping is read-only.
struct FileView {
  std::byte* base = nullptr;
  Geometry geometry;

  FileHeader* header() const { return reinterpret_cast<FileHeader*>(base); }
  ControlArea* control() const { return &header()->control; }
  std::atomic<std::uint64_t>* pageTableCell(std::uint32_t page) const {
    return reinterpret_cast<std::atomic<std::uint64_t>*>(base + geometry.pageTableOffset) + page;
  }
  std::atomic<std::uint64_t>* frameWords(std::uint32_t frame) const {
    return reinterpret_cast<std::atomic<std::uint64_t>*>(base + geometry.frameOffset) +
           std::size_t{frame} * kWordsPerFrame;
  }
  std::byte* slot(std::uint32_t index) const {
    return base + geometry.slotOffset + std::uint64_t{index} * geometry.slotStride;
  }
  SlotHeader* slotHeader(std::uint32_t index) const { return reinterpret_cast<SlotHeader*>(slot(index)); }
  std::byte* record(std::uint32_t index) const { return slot(index) + sizeof(SlotHeader); }
};

}  // namespace Shoal
