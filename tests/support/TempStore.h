// A store of a test's own: a directory below /dev/shm that is the root while the object lives and is removed
// with it.
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "Shoal/StoreRoot.h"

namespace TestSupport {

inline void mustBeOk(Pivot::Status const& status) {
  if (!status.isOk()) throw std::runtime_error(status.message());
}

class TempStore {
 public:
  using Role = VexSharedMem::StoreRoot::Role;

  TempStore() {
    directory_ =
        (std::filesystem::exists("/dev/shm") ? "/dev/shm" : "/tmp") + std::string("/loam-test-XXXXXX");
    if (mkdtemp(directory_.data()) == nullptr) throw std::runtime_error("no directory " + directory_);
    VexSharedMem::StoreRoot::rootIs(directory_);
  }
  ~TempStore() {
    VexSharedMem::StoreRoot::release();
    std::filesystem::remove_all(directory_);
  }
  TempStore(TempStore const&) = delete;
  TempStore& operator=(TempStore const&) = delete;

  std::string const& directory() const { return directory_; }
  // The file of a collection.
  std::string fileOf(std::string const& path) const { return directory_ + "/" + path + ".shoal"; }

  void claim(Role role = Role::agent) { mustBeOk(VexSharedMem::StoreRoot::claim(role)); }
  // Drops locks, manifests and everything that was mounted by path, as if the process had ended, and claims
  // the role again. Maps that the test mounted itself it destroys before.
  void reopen(Role role = Role::agent) {
    VexSharedMem::StoreRoot::release();
    claim(role);
  }

 private:
  std::string directory_;
};

}  // namespace TestSupport
