// A directory for store and logs of demo or torture: a fresh one that is removed at the end unless the run
// failed, or one that somebody asked for, which stays.
#pragma once

#include <string>

#include "Pivot/Status.h"

namespace Inlif {

class RunDirectory {
 public:
  // `wanted` may be empty: then a fresh one, called after `name`, is made on the tmpfs of the machine.
  Pivot::Status open(std::string const& wanted, char const* name);
  ~RunDirectory();
  std::string const& path() const { return path_; }
  void keep() { keep_ = true; }

 private:
  std::string path_;
  bool keep_ = false;
};

}  // namespace Inlif
