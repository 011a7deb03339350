// A record of a change log as a line for people; `inlif log` and `show log` print it alike.
#pragma once

#include "tools/json/Json.h"
#include "tools/support/Text.h"

namespace Inlif {

Line recordHeading();
// Of a record's members as JSON has them; with `all`, also fields that hold their defaults.
Line recordLine(Json const& record, bool all);

}  // namespace Inlif
