// Asks for a line of memory that is used a little later, so that whoever uses it does not wait for it. Everything
// that fetches ahead does so by this.
#pragma once

namespace Vex {

// To g++ a function that does nothing but fetch has no effect, and it leaves out the calls of such a function. The
// empty statement is an effect.
template <bool kForWriting = false>
inline void prefetch(void const* line) {
  __builtin_prefetch(line, kForWriting ? 1 : 0);
  asm volatile("");
}

}  // namespace Vex
