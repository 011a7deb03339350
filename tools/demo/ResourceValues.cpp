#include "tools/demo/ResourceValues.h"

#include "Shoal/SteadyReader.h"

namespace Inlif {

ResourceValues::ResourceValues() {
  LoamInLif::forEachKind([&]<class Kind>() {
    // Some kinds share a table.
    if (!has<Kind>()) read<Kind>();
  });
}

template <class Kind>
void ResourceValues::read() {
  using Record = typename Kind::ResourceTable::Store::Record;
  Shoal::SteadyReader<Record> table(
      fmt::format("bursar/{}/{}", Kind::resourceNamespace, Kind::resourceTableName));
  if (!table.ready()) {
    if (!table.problem().empty()) problems_.push_back(fmt::format("{}: {}", table.path(), table.problem()));
    return;
  }
  tables_.insert(Kind::resourceTableName);
  std::map<std::uint64_t, std::string> keys;
  Shoal::Read const end = walk(table, [&](Record const& record) {
    std::string const key = textOf<Kind>(record.key);
    values_[key] = record.value;
    if (record.allocated == 0) return true;
    auto const [other, isNew] = keys.try_emplace(record.allocated, key);
    if (!isNew)
      problems_.push_back(fmt::format("{} and {} both have index {}", key, other->second, record.allocated));
    return true;
  });
  if (end != Shoal::Read::absent)
    problems_.push_back(fmt::format("{} cannot be read to its end", table.path()));
}

}  // namespace Inlif
