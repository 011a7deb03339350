// Mounting: the file of an earlier life, or a new one.
#include <fmt/format.h>

#include <atomic>

#include "Shoal/Cursor.h"
#include "Shoal/Manifest.h"
#include "Shoal/MountScan.h"
#include "Shoal/Ownership.h"
#include "Shoal/RootDirectory.h"
#include "Shoal/ShoalMapBase.h"
#include "Vex/Assert.h"
#include "Vex/Trace.h"

namespace Shoal {
namespace {

using VexSharedMem::StoreRoot;

Vex::TraceHandle traceHandle("Shoal");

// Changes are numbered apart in each map of the process, so that a hint or place of one map fits no other.
std::uint64_t firstChange() {
  static std::atomic<std::uint64_t> maps{0};
  return (maps.fetch_add(1, std::memory_order_relaxed) + 1) << 44;
}

Pivot::Status checkSpec(CollectionSpec const& spec, RecordType const& type) {
  if (!StoreRoot::holds(spec.role))
    return Pivot::Status::refused(fmt::format("collection '{}': the role '{}' of {} is not claimed",
                                              spec.path, StoreRoot::roleName(spec.role), StoreRoot::root()));
  if (Pivot::Status status = StoreRoot::stillHeld(spec.role); !status) return status;
  if (!Manifest::isManifest(spec))
    if (Pivot::Status status = checkPath(spec.path); !status) return status;
  if (spec.maximum == 0 || spec.capacity < spec.maximum || spec.capacity > kMaxCapacity)
    return Pivot::Status::refused(
        fmt::format("collection '{}': {} records in a store for {}, expected 1 to {}", spec.path,
                    spec.maximum, spec.capacity, kMaxCapacity));
  VEX_ASSERT_MSG(std::string_view(type.typeName).size() < sizeof(FixedHeader::typeName),
                 "a type name has at most 127 bytes", "{}", type.typeName);
  return Pivot::Status::ok();
}

}  // namespace

ShoalMapBase::ShoalMapBase(RecordType const& type) : type_(type), found_(std::make_unique<Cursor>()) {}

ShoalMapBase::~ShoalMapBase() {
  Ownership::end(*this);
}

void ShoalMapBase::notOwner() const {
  Vex::assertionFailed("a collection is used by its owner alone",
                       fmt::format("'{}' was released, or belongs to the parent of this process", path()),
                       "ShoalMount.cpp", __LINE__);
}

Pivot::Status ShoalMapBase::mount(CollectionSpec const& given) {
  VEX_ASSERT_MSG(!mounted(), "a map is mounted once", "{}", path());
  spec_ = given;
  if (spec_.capacity == 0) spec_.capacity = spec_.maximum;
  Pivot::Status status = checkSpec(spec_, type_);
  if (status) status = Ownership::begin(*this);
  if (!status) return status;
  status = mountOwned();
  if (!status) {
    file_.close();
    Ownership::end(*this);
  }
  return status;
}

Pivot::Status ShoalMapBase::mountOwned() {
  Manifest* manifest = Manifest::isManifest(spec_) ? nullptr : &manifestOf(spec_.role);

  std::string why;
  switch (openExisting(why)) {
    case MountResult::mounted:
      break;
    case MountResult::refused:
      return Pivot::Status::refused(why);
    case MountResult::missing: {
      // A manifest itself was lost if there are files that it should list.
      bool lost = manifest != nullptr && manifest->knows(path());
      if (manifest == nullptr) {
        std::vector<std::string> files;
        if (Pivot::Status status = Manifest::filesOf(spec_.role, files); !status) return status;
        lost = !files.empty();
      }
      if (lost) why = fmt::format("collection '{}': its file is gone", path());
      [[fallthrough]];
    }
    case MountResult::lost:
      if (Pivot::Status status = startAnew(why); !status) return status;
  }
  // Listed after the file has its name: a kill in between leaves a file that the next mount lists.
  return manifest != nullptr ? manifest->add(path()) : Pivot::Status::ok();
}

ShoalMapBase::MountResult ShoalMapBase::openExisting(std::string& why) {
  switch (file_.open(spec_, type_, why)) {
    case CollectionFile::Result::missing:
      why.clear();
      return MountResult::missing;
    case CollectionFile::Result::misfit:
      return MountResult::lost;
    case CollectionFile::Result::failed:
    case CollectionFile::Result::unavailable:
      return MountResult::refused;
    case CollectionFile::Result::ok:
      break;
  }
  return adopt(why);
}

// An empty collection. With a reason, earlier contents were lost: it is marked wiped before it has its name.
Pivot::Status ShoalMapBase::startAnew(std::string const& lostBecause) {
  bool const lost = !lostBecause.empty();
  if (lost) VEX_TRACE(traceHandle, 1, "contents lost, starting anew: {}", lostBecause);
  CollectionFile anew;
  Pivot::Status status = anew.create(spec_, type_, lost);
  if (status) status = anew.place(spec_);
  if (!status) return status;
  file_.swap(anew);
  std::string why;
  VEX_ASSERT_MSG(adopt(why) == MountResult::mounted, "a new collection is whole", "{}", why);
  isMadeNow_ = true;
  isNew_ = !lost;
  return status;
}

Pivot::Status ShoalMapBase::giveUp(std::string const& why) {
  mustOwn();
  VEX_ASSERT(mounted() && !why.empty(), "what is given up is mounted, for a reason");
  return startAnew(fmt::format("collection '{}': {}", path(), why));
}

bool ShoalMapBase::mend() {
  mustOwn();
  std::uint32_t const size = size_;
  file_.writeFixedPart(spec_, type_, incarnation_);
  MountScan scan(*this, MountScan::Mode::mend);
  scan.restate();
  scan.mend();
  countChange();
  return size_ < size;
}

ShoalMapBase::MountResult ShoalMapBase::adopt(std::string& why) {
  incarnation_ = file_.view().header()->fixed.incarnation;
  salt_ = saltOf(incarnation_);
  changes_ = firstChange();
  lossEpoch_ = changes_;
  framesReady_ = 0;
  return MountScan(*this, MountScan::Mode::mount).mount(why);
}

}  // namespace Shoal
