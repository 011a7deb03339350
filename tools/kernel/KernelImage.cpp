#include "tools/kernel/KernelTarget.h"

#include <fmt/format.h>

#include <cstring>
#include <map>

#include "LoamTunnelNiLib/InLifImage.h"
#include "Shoal/SteadyReader.h"
#include "hardware/kernel/FrameMatch.h"
#include "hardware/kernel/KernelMaps.h"
#include "tools/support/Tables.h"

namespace Inlif {

using namespace LoamTunnelNiLib;

Pivot::Status comparePinned(std::string const& pins, std::size_t& entries,
                            std::vector<CheckFinding>& findings) {
  LoamHardware::KernelMaps maps;
  if (Pivot::Status status = maps.open(pins); !status.isOk()) return status;
  for (std::size_t table = 0; table < kTables; ++table) {
    std::map<InLifImageKey, InLifModelLogEntry> standing;
    for (Asic::UnitId const unit : maps.units(table)) {
      std::vector<InlifEntry> read;
      if (int const error = maps.entries(table, unit, read); error != 0)
        return Pivot::Status::refused(
            fmt::format("{} unit {}: the kernel says {}", tables()[table].name, unit, std::strerror(error)));
      for (InlifEntry const& entry : read)
        standing[{unit, InLifModelEntryKey(entry.key)}] = LoamHardware::fieldsOf(entry);
    }
    entries += standing.size();
    auto const differs = [&](InLifImageKey const& key, char const* how) {
      findings.push_back({tables()[table].imagePath,
                          fmt::format("unit {} key {}", key.unitId, key.entryKey.value()), 0, how, "",
                          CheckedEntry{tables()[table].name, key.unitId, key.entryKey.value()}});
    };
    Shoal::SteadyReader<InLifImageEntry> image(tables()[table].imagePath);
    if (!image.ready()) return Pivot::Status::refused(fmt::format("{}: {}", image.path(), image.problem()));
    Shoal::Read const end = walk(image, [&](InLifImageEntry const& record) {
      auto const found = standing.find(record.key);
      if (found == standing.end())
        differs(record.key, "is in the image and not in the kernel");
      else if (!found->second.isEq(record.entry))
        differs(record.key, "is not in the kernel what it is in the image");
      standing.erase(record.key);
      return true;
    });
    if (end != Shoal::Read::absent)
      return Pivot::Status::refused(fmt::format("{} cannot be read to its end", image.path()));
    for (auto const& [key, entry] : standing) differs(key, "is in the kernel and not in the image");
  }
  return Pivot::Status::ok();
}

}  // namespace Inlif
