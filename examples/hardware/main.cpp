// A writer of the hardware for the chip of ToySdk.h.
//
//   toy-writer kit [SEED]           runs the checks of the kit on the chip
//   toy-writer STORE AGENT.GROUP NAMESPACE TABLE=ID...   drives it from a store, until SIGTERM or SIGINT
//
// The tables of the command `inlif`, for instance:
//   toy-writer /dev/shm/loam LoamTunnelNi.LoamInLifGroup LoamInLif InLif0=0x14080401 ...
#include <Shoal/StoreRoot.h>
#include <hardware/Writer.h>
#include <hardware/kit/Kit.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "ToyHardware.h"

namespace {

class ToySpecimen final : public LoamHardware::Specimen {
 public:
  std::unique_ptr<LoamHardware::Hardware> connect() override { return std::make_unique<ToyHardware>(); }
  bool reset() override { return toysdk::powerCycle(), true; }
};

int fail(Pivot::Status const& status) {
  std::fprintf(stderr, "toy-writer: %s\n", status.message().c_str());
  return 1;
}

int drive(char const* store, Asic::GroupInfo const& group) {
  sigset_t ends;
  sigemptyset(&ends);
  sigaddset(&ends, SIGTERM);
  sigaddset(&ends, SIGINT);
  sigprocmask(SIG_BLOCK, &ends, nullptr);

  VexSharedMem::StoreRoot::rootIs(store);
  ToyHardware hardware;
  LoamHardware::Writer writer(group, hardware);
  int descriptor = -1;
  Pivot::Status status = writer.open();
  if (status.isOk()) status = writer.watch(descriptor);
  if (!status.isOk()) return fail(status);

  pollfd waits[] = {{descriptor, POLLIN, 0}, {signalfd(-1, &ends, SFD_CLOEXEC), POLLIN, 0}};
  while (waits[1].revents == 0) {
    // A turn that gave less than it might has nothing more to give: what is left waits.
    bool const more = writer.turn(1000) == 1000;
    status = VexSharedMem::StoreRoot::giveSignOfLife();
    if (!status.isOk()) return fail(status);
    auto const rest = std::chrono::ceil<std::chrono::milliseconds>(writer.nextDeadline() -
                                                                   LoamHardware::Writer::Clock::now());
    poll(waits, 2, more ? 0 : static_cast<int>(std::max<long>(rest.count(), 0)));
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 2 && std::string(argv[1]) == "kit") {
    ToySpecimen specimen;
    return LoamHardware::kitMain(specimen, argc - 1, argv + 1);
  }
  if (argc < 5)
    return std::fprintf(stderr, "toy-writer kit [SEED] | STORE AGENT.GROUP NAMESPACE TABLE=ID...\n"), 2;
  Asic::GroupInfo group(argv[2]);
  for (int i = 4; i < argc; ++i) {
    std::string const table = argv[i];
    auto const at = table.find('=');
    if (at == std::string::npos)
      return std::fprintf(stderr, "toy-writer: %s: expected TABLE=ID\n", argv[i]), 2;
    auto const id = static_cast<std::uint32_t>(std::strtoul(table.c_str() + at + 1, nullptr, 0));
    group.tables.emplace_back(argv[2], argv[3], table.substr(0, at), Asic::SwTableId(id));
  }
  return drive(argv[1], group);
}
