#include "tools/agent/operations/LogHighWater.h"

#include "LoamInLif/Instance.h"
#include "Vex/ErrorPrint.h"
#include "tools/support/Tables.h"

namespace Inlif {
namespace {

constexpr std::size_t kLimit = LoamInLif::FamilyConstants::maxLogRecords;
constexpr std::size_t kHigh = kLimit / 8 * 7;
constexpr std::size_t kLow = kLimit / 2;

}  // namespace

void LogHighWater::turn() {
  for (std::size_t table = 0; table < kTables; ++table) {
    std::uint32_t const records = host_.front(table).logRecords();
    bool const high = high_[table] ? records >= kLow : records > kHigh;
    if (high == high_[table]) continue;
    high_[table] = high;
    Vex::printError("inlif: the change log of {} holds {} of {} records{}\n", tables()[table].name, records,
                    kLimit, high ? ": the writer of the hardware is behind" : "");
    outlet_.broadcast({{"event", "logHighWater"},
                       {"table", tables()[table].name},
                       {"high", high},
                       {"logRecords", records},
                       {"logLimit", kLimit}});
  }
}

}  // namespace Inlif
