#include "LoamTunnelNiLib/InLifImage.h"

#include "Shoal/EntityManager.h"

namespace LoamTunnelNiLib {
namespace {

[[maybe_unused]] bool const registered = [] {
  VexSharedMem::typeRegister<InLifImage>(InLifImage::kTypeName);
  return true;
}();

}  // namespace

InLifImage::~InLifImage() = default;

}  // namespace LoamTunnelNiLib
