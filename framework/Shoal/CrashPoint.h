// The named places between two changes of the shared store at which a test lets the process die. In the
// libraries a crash point is nothing; a test that builds the sources with LOAM_CRASH_POINTS sets a function
// that is called at each. A name tells what has just been done, and belongs to one place.
#pragma once

#ifdef LOAM_CRASH_POINTS
namespace Shoal {
inline void (*crashPointHook)(char const* name) = nullptr;
}
#define LOAM_CRASH_POINT(name)                                             \
  do {                                                                     \
    if (::Shoal::crashPointHook != nullptr) ::Shoal::crashPointHook(name); \
  } while (false)
#else
#define LOAM_CRASH_POINT(name) static_cast<void>(0)
#endif
