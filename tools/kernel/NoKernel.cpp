// What stands for the kernel as hardware in a build that was made without libbpf or clang for BPF.
#include "tools/demo/kernel/KernelDemo.h"
#include "tools/kernel/KernelTarget.h"

namespace Inlif {
namespace {

Pivot::Status leftOut() {
  return Pivot::Status::refused(
      "this build has no kernel as hardware: libbpf or clang for BPF was missing when it was made; expected "
      "a build made "
      "with the packages libbpf-dev and clang");
}

}  // namespace

Pivot::Status kernelHardware(KernelArguments const&, std::unique_ptr<LoamHardware::Hardware>&) {
  return leftOut();
}

Pivot::Status comparePinned(std::string const&, std::size_t&, std::vector<CheckFinding>&) {
  return leftOut();
}

Outcome runKernelDemo(DemoOptions const&) {
  return Outcome::refused(leftOut());
}

}  // namespace Inlif
