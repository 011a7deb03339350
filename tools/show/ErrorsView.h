// `inlif show errors`: the kinds of errors that agent and writer of a store have told, with how often and when. Read from
// the store, so also of processes that stand still or have ended.
#pragma once

#include "tools/show/Selection.h"
#include "tools/support/Command.h"

namespace Inlif {

Outcome showErrors(Selection const& selection);

}  // namespace Inlif
