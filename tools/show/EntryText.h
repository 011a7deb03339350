// What an entry holds, in words for one line: from the members that addEntry and addLogEntry give it.
#pragma once

#include <string>

#include "tools/json/Json.h"

namespace Inlif {

// What stands beyond the defaults: "qosProfile 1, client 01ff"; with `all` the defaults too.
std::string contentText(Json const& entry, bool all);
// The resource keys with what they gave: "qosProfileKey {"intf":"Ethernet1"} -> 4, client 01ff".
std::string keysText(Json const& entry, bool all);
// Fields with their old and new values: "fecId 0 -> 1, client[3..4] 0102 -> 0304".
std::string changesText(Json const& changedFields);
// The client's own part without the zeros at its end, unless `all`; empty for zeros alone.
std::string clientText(Json const& entry, bool all);

// "Ethernet4: TEXT" where the interface of the entry is known.
std::string withInterface(Json const& entry, std::string text);

}  // namespace Inlif
