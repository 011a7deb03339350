// A failure of the hardware in JSON and in words: what the agent tells its clients and what the commands show.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "LoamTunnelNiLib/InLifFailure.h"
#include "tools/json/Json.h"
#include "tools/support/Tables.h"

namespace Inlif {

// `table`, `unit`, `key` (not of a row about the unit), `version`, `operation`, `class`, `text`, `since`, `last`, `tries`;
// and `needs`, with table, unit and key, of an entry that stands without it.
Json failureJson(std::string const& table, LoamTunnelNiLib::InLifFailureRow const& row);
// "InLif1 unit 3 key 7: write refused as full since 2026-...: 64 of 64 entries stand (version 12, 3 tries)"
std::string failureText(Json const& failure);

// The class of a name, of those that can be tried again on request; nothing for one that is none, and for busy, which is
// tried by itself.
std::optional<LoamTunnelNiLib::FailureClass> retryClassOf(std::string_view name);
// "full", "invalid", ...; and in one text.
std::vector<std::string> retryClasses();
std::string retryClassNames();

}  // namespace Inlif
