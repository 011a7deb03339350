// A process that can open nothing more, while one of these lives.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace TestSupport {

class OutOfDescriptors {
 public:
  OutOfDescriptors() {
    EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &before_), 0);
    int const next = ::open("/", O_RDONLY | O_CLOEXEC);
    ::close(next);
    rlimit const none{static_cast<rlim_t>(next), before_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
  }
  ~OutOfDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }
  OutOfDescriptors(OutOfDescriptors const&) = delete;
  OutOfDescriptors& operator=(OutOfDescriptors const&) = delete;

 private:
  rlimit before_{};
};

}  // namespace TestSupport
