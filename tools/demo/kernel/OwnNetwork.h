// A network of this process's own: a namespace that is the switch, one for the hosts around it, pairs of interfaces between
// the two, and a BPF file system that no other process sees.
//
// The namespaces have no names: they are what this process and its children are in. So the kernel takes all of it away when
// these have ended, however they end.
#pragma once

#include <string>
#include <vector>

#include "Pivot/Status.h"

namespace Inlif {

class OwnNetwork {
 public:
  struct Pair {
    std::string inSwitch;
    std::string atHost;
  };

  OwnNetwork() = default;
  ~OwnNetwork();
  OwnNetwork(OwnNetwork const&) = delete;
  OwnNetwork& operator=(OwnNetwork const&) = delete;

  // Moves this process into the switch, makes the pairs, and mounts the BPF file system on a directory that is made. Refused
  // in one line where that is not permitted. REQUIRES: the process has one thread.
  Pivot::Status open(std::string const& directory, std::vector<Pair> const& pairs);

  // A packet socket on an interface at the hosts' end; the caller closes it.
  Pivot::Status hostSocket(std::string const& interface, int& socket) const;

 private:
  std::string mounted_;
  int switch_ = -1;
  int hosts_ = -1;
};

}  // namespace Inlif
