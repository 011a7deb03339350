#include "tools/demo/Comparison.h"

#include <fmt/format.h>

#include "LoamInLif/Kinds.h"
#include "LoamTunnelNiLib/InLifFailure.h"
#include "LoamTunnelNiLib/InLifImage.h"
#include "LoamTunnelNiLib/InLifModelShoal.h"
#include "Shoal/SteadyReader.h"
#include "tools/demo/ResourceValues.h"

namespace Inlif {
namespace {

using namespace LoamTunnelNiLib;

struct Stored {
  InLifModelEntry entry;
  Asic::LogVersion version;
};

class Comparer {
 public:
  explicit Comparer(Wishes const& wishes) : wishes_(wishes) { result_.wanted = wishes.size(); }

  ComparisonResult run() {
    for (std::string const& problem : resources_.problems()) differ(problem);
    for (std::size_t table = 0; table < kTables; ++table) {
      for (Asic::UnitId unit : tables()[table].units()) readConfig(table, unit);
    }
    for (auto const& [place, wanted] : wishes_) {
      if (!stored_.contains(place)) differ(place, "is wanted and not in the store");
    }
    for (std::size_t table = 0; table < kTables; ++table) {
      readFailures(table);
      compareImage(table);
    }
    for (auto const& [place, stored] : stored_) {
      if (isRefused(place, stored.version))
        ++result_.refused;
      else if (!inImage_.contains(place))
        differ(place, "is in the store and not in the image");
    }
    return std::move(result_);
  }

 private:
  void differ(std::string const& what) {
    ++result_.differences;
    if (result_.examples.size() < 10) result_.examples.push_back(what);
  }
  void differ(WantedPlace const& place, std::string const& what) {
    differ(fmt::format("{} unit {} key {} {}", tables()[place.table].name, place.unit, place.key, what));
  }

  void unreadable(std::string const& path, Shoal::Read end, std::string const& problem) {
    ++result_.differences;
    result_.examples.push_back(
        fmt::format("{} cannot be read: {}", path, end == Shoal::Read::busy ? "it stays busy" : problem));
  }

  void readConfig(std::size_t table, Asic::UnitId unit) {
    Shoal::SteadyReader<InLifModelConfigShoalEntry> config(tables()[table].configPath(unit));
    if (!config.ready()) return unreadable(config.path(), Shoal::Read::damaged, config.problem());
    Shoal::Read const end = walk(config, [&](InLifModelConfigShoalEntry const& record) {
      if (record.isDeleted) return true;
      WantedPlace const place{table, unit, record.key().value()};
      Stored const stored{record.entry(), record.logVersion};
      compareWithWish(place, stored.entry);
      stored_[place] = stored;
      ++result_.stored;
      return true;
    });
    if (end != Shoal::Read::absent) unreadable(config.path(), end, config.problem());
  }

  void compareWithWish(WantedPlace const& place, InLifModelEntry const& stored) {
    auto const wish = wishes_.find(place);
    if (wish == wishes_.end()) return differ(place, "is in the store and not wanted");
    InLifModelEntry wanted = wish->second;
    LoamInLif::forEachKind([&]<class Kind>() {
      auto const value = stored.logEntry.*Kind::resolvedField;
      auto const& key = wanted.rsrcKeys.*Kind::keyField;
      if (Kind::isNullKey(key)) {
        wanted.logEntry.*Kind::resolvedField = Kind::defaultValue;
        return;
      }
      wanted.logEntry.*Kind::resolvedField =
          static_cast<std::remove_const_t<decltype(value)>>(valueOf<Kind>(place, key, value));
    });
    if (!wanted.isEq(stored)) differ(place, fmt::format("is wanted as {} and stored as {}", wanted, stored));
  }

  // What the table says that the key has; without a table in the store, what it had where it was met first.
  template <class Kind>
  std::uint64_t valueOf(WantedPlace const& place, typename Kind::Key const& key, std::uint64_t found) {
    if (!resources_.has<Kind>())
      return values_.try_emplace(ResourceValues::textOf<Kind>(key), found).first->second;
    std::optional<std::uint64_t> const value = resources_.value<Kind>(key);
    if (!value) {
      differ(place, fmt::format("uses {}, which is not handed out", ResourceValues::textOf<Kind>(key)));
    }
    return value.value_or(found);
  }

  void readFailures(std::size_t table) {
    Shoal::SteadyReader<InLifFailureRow> failures(tables()[table].failuresPath);
    if (!failures.ready()) return unreadable(failures.path(), Shoal::Read::damaged, failures.problem());
    Shoal::Read const end = walk(failures, [&](InLifFailureRow const& row) {
      if (row.key.wholeUnit == 0) failures_[{table, row.key.unitId, row.key.entryKey.value()}] = row;
      return true;
    });
    if (end != Shoal::Read::absent) unreadable(failures.path(), end, failures.problem());
  }
  bool isRefused(WantedPlace const& place, Asic::LogVersion version) const {
    auto const row = failures_.find(place);
    return row != failures_.end() && row->second.isRefusal() && row->second.logVersion == version;
  }

  void compareImage(std::size_t table) {
    Shoal::SteadyReader<InLifImageEntry> image(tables()[table].imagePath);
    if (!image.ready()) return unreadable(image.path(), Shoal::Read::damaged, image.problem());
    Shoal::Read const end = walk(image, [&](InLifImageEntry const& record) {
      WantedPlace const place{table, record.key.unitId, record.key.entryKey.value()};
      inImage_.emplace(place, true);
      ++result_.inImage;
      auto const stored = stored_.find(place);
      auto const row = failures_.find(place);
      if (stored == stored_.end() && row != failures_.end() &&
          row->second.operation == FailedOperation::remove)
        return true;
      if (stored != stored_.end() && isRefused(place, stored->second.version)) {
        if (record.logVersion == stored->second.version) differ(place, "is refused and in the image");
        return true;
      }
      if (stored == stored_.end())
        differ(place, "is in the image and not in the store");
      else if (!stored->second.entry.logEntry.isEq(record.entry))
        differ(place, fmt::format("is stored as {} and in the image as {}", stored->second.entry.logEntry,
                                  record.entry));
      else if (stored->second.version != record.logVersion)
        differ(place, fmt::format("is stored at version {} and in the image at {}", stored->second.version,
                                  record.logVersion));
      return true;
    });
    if (end != Shoal::Read::absent) unreadable(image.path(), end, image.problem());
  }

  Wishes const& wishes_;
  ResourceValues resources_;
  ComparisonResult result_;
  std::map<WantedPlace, Stored> stored_;
  std::map<WantedPlace, bool> inImage_;
  std::map<WantedPlace, InLifFailureRow> failures_;
  std::map<std::string, std::uint64_t> values_;  // by resource table and key, for tables not in the store
};

}  // namespace

ComparisonResult compareAll(Wishes const& wishes) {
  return Comparer(wishes).run();
}

}  // namespace Inlif
