#pragma once
// Included by the one file of each instance that instantiates its ten linkages.
#include "LoamInLif/LinkageOf-defs.h"
#include "Pivot/Node.h"

#define LOAM_INLIF_INSTANTIATE_LINKAGE(Instance, instance, Name, name)                                    \
  template class LocalUsageUpdateSmOf<Instance, Name##Kind>;                                              \
  template class LinkageOf<Instance, Name##Kind>;                                                         \
  Pivot::Ptr<Instance##Name##Linkage> Instance##Name##Linkage::Instance##Name##LinkageIs(                 \
      SwTable* swTable, Pivot::Ptr<ClientInstance> const& resTblClient) {                                 \
    return Pivot::make<Instance##Name##Linkage>(swTable, resTblClient);                                   \
  }                                                                                                       \
  Pivot::Ptr<Instance##Name##Linkage> instance##Name##LinkageFactory(                                     \
      Instance##SwTable* swTable, Pivot::Ptr<Name##Kind::ClientInstance> const& resTblClient) {           \
    return Instance##Name##Linkage::Instance##Name##LinkageIs(swTable, resTblClient);                     \
  }                                                                                                       \
  auto Instance##Name##Linkage::LocalUsageUpdateSm::LocalUsageUpdateSmIs(ResourcePtr const& resPtr,       \
                                                                         Instance##Name##Linkage* parent) \
      ->Pivot::Ptr<LocalUsageUpdateSm> {                                                                  \
    return makeActive<LocalUsageUpdateSm>(resPtr, parent);                                                \
  }                                                                                                       \
  auto Instance##Name##Linkage::localUsageUpdateSmFactory(ResourcePtr const& resPtr,                      \
                                                          Instance##Name##Linkage* parent)                \
      ->Pivot::Ptr<LocalUsageUpdateSm> {                                                                  \
    return LocalUsageUpdateSm::LocalUsageUpdateSmIs(resPtr, parent);                                      \
  }
