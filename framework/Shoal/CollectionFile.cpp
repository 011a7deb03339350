#include "Shoal/CollectionFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/random.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "Shoal/BootId.h"
#include "Shoal/CheckedWord.h"
#include "Shoal/CrashPoint.h"
#include "Shoal/Futex.h"
#include "Shoal/LostFolder.h"
#include "Shoal/MappingGuard.h"
#include "Shoal/PageSize.h"
#include "Shoal/RootDirectory.h"
#include "Vex/Assert.h"

#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23
#endif

namespace Shoal {
namespace {

using VexSharedMem::StoreRoot;

std::uint64_t randomIncarnation() {
  std::uint64_t value = 0;
  while (value == 0) {
    ssize_t const got = ::getrandom(&value, sizeof(value), 0);
    VEX_ASSERT(got == sizeof(value), "the kernel gives random numbers");
  }
  return value;
}

// A name or path in the header, null-terminated or cut at the end of its field.
template <std::size_t N>
std::string textOf(std::array<char, N> const& field) {
  return std::string(field.data(), strnlen(field.data(), N));
}

CollectionFile::Result notOpened(int error) {
  if (error == ENOENT) return CollectionFile::Result::missing;
  return isShortage(error) ? CollectionFile::Result::unavailable : CollectionFile::Result::failed;
}

void unmap(FileView& view, std::uint64_t bytes) {
  if (view.base == nullptr) return;
  letMappingGo(view.base);
  ::munmap(view.base, bytes);
  view.base = nullptr;
}

}  // namespace

CollectionFile::~CollectionFile() {
  close();
}

void CollectionFile::unlock() {
  if (fd_ >= 0) ::flock(fd_, LOCK_UN);
}

void CollectionFile::leaveToParent() noexcept {
  if (view_.base != nullptr) letMappingGo(view_.base);
  if (fd_ >= 0) ::close(fd_);
  fd_ = -1;
  stagingName_.clear();
  isParents_ = true;
}

// Another process has the file mapped as its owner does, although the lock of the role was to be had.
CollectionFile::Result CollectionFile::lock(std::string const& path, std::string& message) {
  if (::flock(fd_, LOCK_EX | LOCK_NB) == 0) return Result::ok;
  message =
      errno == EWOULDBLOCK
          ? fmt::format("collection '{}' in {}: another process owns it; was the file of its lock deleted?",
                        path, StoreRoot::root())
          : refusedBy("lock", path, errno).message();
  return Result::failed;
}

void CollectionFile::close() {
  // In a forked child other memory may lie there by now.
  if (!isParents_) unmap(view_, fileBytes_);
  if (fd_ >= 0) ::close(fd_);
  if (!stagingName_.empty()) {
    int error = 0;
    Descriptor const staging = openOwnFolder(kStagingFolder, error);
    if (staging.isOpen()) ::unlinkat(staging.get(), stagingName_.c_str(), 0);
  }
  view_ = FileView();
  fd_ = -1;
  inode_ = 0;
  device_ = 0;
  isParents_ = false;
  stagingName_.clear();
}

CollectionFile::Result CollectionFile::check(int fd, std::string const& path, std::string& message) {
  struct stat status;
  if (::fstat(fd, &status) != 0) {
    message = fmt::format("collection '{}': {}", path, errorText(errno));
    return Result::failed;
  }
  if (!S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) {
    message =
        fmt::format("collection '{}' in {}: not a file of user {}", path, StoreRoot::root(), ::geteuid());
    return Result::failed;
  }
  inode_ = status.st_ino;
  device_ = status.st_dev;
  fileBytes_ = static_cast<std::uint64_t>(status.st_size);
  if (fileBytes_ < kHeaderBytes) {
    message = fmt::format("collection '{}': {} bytes, a header has {}", path, fileBytes_, kHeaderBytes);
    return Result::misfit;
  }
  return Result::ok;
}

CollectionFile::Result CollectionFile::map(bool writable, std::uint64_t bytes, std::string const& path,
                                           std::string& message) {
  void* base = ::mmap(nullptr, bytes, writable ? PROT_READ | PROT_WRITE : PROT_READ, MAP_SHARED, fd_, 0);
  if (base == MAP_FAILED) {
    int const error = errno;
    message = fmt::format("collection '{}': {} bytes can't be mapped: {}", path, bytes, errorText(error));
    return notOpened(error);
  }
  if (writable) ::madvise(base, bytes, MADV_DONTFORK);
  view_.base = static_cast<std::byte*>(base);
  fileBytes_ = bytes;
  path_ = path;
  mappingGuard(view_.base, bytes, writable, path);
  return Result::ok;
}

// Empty if the mapped header fits, else the first thing that differs, found and expected. `spec` is the
// owner's, null for a reader.
std::string CollectionFile::misfit(RecordType const& type, std::string const& path,
                                   CollectionSpec const* spec) const {
  FixedHeader const& h = view_.header()->fixed;
  auto const differs = [](char const* what, auto const& found, auto const& expected) {
    return fmt::format("{} is {}, expected {}", what, found, expected);
  };
  if (h.magic != kMagic) return differs("magic", h.magic, kMagic);
  if (h.formatVersion != kFormatVersion) return differs("format version", h.formatVersion, kFormatVersion);
  std::uint64_t const check = bytesChecksum(&h, offsetof(FixedHeader, check), kMagic);
  if (h.check != check) return differs("check of the header", h.check, check);
  if (textOf(h.typeName) != type.typeName) return differs("type", textOf(h.typeName), type.typeName);
  if (textOf(h.path) != path) return differs("own path", textOf(h.path), path);
  if (h.recordBytes != type.recordBytes) return differs("record size", h.recordBytes, type.recordBytes);
  if (h.keyBytes != type.keyBytes) return differs("key size", h.keyBytes, type.keyBytes);
  if (h.layoutSignature != type.layout)
    return differs("signature of the record layout", h.layoutSignature, type.layout);
  if (spec != nullptr && h.role != static_cast<std::uint32_t>(spec->role))
    return differs("role of the owner", h.role, static_cast<std::uint32_t>(spec->role));
  if (spec != nullptr && h.capacity != spec->capacity) return differs("capacity", h.capacity, spec->capacity);
  if (h.capacity == 0 || h.capacity > kMaxCapacity) return differs("capacity", h.capacity, "1 to 8388608");
  Geometry const g = Geometry::of(type.recordBytes, type.keyBytes, h.capacity);
  if (h.bucketCount != g.bucketCount || h.slotStride != g.slotStride || h.headerBytes != kHeaderBytes ||
      h.pageTableOffset != g.pageTableOffset || h.frameOffset != g.frameOffset ||
      h.slotOffset != g.slotOffset)
    return differs("offset of the slots", h.slotOffset, g.slotOffset);
  if (h.fileBytes != g.fileBytes) return differs("file size in the header", h.fileBytes, g.fileBytes);
  if (h.incarnation == 0) return differs("incarnation", 0, "another than 0");
  return {};
}

CollectionFile::Result CollectionFile::open(CollectionSpec const& spec, RecordType const& type,
                                            std::string& message) {
  int error = 0;
  Descriptor file = openFileOf(spec.path, true, error);
  if (!file.isOpen()) {
    message = refusedBy("file", spec.path, error).message();
    return notOpened(error);
  }
  Result result = check(file.get(), spec.path, message);
  if (result != Result::ok) return result;
  Geometry const geometry = Geometry::of(type.recordBytes, type.keyBytes, spec.capacity);
  std::uint64_t const found = fileBytes_;
  fd_ = file.take();
  if (lock(spec.path, message) != Result::ok) return Result::failed;
  // The header first: a file of another size is named by what differs, for instance its capacity.
  result = map(true, kHeaderBytes, spec.path, message);
  if (result != Result::ok) return result;
  if (Pivot::Status const status = reserve(0, kHeaderBytes); !status) {
    message = status.message();
    return Result::failed;
  }
  message = misfit(type, spec.path, &spec);
  if (message.empty() && found != geometry.fileBytes)
    message = fmt::format("file size is {}, expected {}", found, geometry.fileBytes);
  unmap(view_, kHeaderBytes);
  if (!message.empty()) return Result::misfit;
  view_.geometry = geometry;
  return map(true, geometry.fileBytes, spec.path, message);
}

CollectionFile::Result CollectionFile::openForReading(std::string const& path, RecordType const& type,
                                                      std::string& message) {
  int error = 0;
  Descriptor file = openFileOf(path, false, error);
  if (!file.isOpen()) {
    message = refusedBy("file", path, error).message();
    return notOpened(error);
  }
  Result result = check(file.get(), path, message);
  if (result != Result::ok) return result;
  std::uint64_t const found = fileBytes_;
  fd_ = file.take();
  // A page of our own in place of the mapping, laid out and aligned as a header is.
  alignas(FileHeader) std::byte page[sizeof(FileHeader)];
  if (::pread(fd_, page, sizeof(page), 0) != sizeof(page)) {
    message = refusedBy("header", path, errno).message();
    return Result::failed;
  }
  view_.base = page;
  FixedHeader const& header = view_.header()->fixed;
  message = misfit(type, path, nullptr);
  view_.base = nullptr;
  if (message.empty() && found != header.fileBytes)
    message = fmt::format("file size is {}, expected {}", found, header.fileBytes);
  if (!message.empty()) return Result::misfit;
  view_.geometry = Geometry::of(type.recordBytes, type.keyBytes, header.capacity);
  return map(false, header.fileBytes, path, message);
}

Pivot::Status CollectionFile::create(CollectionSpec const& spec, RecordType const& type, bool wiped) {
  close();
  Geometry const geometry = Geometry::of(type.recordBytes, type.keyBytes, spec.capacity);
  rlimit limit;
  // Beyond the limit the kernel would not only refuse but raise SIGXFSZ.
  if (::getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur < geometry.fileBytes)
    return Pivot::Status::refused(fmt::format("collection '{}' needs a file of {} bytes, the limit is {}",
                                              spec.path, geometry.fileBytes, limit.rlim_cur));
  int error = 0;
  Descriptor const staging = openOwnFolder(kStagingFolder, error);
  if (!staging.isOpen()) return refusedBy("staging folder", spec.path, error);
  std::string const name = fmt::format("{}-{:016x}", StoreRoot::roleName(spec.role), randomIncarnation());
  fd_ = ::openat(staging.get(), name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd_ < 0) return refusedBy("new file", spec.path, errno);
  stagingName_ = name;
  LOAM_CRASH_POINT("making: file in staging");
  std::string message;
  if (lock(spec.path, message) != Result::ok) return Pivot::Status::refused(message);
  if (::ftruncate(fd_, static_cast<off_t>(geometry.fileBytes)) != 0)
    return refusedBy("size", spec.path, errno);
  LOAM_CRASH_POINT("making: size set");
  struct stat status;
  if (::fstat(fd_, &status) != 0) return refusedBy("new file", spec.path, errno);
  inode_ = status.st_ino;
  device_ = status.st_dev;
  view_.geometry = geometry;
  path_ = spec.path;
  if (Pivot::Status reserved = reserve(0, geometry.frameOffset); !reserved) return reserved;
  std::uint32_t const slots = std::min(geometry.slotCount(), std::max(2u, kPageBytes / geometry.slotStride));
  if (Pivot::Status reserved = reserve(geometry.slotOffset, std::uint64_t{slots} * geometry.slotStride);
      !reserved)
    return reserved;
  if (map(true, geometry.fileBytes, spec.path, message) != Result::ok) return Pivot::Status::refused(message);
  LOAM_CRASH_POINT("making: memory reserved");
  initialise(spec, type, wiped);
  LOAM_CRASH_POINT("making: header written");
  view_.control()->slotsReserved.store(
      CheckedWord::of(slots, WordPlace::slotsReserved, saltOf(view_.header()->fixed.incarnation)),
      std::memory_order_release);
  return Pivot::Status::ok();
}

void CollectionFile::writeFixedPart(CollectionSpec const& spec, RecordType const& type,
                                    std::uint64_t incarnation) {
  Geometry const& g = view_.geometry;
  FixedHeader h{};
  h.magic = kMagic;
  h.formatVersion = kFormatVersion;
  h.headerBytes = kHeaderBytes;
  h.layoutSignature = type.layout;
  h.recordBytes = type.recordBytes;
  h.keyBytes = type.keyBytes;
  h.capacity = spec.capacity;
  h.maximum = spec.maximum;
  h.bucketCount = g.bucketCount;
  h.slotStride = g.slotStride;
  h.role = static_cast<std::uint32_t>(spec.role);
  h.incarnation = incarnation;
  h.pageTableOffset = g.pageTableOffset;
  h.frameOffset = g.frameOffset;
  h.slotOffset = g.slotOffset;
  h.fileBytes = g.fileBytes;
  std::memcpy(h.typeName.data(), type.typeName, std::strlen(type.typeName));
  std::memcpy(h.path.data(), spec.path.data(), spec.path.size());
  h.check = bytesChecksum(&h, offsetof(FixedHeader, check), kMagic);
  view_.header()->fixed = h;
}

void CollectionFile::initialise(CollectionSpec const& spec, RecordType const& type, bool wiped) {
  std::uint64_t const incarnation = randomIncarnation();
  writeFixedPart(spec, type, incarnation);
  std::uint64_t const salt = saltOf(incarnation);
  ControlArea* control = view_.control();
  auto const set = [&](std::atomic<std::uint64_t>& word, WordPlace place, std::uint32_t payload) {
    word.store(CheckedWord::of(payload, place, salt), std::memory_order_relaxed);
  };
  set(control->liveCount, WordPlace::liveCount, 0);
  set(control->wiped, WordPlace::wiped, wiped ? 1 : 0);
  set(control->corrupted, WordPlace::corrupted, 0);
  set(control->retired, WordPlace::retired, 0);
  set(control->intentWord, WordPlace::intent, 0);
  initRegister(control->scratchpad, WordPlace::scratchpad, salt, 0);
  initRegister(control->watermark, WordPlace::watermark, salt, 0);
  initRegister(control->agreesWith, WordPlace::agreesWith, salt, 0);
  initRegister(control->boot, WordPlace::boot, salt, bootId());
  for (std::uint32_t page = 0; page < view_.geometry.frameCount(); ++page)
    view_.pageTableCell(page)->store(
        CheckedWord::of(0, 0, static_cast<std::uint32_t>(WordPlace::pageTable) + page, salt),
        std::memory_order_relaxed);
}

void CollectionFile::swap(CollectionFile& other) {
  std::swap(fd_, other.fd_);
  std::swap(view_, other.view_);
  std::swap(inode_, other.inode_);
  std::swap(device_, other.device_);
  std::swap(fileBytes_, other.fileBytes_);
  std::swap(isParents_, other.isParents_);
  path_.swap(other.path_);
  stagingName_.swap(other.stagingName_);
}

Pivot::Status CollectionFile::reserve(std::uint64_t offset, std::uint64_t bytes) {
  if (int const error = reserveIn(fd_, offset, bytes); error != 0)
    return refusedBy(fmt::format("{} bytes of memory", bytes).c_str(), path_, error);
  if (view_.base != nullptr && offset + bytes <= fileBytes_) {
    // Maps the pages now, many at once; where the kernel can't, the first touch does it.
    std::uint64_t const begin = offset / systemPageBytes() * systemPageBytes();
    ::madvise(view_.base + begin, offset + bytes - begin, MADV_POPULATE_WRITE);
  }
  return Pivot::Status::ok();
}

}  // namespace Shoal
