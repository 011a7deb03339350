// Looks a whole store through: each file by itself, then what the files say of each other. `inlif check` is
// the command; demo, torture and the tests that kill and damage a store end with the plain function.
#pragma once

#include <string>

#include "tools/check/CheckResult.h"
#include "tools/check/StoreContents.h"

namespace Inlif {

// Checks the store below `directory`, which becomes the root of this process. It holds no lock and changes
// nothing. REQUIRES: this process has no role in another store; what the owners change meanwhile may show as
// a finding that is none.
CheckResult checkStore(std::string const& directory, CheckLimits const& limits = {});

// Moves the collections that findings name as damaged into the folder of lost files, each under a new name;
// nothing is deleted. Gives the files that were moved. REQUIRES: the caller holds both roles' locks.
Pivot::Status moveAside(CheckResult const& result, std::vector<std::string>& moved);

}  // namespace Inlif
