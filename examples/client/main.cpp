// A client of the InLif1 table with a helper of its own: writes three entries, sees what its helper made of
// them, and compares with what it wanted. Ends with 0 when all is as told.
#include <LoamInLif/InLifNInterface.h>
#include <LoamInLif/InLifNSwTable.h>
#include <LoamInLif/Resources.h>
#include <fmt/format.h>

#include <cstdlib>
#include <filesystem>

#include "Agent.h"
#include "CautiousHelper.h"

namespace {

using LoamInLif::InLif1;
using LoamTunnelNiLib::InLifModelEntry;
using LoamTunnelNiLib::InLifModelEntryKey;
using Qos = LoamInLif::QosProfileKind;

int differences = 0;
void expect(bool asWanted, char const* what) {
  fmt::print("{:>9}  {}\n", asWanted ? "yes" : "DIFFERENT", what);
  differences += asWanted ? 0 : 1;
}

InLifModelEntry entryWithQos(char const* interfaceName) {
  InLifModelEntry entry;
  entry.rsrcKeys.qosProfileKey = Qos::Key::ofInterface(interfaceName);
  return entry;
}

void run(Agent& agent) {
  auto const helper = Pivot::make<CautiousHelper>();
  auto const table =
      LoamInLif::InLif1Interface::getIntf(agent.orderedTables())->makeSwTable(1, helper, false);
  auto& profiles = *LoamInLif::resourceTable<Qos>(*agent.orderedTables());
  InLifModelEntry const good = entryWithQos("Ethernet1");
  InLifModelEntry const bad = entryWithQos("Ethernet2");
  expect(profiles.stateIs(bad.rsrcKeys.qosProfileKey, Asic::EntryState::entryStateFailed).isOk(),
         "the profile of Ethernet2 fails");

  unsigned ended = 0;
  auto const count = [&ended](auto const&) { ++ended; };
  auto const first = table->entryWriteWithResponseHandler(InLifModelEntryKey(1), good, nullptr, count);
  table->entryWriteWithResponseHandler(InLifModelEntryKey(2), bad, first, count);
  agent.resolve();
  expect(table->entry(InLifModelEntryKey(1)).logEntry.client[1] == CautiousHelper::stamp,
         "the helper stamped the entry that succeeded");
  expect(table->entryHas(InLifModelEntryKey(2)) && helper->acceptedFailures() == 1,
         "the helper let the failed one pass");

  std::uint8_t const before = table->entry(InLifModelEntryKey(1)).logEntry.qosProfile;
  helper->updatesFrozenIs(true);
  expect(profiles.valueIs(good.rsrcKeys.qosProfileKey, static_cast<std::uint8_t>(before + 1)).isOk(),
         "the profile of Ethernet1 changes");
  expect(table->entry(InLifModelEntryKey(1)).logEntry.qosProfile == before && helper->refusedUpdates() == 1,
         "the helper refused the update");
  helper->updatesFrozenIs(false);
  expect(profiles.valueIs(good.rsrcKeys.qosProfileKey, static_cast<std::uint8_t>(before + 2)).isOk(),
         "and it changes again");
  expect(table->entry(InLifModelEntryKey(1)).logEntry.qosProfile == before + 2, "the update went through");

  agent.takeAll(InLif1::tableId);
  expect(ended == 2 && !table->hasPendingHwWrites(), "the hardware has taken everything");
}

}  // namespace

int main() {
  std::string directory = (std::filesystem::temp_directory_path() / "inlif-client-XXXXXX").string();
  if (::mkdtemp(directory.data()) == nullptr) return EXIT_FAILURE;
  {
    Agent agent(directory);
    run(agent);
  }
  std::filesystem::remove_all(directory);
  return differences == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
