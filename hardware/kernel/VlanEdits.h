// The contents of the VLAN edit profiles, as the agent's resource table holds them in the store: the entries name a profile by
// its number alone.
//
// Read by the writer, beside the agent. A row stands in the store before anything that names its number is published, and the
// number goes to other contents only when everything published with it has been taken. So whoever looks before the entries of
// a batch are written knows what they mean.
#pragma once

#include <functional>

#include "LoamTunnelNiLib/IveResourceTableResourceTable.h"
#include "Shoal/SteadyReader.h"
#include "hardware/kernel/KernelLayout.h"

namespace LoamHardware {

class VlanEdits {
 public:
  VlanEdits();

  // Calls f(number, profile) for all profiles that are handed out, if anything has changed since the last call. What cannot
  // be read now is looked at again by the next call.
  void changesInto(std::function<void(std::uint32_t, InlifProfile const&)> const& f);

 private:
  using Record = LoamTunnelNiLib::IveResourceTableResourceTable::Store::Record;

  Shoal::SteadyReader<Record> table_;
  std::uint32_t counterSeen_ = 0;
  unsigned openingSeen_ = 0;
};

}  // namespace LoamHardware
