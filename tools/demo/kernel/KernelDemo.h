// `inlif demo --hardware kernel`: numbered frames of hundreds of logical interfaces through the kernel's data plane, while
// agent and writer are killed and come back, the configuration changes and a sweep runs.
#pragma once

#include "tools/demo/DemoCommand.h"

namespace Inlif {

// Exit status 1 when a frame was lost or treated wrongly, or client, store, image, kernel and its counters do not agree.
Outcome runKernelDemo(DemoOptions const& options);

}  // namespace Inlif
