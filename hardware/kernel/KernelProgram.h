// The program of the data plane in the kernel: loaded with its maps, which are pinned below one directory, and attached to
// ports by links that are pinned there as well. So maps and links outlive the writer, and frames go on while there is none.
//
// Owned by the writer. A process killed within load() leaves some of the maps pinned and the others missing; the next one
// takes those over and makes these. Killed within attach(): the port has the earlier program, or the new one, and the frames
// that come meanwhile meet one of the two.
#pragma once

#include <string>
#include <string_view>

#include "Pivot/Status.h"
#include "hardware/kernel/KernelMaps.h"

struct bpf_object;

namespace LoamHardware {

// How a port of the switch is wired to interfaces of this host.
struct PortWiring {
  std::string name;        // of the port, for messages and the pin
  std::string interface;   // on which its frames come in
  std::string egress;      // to which they go on; empty: the host's own network stack
  std::uint32_t port = 0;  // bits 31 to 14 of the keys of the port's entries
  Asic::UnitId unit = 0;
  std::uint16_t userTpid = 0;
};

// Where a frame meets the program. generic works on every interface, native in drivers that know it.
enum class XdpMode { generic, native };

class KernelProgram {
 public:
  KernelProgram() = default;
  ~KernelProgram();
  KernelProgram(KernelProgram const&) = delete;
  KernelProgram& operator=(KernelProgram const&) = delete;

  // Takes over the maps that are pinned below `pins`, makes and pins the others, and loads the program on them. Refused in
  // one line when this process may not, there is no BPF file system, or what is pinned has another layout.
  Pivot::Status load(std::string const& pins);
  // Wires a port. One that has been wired before gets the new program and the new wiring without a gap.
  Pivot::Status attach(KernelMaps& maps, PortWiring const& wiring, XdpMode mode);
  // For letting single frames through it. REQUIRES: load() was ok.
  int descriptor() const;

 private:
  std::string pins_;
  bpf_object* object_ = nullptr;
};

}  // namespace LoamHardware
