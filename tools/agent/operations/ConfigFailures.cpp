#include "tools/agent/operations/ConfigFailures.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "Vex/ErrorPrint.h"
#include "tools/support/Tables.h"

namespace Inlif {
namespace {

constexpr std::chrono::seconds kTellAfter{1};

// What is not wanted any more has only its key.
std::string nameOf(EntryPlace const& place, WantedInterfaces const& wanted) {
  auto const found = std::ranges::lower_bound(wanted, place, {}, &WantedInterface::place);
  if (found != wanted.end() && found->place == place) return found->name();
  return fmt::format("{} key {}", tables()[place.table].name, place.key);
}

}  // namespace

void ConfigFailures::add(EntryPlace const& place) {
  places_.insert(place);
  ++untoldCount_;
  if (untold_.size() < kMostNamed) untold_.push_back(place);
  if (!tellAt_) tellAt_ = Clock::now() + kTellAfter;
}

Json ConfigFailures::json(WantedInterfaces const& wanted) const {
  Json all = Json::array();
  for (std::uint32_t table = 0; table < kTables; ++table) {
    auto at = places_.lower_bound({table, 0});
    auto const end = places_.lower_bound({table + 1, 0});
    if (at == end) continue;
    auto const count = std::distance(at, end);
    Json sample = Json::array();
    for (; at != end && sample.size() < kMostNamed; ++at) sample.push_back(nameOf(*at, wanted));
    all.push_back({{"table", tables()[table].name}, {"count", count}, {"sample", std::move(sample)}});
  }
  return all;
}

void ConfigFailures::turn(std::string const& file, WantedInterfaces const& wanted, bool underWay,
                          Outlet& outlet) {
  if (!tellAt_ || (underWay && Clock::now() < *tellAt_)) return;
  std::vector<std::string> names;
  for (EntryPlace const& place : untold_) names.push_back(nameOf(place, wanted));
  std::size_t const more = untoldCount_ - names.size();
  Vex::printError("inlif: {}: {} interfaces failed: {}{}; {} of {} stand as failed\n", file, untoldCount_,
                  fmt::join(names, ", "), more > 0 ? fmt::format(" and {} more", more) : "", size(),
                  wanted.size());
  outlet.broadcast({{"event", "configFailed"},
                    {"file", file},
                    {"count", untoldCount_},
                    {"sample", names},
                    {"failed", size()}});
  untold_.clear();
  untoldCount_ = 0;
  tellAt_.reset();
}

}  // namespace Inlif
