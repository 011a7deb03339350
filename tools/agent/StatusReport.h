// The answer to the operation `status`: how far each table and unit is, and what the resolver waits for.
#pragma once

#include "tools/agent/Host.h"

namespace Inlif {

Json statusReport(Host& host);

}  // namespace Inlif
