// How far each table is, as anybody can see it in the store: versions written, announced, applied and
// reported, and the record that the writer of the hardware holds back, with what it waits for.
#pragma once

#include "tools/json/ObjectReader.h"
#include "tools/show/Selection.h"

namespace Inlif {

// Adds to the object of a unit its `entries` and those `inDeletion`, counted in its configuration, or the `problem` of one
// that cannot be read, or not wholly.
void addEntryCounts(Json& unit, std::string const& configPath);

// One object for each selected table. A number that nobody has stored yet is null.
std::vector<Json> statusView(Selection const& selection);

}  // namespace Inlif
