#include "tools/torture/StoreDamage.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <set>
#include <utility>

#include "Shoal/CheckedWord.h"
#include "Shoal/FileLayout.h"

namespace Inlif {
namespace fs = std::filesystem;
namespace {

constexpr std::string_view kSuffix = ".shoal";

// An open file, closed with its owner.
class OpenFile {
 public:
  OpenFile(fs::path const& path, int flags) : fd_(::open(path.c_str(), flags | O_CLOEXEC, 0600)) {}
  ~OpenFile() {
    if (fd_ >= 0) ::close(fd_);
  }
  OpenFile(OpenFile const&) = delete;
  OpenFile& operator=(OpenFile const&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

// Calls take(offset, bytes) for each run of a file that is no hole; the files are sparse and large.
template <class Take>
void forEachRun(int fd, Take take) {
  for (off_t at = ::lseek(fd, 0, SEEK_DATA); at >= 0;) {
    off_t const hole = ::lseek(fd, at, SEEK_HOLE);
    take(at, hole - at);
    at = ::lseek(fd, hole, SEEK_DATA);
  }
}

void copyFile(fs::path const& from, fs::path const& to) {
  fs::create_directories(to.parent_path());
  fs::permissions(to.parent_path(), fs::perms(0700));
  OpenFile const in(from, O_RDONLY);
  OpenFile const out(to, O_RDWR | O_CREAT | O_TRUNC);
  static_cast<void>(::ftruncate(out.get(), static_cast<off_t>(fs::file_size(from))));
  std::vector<char> bytes;
  forEachRun(in.get(), [&](off_t at, off_t length) {
    bytes.resize(static_cast<std::size_t>(length));
    if (::pread(in.get(), bytes.data(), bytes.size(), at) == length)
      static_cast<void>(::pwrite(out.get(), bytes.data(), bytes.size(), at));
  });
}

template <class Random, class List>
auto const& anyOf(Random& random, List const& list) {
  return *std::next(list.begin(), static_cast<std::ptrdiff_t>(random() % list.size()));
}

}  // namespace

char const* nameOf(Strike strike) {
  constexpr char const* kNames[] = {"lost file",        "lost side",  "lost manifest", "older file",
                                    "some older files", "older side", "flipped bit",   "other boot"};
  return kNames[static_cast<std::size_t>(strike)];
}

StoreDamage::StoreDamage(std::string store, std::string copies)
    : store_(std::move(store)), copies_(std::move(copies)) {}

StoreDamage::Side StoreDamage::sideOf(std::string const& file) {
  bool const isWriters = file.find("/hardware/") != std::string::npos || file == manifestOf(Side::writer);
  return isWriters ? Side::writer : Side::agent;
}

std::string StoreDamage::manifestOf(Side side) {
  return side == Side::agent ? ".manifest-agent.shoal" : ".manifest-writer.shoal";
}

// Without the manifest.
StoreDamage::Files StoreDamage::filesOf(Path const& folder, Side side) const {
  Files files;
  std::error_code none;
  for (auto const& entry : fs::recursive_directory_iterator(folder, none)) {
    std::string const file = fs::relative(entry.path(), folder).string();
    if (file.ends_with(kSuffix) && !file.starts_with('.') && sideOf(file) == side) files.push_back(file);
  }
  std::ranges::sort(files);
  return files;
}

void StoreDamage::copy() {
  std::string const name = fmt::format("{}", nextCopy_++);
  for (Side side : {Side::agent, Side::writer}) {
    Files files = filesOf(store_, side);
    if (fs::exists(store_ / manifestOf(side))) files.push_back(manifestOf(side));
    for (std::string const& file : files) copyFile(store_ / file, copies_ / name / file);
  }
  kept_.push_back(name);
  if (kept_.size() <= kMostCopies) return;
  fs::remove_all(copies_ / kept_.front());
  kept_.pop_front();
}

void StoreDamage::lose(Files const& files) {
  for (std::string const& file : files) fs::remove(store_ / file);
}

// Files that the copy does not have go. A copy of a future that is abandoned with the log does not come back.
void StoreDamage::putBack(Random& random, Side side, Files files) {
  if (kept_.empty()) copy();
  auto const at = static_cast<std::ptrdiff_t>(random() % kept_.size());
  Path const from = copies_ / kept_[static_cast<std::size_t>(at)];
  bool const hasLog =
      std::ranges::any_of(files, [](auto const& file) { return file.find("/log/") != std::string::npos; });
  for (std::string const& file : files) {
    fs::remove(store_ / file);
    if (fs::exists(from / file)) copyFile(from / file, store_ / file);
  }
  done_ += fmt::format(" from copy {} of {}", kept_[static_cast<std::size_t>(at)], fmt::join(kept_, " "));
  if (side == Side::writer || !hasLog) return;
  for (auto later = kept_.begin() + at + 1; later != kept_.end(); ++later) fs::remove_all(copies_ / *later);
  kept_.erase(kept_.begin() + at + 1, kept_.end());
}

void StoreDamage::flip(Random& random, std::string const& file) {
  OpenFile const open(store_ / file, O_RDWR);
  off_t total = 0;
  forEachRun(open.get(), [&](off_t, off_t length) { total += length; });
  if (total == 0) return;
  auto wanted = static_cast<off_t>(random() % static_cast<std::uint64_t>(total));
  auto const bit = static_cast<int>(random() % 8);
  forEachRun(open.get(), [&](off_t at, off_t length) {
    if (wanted >= 0 && wanted < length) {
      char byte = 0;
      if (::pread(open.get(), &byte, 1, at + wanted) != 1) return;
      byte = static_cast<char>(byte ^ 1 << bit);
      static_cast<void>(::pwrite(open.get(), &byte, 1, at + wanted));
      done_ += fmt::format(" {} at {}, bit {}", file, at + wanted, bit);
    }
    wanted -= length;
  });
}

// The present one becomes another by what the files say of it.
void StoreDamage::otherBoot(Random& random) {
  std::uint64_t const boot = random();
  for (Side side : {Side::agent, Side::writer}) {
    for (std::string const& file : filesOf(store_, side)) {
      OpenFile const open(store_ / file, O_RDWR);
      auto const header = std::make_unique<Shoal::FileHeader>();
      if (::pread(open.get(), static_cast<void*>(header.get()), sizeof(*header), 0) != sizeof(*header))
        continue;
      Shoal::initRegister(header->control.boot, Shoal::WordPlace::boot,
                          Shoal::saltOf(header->fixed.incarnation), boot);
      static_cast<void>(::pwrite(open.get(), static_cast<void const*>(header.get()), sizeof(*header), 0));
    }
  }
}

Strike StoreDamage::strike(Random& random, Side side) {
  auto const strike = static_cast<Strike>(random() % kStrikes);
  Files all = filesOf(store_, side);
  // Also such as are not there any more, or not yet.
  std::set<std::string> known(all.begin(), all.end());
  for (std::string const& copy : kept_)
    for (std::string const& file : filesOf(copies_ / copy, side)) known.insert(file);
  Files files(known.begin(), known.end());
  done_ = fmt::format("{} of the {}:", nameOf(strike), side == Side::agent ? "agent" : "writer");
  if (files.empty()) return strike;
  if (strike == Strike::loseFile || strike == Strike::putBackFile) files = {anyOf(random, files)};
  if (strike == Strike::putBackSome) std::erase_if(files, [&](auto const&) { return random() % 2 == 0; });
  if ((strike == Strike::loseSide || strike == Strike::putBackSide) && random() % 2 == 0)
    files.push_back(manifestOf(side));
  if (strike != Strike::flipBit && strike != Strike::otherBoot)
    done_ += fmt::format(" {}", fmt::join(files, " "));
  switch (strike) {
    case Strike::loseFile:
    case Strike::loseSide:
      lose(files);
      break;
    case Strike::loseManifest:
      lose({manifestOf(side)});
      break;
    case Strike::putBackFile:
    case Strike::putBackSome:
    case Strike::putBackSide:
      putBack(random, side, files);
      break;
    case Strike::flipBit:
      if (fs::exists(store_ / manifestOf(side))) all.push_back(manifestOf(side));
      if (!all.empty()) flip(random, anyOf(random, all));
      break;
    case Strike::otherBoot:
      otherBoot(random);
  }
  return strike;
}

void StoreDamage::flipConfiguration(Random& random) {
  Files files = filesOf(store_, Side::agent);
  std::erase_if(files, [](auto const& file) { return file.find("/config/") == std::string::npos; });
  done_ = "flipped bit under the agent:";
  if (!files.empty()) flip(random, anyOf(random, files));
}

}  // namespace Inlif
