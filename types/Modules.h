// The type modules of the family: one for each source unit of each instance, exported under a name that does
// not change from build to build. A module holds the records of the classes of its unit (Pivot/TypeRecords.h)
// and is announced when the library is loaded. The classes answer typeData() with their module and index;
// this room defines those answers, so that the family's own text knows no module.
#pragma once

#include "LoamInLif/Export.h"
#include "Pivot/TypeRecords.h"

// X(Instance, Unit, hash) for the modules of one instance, and of all. The hashes are part of the exported names
// and stay as they are.
#define LOAM_INLIF_MODULES_OF_InLif0(X)            \
  X(InLif0, EntryLog, 35b047539cb2eed6)            \
  X(InLif0, InfraTypes, ff40f8de6bfe0227)          \
  X(InLif0, Interface, 17464a233a8acac)            \
  X(InLif0, ResourceTableLinkage, 5e663a67bc32cb3) \
  X(InLif0, SwTableHelperBase, 8937c5997e158e61)   \
  X(InLif0, SwTable, cd5c64431dc64b53)
#define LOAM_INLIF_MODULES_OF_InLif1(X)             \
  X(InLif1, EntryLog, 8e7f86ddbe969acc)             \
  X(InLif1, InfraTypes, 3fe4f9dc8784cc23)           \
  X(InLif1, Interface, 77dfa9f74b79c2e4)            \
  X(InLif1, ResourceTableLinkage, 23be09ba56905395) \
  X(InLif1, SwTableHelperBase, ea1670d5b1bb3408)    \
  X(InLif1, SwTable, 3bfd1ff2f83eb2a5)
#define LOAM_INLIF_MODULES_OF_InLif23(X)            \
  X(InLif23, EntryLog, 60aa1d59fa493db5)            \
  X(InLif23, InfraTypes, ff5f7d432ae54054)          \
  X(InLif23, Interface, bd289a57633cdedc)           \
  X(InLif23, ResourceTableLinkage, a49afed830f6dab) \
  X(InLif23, SwTableHelperBase, 5b266d99e5fd2f67)   \
  X(InLif23, SwTable, db433ef7bdceed07)
#define LOAM_INLIF_EACH_MODULE(X) \
  LOAM_INLIF_MODULES_OF_InLif0(X) LOAM_INLIF_MODULES_OF_InLif1(X) LOAM_INLIF_MODULES_OF_InLif23(X)

// The modules themselves, and for each a short name under which this room speaks of it.
#define LOAM_INLIF_DECLARE_MODULE(Instance, Unit, hash)                                                  \
  extern LOAM_INLIF_EXPORT Pivot::ModuleRecords const _##Instance##Unit##_##hash##_vexModule;            \
  namespace LoamInLif::Modules {                                                                         \
  inline constexpr Pivot::ModuleRecords const* Instance##Unit = &_##Instance##Unit##_##hash##_vexModule; \
  }
LOAM_INLIF_EACH_MODULE(LOAM_INLIF_DECLARE_MODULE)
#undef LOAM_INLIF_DECLARE_MODULE
