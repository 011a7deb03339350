// The kernel as hardware, as commands name it: what their options say, and what a build without it answers.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "hardware/Hardware.h"
#include "tools/check/CheckResult.h"

namespace Inlif {

inline constexpr char const* kDefaultPins = "/sys/fs/bpf/inlif";

struct KernelArguments {
  std::string pins = kDefaultPins;
  std::vector<std::string> ports;  // PORT=INTERFACE[:EGRESS][,tpid=TPID]
  std::string xdp = "generic";
};

// The hardware that the arguments ask for; it is opened by the writer. Refused when they cannot be read, or the build has
// no such target.
Pivot::Status kernelHardware(KernelArguments const& arguments,
                             std::unique_ptr<LoamHardware::Hardware>& hardware);

// Holds what is pinned below `pins` against the images of the store, which say what stands: appends each entry
// that is in one of the two alone, or differs. Of a writer at work some may be on their way. Refused when one of
// the two cannot be read.
Pivot::Status comparePinned(std::string const& pins, std::size_t& entries,
                            std::vector<CheckFinding>& findings);

}  // namespace Inlif
