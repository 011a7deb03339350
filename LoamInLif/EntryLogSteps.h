#pragma once
// The places within a publication, a repair or a clean-up between two changes of the shared store, at which a
// test lets the process die. In the library a step is nothing; a test that builds the log's sources with
// LOAM_INLIF_STEP_HOOK sets a function that is called at each.

#ifdef LOAM_INLIF_STEP_HOOK
namespace LoamInLif {
inline void (*entryLogStepHook)() = nullptr;
}
#define LOAM_INLIF_STEP()                                                          \
  do {                                                                             \
    if (::LoamInLif::entryLogStepHook != nullptr) ::LoamInLif::entryLogStepHook(); \
  } while (false)
#else
#define LOAM_INLIF_STEP() static_cast<void>(0)
#endif
