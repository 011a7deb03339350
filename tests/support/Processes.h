// Processes that a test forks, and memory that they share with it.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <functional>

namespace TestSupport {

// Runs `work` in a process of its own; its result is the exit code.
inline pid_t forked(std::function<int()> const& work) {
  pid_t const child = ::fork();
  if (child != 0) return child;
  int code = 99;
  try {
    code = work();
  } catch (std::exception const& e) {
    std::fprintf(stderr, "child: %s\n", e.what());
  }
  ::_exit(code);
}
// Waits for its end; a signal that ended it counts negative.
inline int exitCode(pid_t child) {
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}
// What the processes that are forked from now on share.
template <class T>
T& shared() {
  return *new (::mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) T();
}

}  // namespace TestSupport
