// What the records of all units share. Each unit has one text with the records of its classes, written once
// over the instance I; the source of the instance stamps the modules from them (InLifN-defs.h).
//
// A place is counted from the beginning of the object. The classes of the family have one base each and no
// virtual one, so that offsetof is exact although they are no standard-layout classes.
#pragma once

#include <cstddef>
#include <iostream>  // starts the standard streams before anything of the library can write to them

#include "LoamInLif/Instance.h"
#include "Pivot/CollectionRows.h"
#include "Pivot/FieldRows.h"
#include "Pivot/HideMe.h"
#include "Pivot/ModuleTables.h"
#include "types/TypeNames.h"

#pragma GCC diagnostic ignored "-Winvalid-offsetof"

namespace LoamInLif {

using Pivot::Inspect::collection;
using Pivot::Inspect::computed;
using Pivot::Inspect::constructedBy;
using Pivot::Inspect::listed;
using Pivot::Inspect::made;
using Pivot::Inspect::MapAccess;
using Pivot::Inspect::operation;
using Pivot::Inspect::queue;
using Pivot::Inspect::Record;
using Pivot::Inspect::SetAccess;
using Pivot::Inspect::stored;

// The ...Is operation of a class that bears the class's own name.
template <class Class>
inline constexpr auto makerOf = nullptr;

}  // namespace LoamInLif
