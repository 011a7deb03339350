#include "tools/demo/Wants.h"

#include "Vex/Assert.h"
#include "tools/json/EntryJson.h"
#include "tools/workload/Workload.h"

namespace Inlif {

WantedPlace placeOf(Json const& operation) {
  WantedPlace place;
  static_cast<void>(tableIndex(operation["table"].get<std::string>(), place.table));
  place.unit = operation["unit"].get<Asic::UnitId>();
  if (operation.contains("key")) place.key = operation["key"].get<std::uint32_t>();
  return place;
}

void Wants::take(Json const& operation) {
  std::string const op = operation["op"].get<std::string>();
  if (op == "write") {
    writes_[placeOf(operation)] = operation;
  } else if (op == "remove") {
    writes_.erase(placeOf(operation));
  } else if (op == "removeAll") {
    WantedPlace const place = placeOf(operation);
    forgetUnit(place.table, place.unit);
  }
}

std::vector<Json> Wants::writes() const {
  std::vector<Json> all;
  all.reserve(writes_.size());
  for (auto const& [place, write] : writes_) all.push_back(write);
  return all;
}

Wishes Wants::wishes() const {
  Wishes wishes;
  Document line;
  for (auto const& [place, write] : writes_) {
    if (Workload::mustFail(write)) continue;
    Pivot::Status const status = operationFrom(jsonText(write), line);
    VEX_ASSERT_MSG(status.isOk(), "status.isOk()", "{}", status.message());
    ObjectReader in(line.root(), ObjectPlace("write"));
    entryFrom(in, wishes[place]);
    VEX_ASSERT_MSG(in.isOk(), "in.isOk()", "the agent took what cannot be read here: {}",
                   in.status().message());
  }
  return wishes;
}

std::size_t Wants::forget(Random& random, std::uint32_t in) {
  return std::erase_if(
      writes_, [&](auto const& write) { return random() % in == 0 && !Workload::mustFail(write.second); });
}

std::size_t Wants::change(Random& random, std::uint32_t in) {
  std::size_t changed = 0;
  for (auto& [place, write] : writes_) {
    if (random() % in != 0 || Workload::mustFail(write)) continue;
    // Two ways to be different: in the client's own bytes, and in the resources that are asked for.
    if (random() % 2 == 0) {
      std::string client = write["client"].get<std::string>();
      client[0] = client[0] == 'f' ? '0' : 'f';
      write["client"] = client;
    } else if (write.contains("qosProfileKey")) {
      write.erase("qosProfileKey");
    } else {
      write["qosProfileKey"] = {{"intf", "Ethernet1/1"}};
    }
    ++changed;
  }
  return changed;
}

std::size_t Wants::forgetUnit(std::size_t table, Asic::UnitId unit) {
  return std::erase_if(
      writes_, [&](auto const& write) { return write.first.table == table && write.first.unit == unit; });
}

}  // namespace Inlif
