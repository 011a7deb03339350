#include "Shoal/Manifest.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "Shoal/ReportedReads.h"
#include "Shoal/RootDirectory.h"

namespace Shoal {
namespace {

using VexSharedMem::StoreRoot;

constexpr int kAttempts = 1000;

ManifestPath keyOf(std::string const& path) {
  ManifestPath key{};
  std::memcpy(key.text.data(), path.data(), std::min(path.size(), key.text.size() - 1));
  return key;
}

std::string pathOf(ManifestRow const& row) {
  return std::string(row.path.text.data(), strnlen(row.path.text.data(), row.path.text.size()));
}

}  // namespace

std::string Manifest::pathOf(StoreRoot::Role role) {
  return fmt::format(".manifest-{}", StoreRoot::roleName(role));
}

Pivot::Status Manifest::mount(StoreRoot::Role role) {
  Pivot::Status status = rows_.mount({pathOf(role), kCapacity, kCapacity, role});
  if (!status || !rows_.collectionControl().wiped()) return status;
  // The wiped mark stays: it is what says from now on that the list is not complete.
  std::vector<std::string> paths;
  status = filesOf(role, paths);
  for (std::string const& path : paths)
    if (status) status = add(path);
  return status;
}

bool Manifest::knows(std::string const& path) {
  if (rows_.collectionControl().wiped()) return true;
  return readOr(rows_, true, [&] { return rows_.has(keyOf(path)); });
}

Pivot::Status Manifest::add(std::string const& path) {
  ManifestRow const row{keyOf(path)};
  if (holds(rows_, row.path)) return Pivot::Status::ok();
  Pivot::Status status = rows_.reserve(1);
  if (status) rows_.set(row);
  return status;
}

bool Manifest::list(StoreRoot::Role role, std::string const& below, std::vector<std::string>& paths) {
  auto const opened = ShoalReader<ManifestRow>::open(pathOf(role));
  if (opened.state != OpenState::ok) return opened.state != OpenState::unavailable;
  std::string const prefix = below.empty() ? below : below + "/";
  try {
    // Busy: rows change rarely, so the same step is taken again.
    ReadResult const end = forEach(*opened.reader, kAttempts, [&](ManifestRow const& row) {
      if (std::string path = ::Shoal::pathOf(row); path.starts_with(prefix)) paths.push_back(std::move(path));
    });
    return end != ReadResult::busy;
  } catch (Pivot::CorruptionDetectedException const&) {
    // What has a file is listed all the same; the owner reports the damage when it mounts.
  }
  return true;
}

Pivot::Status Manifest::filesOf(StoreRoot::Role role, std::vector<std::string>& paths) {
  std::vector<std::string> all;
  bool isWhole = listFiles({}, all);
  for (std::string& path : all) {
    int error = 0;
    Descriptor const file = openFileOf(path, false, error);
    if (!file.isOpen()) isWhole = isWhole && !isShortage(error);
    FixedHeader header;
    if (file.isOpen() && ::pread(file.get(), &header, sizeof(header), 0) == sizeof(header) &&
        header.magic == kMagic && header.role == static_cast<std::uint32_t>(role))
      paths.push_back(std::move(path));
  }
  if (isWhole) return Pivot::Status::ok();
  return Pivot::Status::refused(fmt::format(
      "store {}: its files cannot be listed now; expected descriptors and memory for it", StoreRoot::root()));
}

}  // namespace Shoal
