#include "agent/Status.h"

namespace LoamAgent {
namespace {

using LoamInLif::kTables;

TableStatus tableStatus(Host& host, std::size_t table) {
  TableFront const& front = host.front(table);
  Asic::SwTableId const id = front.info().id;
  TableStatus status;
  status.written = front.written();
  status.announced = host.group().announcedVersion(id);
  status.reported = host.group().tableVersionMap().read(id).existing;
  status.cleaned = front.cleaned();
  status.logRecords = front.logRecords();
  status.pending = front.status()->pendingHwWrites();
  for (Asic::UnitId const unit : front.units())
    status.units.push_back({front.unitStatus(unit), host.life({table, unit})});
  return status;
}

}  // namespace

AgentStatus statusOf(Host& host) {
  AgentStatus status;
  for (std::size_t table = 0; table < kTables; ++table) status.tables.push_back(tableStatus(host, table));
  status.behind = host.behind();
  status.unserved = host.unserved();
  Asic::GroupResolver const& resolver = *host.group().groupResolver();
  status.queued = resolver.length();
  status.suspended = resolver.suspended();
  status.heads = resolver.heads();
  status.relaunchGeneration = host.relaunchGeneration();
  return status;
}

std::vector<UnitLatency> latencies(Host const& host) {
  using Stage = Asic::SwTableLatency::Stage;
  std::vector<UnitLatency> all;
  for (std::size_t table = 0; table < kTables; ++table) {
    TableFront const& front = host.front(table);
    for (Asic::UnitId const unit : front.units()) {
      Asic::SwTableLatency const& latency = front.table(unit)->latency();
      all.push_back({{table, unit},
                     latency.figures(Stage::behind),
                     latency.figures(Stage::head),
                     latency.figures(Stage::hardware)});
    }
  }
  return all;
}

}  // namespace LoamAgent
