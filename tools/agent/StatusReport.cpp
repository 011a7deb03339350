#include "tools/agent/StatusReport.h"

#include "Asic/GroupResolver.h"
#include "tools/support/ProcessView.h"

namespace Inlif {
namespace {

Json tableReport(Host& host, std::size_t table) {
  TableFront const& front = host.front(table);
  Json units = Json::array();
  for (Asic::UnitId unit : front.units()) {
    Json one = {{"unit", unit}};
    front.addUnitStatus(unit, one);
    Host::UnitLife const life = host.life({table, unit});
    one["restored"] = life.restored;
    one["swept"] = life.swept;
    units.push_back(std::move(one));
  }
  Asic::SwTableId const id = front.info().id;
  return {{"table", front.info().name},
          {"written", front.written().value()},
          {"announced", host.group().announcedVersion(id).value()},
          {"taken", host.group().tableVersionMap().read(id).existing.value()},
          {"cleaned", front.cleaned().value()},
          {"records", front.logRecords()},
          {"pending", front.status()->pendingHwWrites()},
          {"units", std::move(units)}};
}

Json resolverReport(Asic::GroupResolver const& resolver) {
  Json heads = Json::array();
  for (Asic::GroupResolver::Head const& head : resolver.heads()) {
    Json one = {
        {"queued", head.queueLength}, {"ageMs", head.ageNanoseconds / 1'000'000}, {"asked", head.asked}};
    if (head.queue) {
      one["table"] = tables()[tableIndex(head.queue->tableId())].name;
      one["unit"] = head.queue->unitId();
    }
    one["waitsFor"] = head.waitsForDependency ? "dependency" : head.asked ? "resource or room" : "its turn";
    heads.push_back(std::move(one));
  }
  return {{"queued", resolver.length()}, {"suspended", resolver.suspended()}, {"heads", std::move(heads)}};
}

}  // namespace

Json statusReport(Host& host) {
  Json tablesReport = Json::array();
  for (std::size_t i = 0; i < kTables; ++i) tablesReport.push_back(tableReport(host, i));
  Json unserved = Json::array();
  for (Host::UnitPlace const& place : host.unserved())
    unserved.push_back({{"table", tables()[place.table].name}, {"unit", place.unit}});
  for (Json const& behind : host.behind()) {
    for (Json& table : tablesReport)
      if (table["table"] == behind["table"]) table.update(behind);
  }
  Json report = processesJson();
  report.update({{"tables", std::move(tablesReport)},
                 {"unserved", std::move(unserved)},
                 {"resolver", resolverReport(*host.group().groupResolver())},
                 {"relaunchGeneration", host.relaunchGeneration()}});
  return report;
}

}  // namespace Inlif
