#include "LoamAdjLib/L2AdjToFecResourceTableResourceTable.h"

#include "Bursar/ResourceTableOf-defs.h"
#include "LoamAdjLib/Records.h"

template class BursarResourceTable::ResourceTableOf<LoamAdjLib::L2AdjToFecTraits>;

namespace LoamAdjLib {

L2AdjToFecResourceTableResourceTable::~L2AdjToFecResourceTableResourceTable() = default;

}  // namespace LoamAdjLib
