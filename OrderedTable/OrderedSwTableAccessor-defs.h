// All bodies of OrderedSwTableAccessor. Included where a table's operations are instantiated, and nowhere
// else.
#pragma once

#include "OrderedTable/OrderedSwTableAccessor-commit.h"
#include "OrderedTable/OrderedSwTableAccessor-read.h"
#include "OrderedTable/OrderedSwTableAccessor-resolve.h"
#include "OrderedTable/OrderedSwTableAccessor-restart.h"
#include "OrderedTable/OrderedSwTableAccessor-update.h"
#include "OrderedTable/OrderedSwTableAccessor-write.h"
