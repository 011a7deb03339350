// The collection types of the family announce themselves to the store when the library is loaded, so that a
// mount by path and type name finds them.
#include "LoamTunnelNiLib/InLifModelShoal.h"

#include "Shoal/EntityManager.h"

namespace LoamTunnelNiLib {
namespace {

[[maybe_unused]] bool const registered = [] {
  VexSharedMem::typeRegister<InLifModelEntryLogShoal>(InLifModelEntryLogShoal::kTypeName,
                                                      InLifModelEntryLogShoal::kStoreCapacity);
  VexSharedMem::typeRegister<InLifModelConfigShoal>(InLifModelConfigShoal::kTypeName);
  return true;
}();

}  // namespace

InLifModelEntryLogShoal::~InLifModelEntryLogShoal() = default;
InLifModelConfigShoal::~InLifModelConfigShoal() = default;

}  // namespace LoamTunnelNiLib
