// The errors of an agent or a writer, kept in the store beside its lock: .errors-agent and .errors-writer.
//
//   row     bytes   contents                                                    who writes it, when
//   0       512     the process: {"pid", "since"}                               the owner of the role, at its start
//   1..127  512     a row each of its error log (Vex/ErrorLog.h), or blank      the owner, at each error
//
// A row is one JSON object, blanks, and a line end. The file has its size from the start and its rows are written over in
// place, so it works on a full file system, and what a dead process told last can still be read. A reader that meets a
// row while it is written finds no JSON, or an object with the values of two moments; it asks again for the first.
#pragma once

#include <vector>

#include "Shoal/StoreRoot.h"
#include "Vex/ErrorLog.h"
#include "tools/json/Json.h"

namespace Inlif {

// `level`, `origin`, `count`, `since`, `last` and `text` (that of the last one).
Json errorJson(Vex::ErrorLog::Row const& row);

// Keeps the errors of this process in the file of a role that it holds, from now on. Without room for it none are kept,
// which is an error itself.
void keepErrors(VexSharedMem::StoreRoot::Role role);

// The errors of the process that holds a role or held it last, in the order in which their kinds came; `process` is what
// row 0 tells, null when no errors were ever kept.
std::vector<Json> keptErrors(VexSharedMem::StoreRoot::Role role, Json& process);

}  // namespace Inlif
