#include "tools/agent/AgentCommand.h"

#include <malloc.h>
#include <sys/prctl.h>

#include <csignal>

#include "tools/agent/loop/EventLoop.h"
#include "tools/support/ErrorFile.h"

namespace Inlif {

Outcome runAgent(AgentOptions const& options) {
  // By itself the threshold rises with the first large buffer that is given back; those that come after it would lie in
  // the heap, and keep it large when their channel is gone.
  ::mallopt(M_MMAP_THRESHOLD, 60 * 1024);
  // A batch of operations gives its memory back and the next one takes it again: pages that went to the system in between
  // would cost more than the operations.
  ::mallopt(M_TRIM_THRESHOLD, 64 * 1024 * 1024);
  // Where the kernel makes huge pages by itself, it copies a part of the heap together and keeps each page fault of the
  // process waiting meanwhile: tens of milliseconds, in which nobody is answered.
  ::prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
  Pivot::Status status = tracesAre(options.traces);
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  status = storeIs(options.store, true);
  // A broken configuration is told before anything is made.
  ConfigOptions const& config = options.config;
  ConfigChange change;
  if (status.isOk() && !config.file.empty())
    status = changeOf({config.file, config.limits.mostBytes, nullptr, {}}, change);
  int signals = -1;
  if (status.isOk()) status = signalDescriptor({SIGHUP, SIGTERM, SIGINT}, signals);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  LoamAgent::Host host;
  status = host.open({.store = {}, .suppressInitialMark = options.restart.suppressInitialMark});
  if (!status.isOk()) return Outcome::refused(std::move(status));
  keepErrors(VexSharedMem::StoreRoot::Role::agent);
  EventLoop loop(host, options.config, options.restart, signals);
  status = loop.open(options.input, socketPath(options.store), options.restart.clients);
  if (status.isOk() && !config.file.empty()) status = loop.configure(std::move(change));
  if (status.isOk()) return Outcome::done(loop.run());
  return Outcome::refused(std::move(status));
}

}  // namespace Inlif
