// Checks of an implementation of Hardware: the real writer on a store of its own, driven by an agent that is played, with
// deaths, resets and full tables, and what stands in the hardware compared with what should.
//
// Whoever implements Hardware derives a Specimen, which says how to reach the piece of hardware, and calls runKit(), or
// kitMain() from a program of a few lines. Each check begins with an empty store; the hardware is as the last one
// left it. Not for hardware that carries traffic: everything on it is removed.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hardware/Hardware.h"

namespace LoamHardware {

class Specimen {
 public:
  virtual ~Specimen() = default;

  // A driver of the piece of hardware, as a new process would make one. The one made before has been destroyed: by the
  // destructor, after a death too, so that shall do nothing that a killed process would not.
  virtual std::unique_ptr<Hardware> connect() = 0;
  // Makes the hardware forget what it holds, beside its driver, as a power cycle would. False: that cannot be done, and what
  // depends on it is left out.
  virtual bool reset() { return false; }
  // What stands, told by another way than the driver's; nothing where there is none: then it is read back.
  virtual std::optional<std::vector<LoamTunnelNiLib::InLifModelLogEntry>> standing(UnitTable place) {
    static_cast<void>(place);
    return std::nullopt;
  }
  // An entry that the hardware never takes; nothing: it takes all.
  virtual std::optional<LoamTunnelNiLib::InLifModelLogEntry> unacceptable() { return std::nullopt; }
};

struct KitOptions {
  std::string directory;     // of the stores; it exists, is empty, and best lies on a tmpfs
  std::uint64_t seed = 1;    // of all choices
  std::size_t deaths = 150;  // how many calls deep the checks of deaths go
};

struct KitCheck {
  enum class End : std::uint8_t { passed, failed, leftOut };

  std::string name;
  End end = End::passed;
  std::string what;  // the first fault, or why it was left out
};

// REQUIRES: this process has no role in a store.
std::vector<KitCheck> runKit(Specimen& specimen, KitOptions const& options);
// The same as a program: prints a line for each check and gives the exit status, 1 when one failed. Arguments: a seed.
int kitMain(Specimen& specimen, int argc, char** argv);

}  // namespace LoamHardware
