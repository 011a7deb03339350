// The files of a store as a check finds them: which there are, whether they are closed to others, what the
// manifests say of them, and the audit of each. What the records of different files say of each other is
// looked at afterwards (TableCheck.h), from what is gathered here.
#pragma once

#include <array>
#include <map>
#include <optional>

#include "Asic/GroupShoal.h"
#include "LoamTunnelNiLib/InLifFailure.h"
#include "LoamTunnelNiLib/InLifImage.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/CollectionAudit.h"
#include "tools/check/CheckResult.h"
#include "tools/support/Tables.h"

namespace Inlif {

// How many records the collections of the agent take; tests have smaller ones.
struct CheckLimits {
  std::uint32_t logCapacity = LoamTunnelNiLib::InLifModelEntryLogShoal::kStoreCapacity;
  std::uint32_t configCapacity = LoamTunnelNiLib::InLifModelConfigShoal::kMaxEntries;
  std::uint32_t neededCapacity = Asic::kMaxNeededRows;
};

struct TableContents {
  Shoal::Audited<LoamTunnelNiLib::InLifModelLogShoalEntry> log;
  std::map<Asic::UnitId, Shoal::Audited<LoamTunnelNiLib::InLifModelConfigShoalEntry>> configs;
  Shoal::Audited<LoamTunnelNiLib::InLifImageEntry> image;
  Shoal::Audited<LoamTunnelNiLib::InLifFailureRow> failures;
};

struct StoreContents {
  std::array<TableContents, kTables> tables;
  Shoal::Audited<Asic::AnnouncedRow> announced;
  Shoal::Audited<Asic::NeededRow> needed;
  Shoal::Audited<Asic::TableVersion> reported;

  // What the rows of a table say; nothing where it has none.
  std::optional<std::uint64_t> announcedVersion(Asic::SwTableId id) const;
  std::optional<std::uint64_t> reportedVersion(Asic::SwTableId id) const;

  // Looks at the store that StoreRoot names. Findings about single files go into `result`; its problem is set
  // when the root can't be looked at.
  void gather(CheckLimits const& limits, CheckResult& result);
};

}  // namespace Inlif
