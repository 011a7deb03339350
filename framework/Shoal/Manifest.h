// Which collections a role has ever made below the root: a collection of paths. One that is listed and has no
// file was lost. It is written after the file has its name, so a kill in between leaves a file that the next
// mount lists. Used by the store alone.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "Shoal/ShoalMap.h"

namespace Shoal {

// The key of a row is its path, null-padded.
struct ManifestPath {
  std::array<char, 512> text;
};

struct ManifestRow {
  ManifestPath path;
};

template <>
struct RecordTraits<ManifestRow> {
  using Key = ManifestPath;
  static Key key(ManifestRow const& row) { return row.path; }
  static constexpr char const* typeName = "Shoal::ManifestRow";
  static constexpr std::uint64_t layout = layoutSignature({sizeof(ManifestRow)});
};

class Manifest {
 public:
  static constexpr std::uint32_t kCapacity = 1u << 16;
  static std::string pathOf(VexSharedMem::StoreRoot::Role role);
  static bool isManifest(CollectionSpec const& spec) { return spec.path == pathOf(spec.role); }

  // Opens or makes it. A manifest that was lost lists what files there are, and from then on counts every
  // collection without one as lost, since it can't know better.
  Pivot::Status mount(VexSharedMem::StoreRoot::Role role);
  // The collection at a path was made before.
  bool knows(std::string const& path);
  Pivot::Status add(std::string const& path);
  // It was never lost, so that what it does not list was never made.
  bool isWhole() { return !rows_.collectionControl().wiped(); }

  // Adds the paths that a role's manifest lists below a folder ("" = all); any process, no role. False: the
  // manifest cannot be opened or read now.
  static bool list(VexSharedMem::StoreRoot::Role role, std::string const& below,
                   std::vector<std::string>& paths);

  // Adds the paths of the collections of a role that have a file, by their headers. Refused: descriptors or memory are
  // out, so some may be missing.
  static Pivot::Status filesOf(VexSharedMem::StoreRoot::Role role, std::vector<std::string>& paths);

 private:
  ShoalMap<ManifestRow> rows_;
};

// The manifest of a role that this process has claimed.
Manifest& manifestOf(VexSharedMem::StoreRoot::Role role);

}  // namespace Shoal
