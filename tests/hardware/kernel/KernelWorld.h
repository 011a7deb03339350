// A BPF file system and a network namespace of the test process's own, with its loopback as the only interface.
#pragma once

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>

#include <filesystem>
#include <string>

#include "support/TempStore.h"

namespace TestSupport {

class KernelWorld {
 public:
  KernelWorld() {
    static bool const isPermitted = ::unshare(CLONE_NEWNS | CLONE_NEWNET) == 0 &&
                                    ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    std::filesystem::create_directory(place_);
    isThere_ = isPermitted && ::mount("bpf", place_.c_str(), "bpf", 0, nullptr) == 0;
  }
  ~KernelWorld() {
    if (isThere_) ::umount2(place_.c_str(), MNT_DETACH);
    std::filesystem::remove(place_);
  }
  KernelWorld(KernelWorld const&) = delete;
  KernelWorld& operator=(KernelWorld const&) = delete;

  // False without the right to it: the test is to be skipped.
  bool isThere() const { return isThere_; }
  std::string const& place() const { return place_; }
  std::string pins() const { return place_ + "/pins"; }
  TempStore& store() { return store_; }

 private:
  TempStore store_;
  std::string const place_ = store_.directory() + "-bpf";
  bool isThere_ = false;
};

}  // namespace TestSupport
