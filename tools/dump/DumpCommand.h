// `inlif dump`: what stands in the tables of a store, as lines that `inlif load` takes. Read-only, beside running
// processes or without them.
#pragma once

#include "tools/show/ShowCommand.h"

namespace Inlif {

// Of the options counts where the store is, and which table and unit are asked for. Exit status 1 when a record could
// not be read, 3 when the lines could not be written.
Outcome runDump(ShowOptions const& options);

}  // namespace Inlif
