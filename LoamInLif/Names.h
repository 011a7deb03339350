// The names of the family, and nothing else: which instances there are, and what each kind of linkage is
// called. Headers that declare one class per instance or per linkage stamp its name out of these lists, so
// that each is a real class, which can be forward-declared and which a debugger shows under its own name.
// What a name means stands in Instance.h and Kinds.h.
#pragma once

// X(Instance, instance): the name as classes carry it and as factories and attributes begin with it.
#define LOAM_INLIF_EACH_INSTANCE(X) \
  X(InLif0, inLif0)                 \
  X(InLif1, inLif1)                 \
  X(InLif23, inLif23)

// X(Instance, instance, Kind, kind) for the ten kinds in linkage order; `kind` begins the table's attribute,
// kindLinkage.
#define LOAM_INLIF_EACH_KIND_OF(X, Instance, instance)                              \
  X(Instance, instance, InLifData, inLifData)                                       \
  X(Instance, instance, InLifDataVlan, inLifDataVlan)                               \
  X(Instance, instance, Srv6EndpointCrpsIndexRequest, srv6EndpointCrpsIndexRequest) \
  X(Instance, instance, L2CrpsIndexRequest, l2CrpsIndexRequest)                     \
  X(Instance, instance, L3CrpsIndexRequest, l3CrpsIndexRequest)                     \
  X(Instance, instance, LearnEnable, learnEnable)                                   \
  X(Instance, instance, LearnEnableVlan, learnEnableVlan)                           \
  X(Instance, instance, VlanEditProfile, vlanEditProfile)                           \
  X(Instance, instance, QosProfile, qosProfile)                                     \
  X(Instance, instance, L2AdjToFec, l2AdjToFec)

// X(Kind, keyField, handleField, resolvedField) for the ten kinds in linkage order: the fields of an entry
// and its wrapper.
#define LOAM_INLIF_EACH_KIND(X)                                                                       \
  X(InLifData, inLifDataKey, inLifDataKeyResPtr, inLifData)                                           \
  X(InLifDataVlan, inLifDataVlanKey, inLifDataVlanKeyResPtr, inLifDataVlan)                           \
  X(Srv6EndpointCrpsIndexRequest, srv6EndpointCounterRequestKey, srv6EndpointCounterRequestKeyResPtr, \
    srv6EndpointCounterIndex)                                                                         \
  X(L2CrpsIndexRequest, l2CounterRequestKey, l2CounterRequestKeyResPtr, l2CrpsIndex)                  \
  X(L3CrpsIndexRequest, l3CounterRequestKey, l3CounterRequestKeyResPtr, l3CrpsIndex)                  \
  X(LearnEnable, learnEnableKey, learnEnableKeyResPtr, learnEnable)                                   \
  X(LearnEnableVlan, learnEnableVlanKey, learnEnableVlanKeyResPtr, learnEnableVlan)                   \
  X(VlanEditProfile, vlanEditProfileKey, vlanEditProfileKeyResPtr, vlanEditProfile)                   \
  X(QosProfile, qosProfileKey, qosProfileKeyResPtr, qosProfile)                                       \
  X(L2AdjToFec, l2AdjId, l2AdjIdResPtr, fecId)
