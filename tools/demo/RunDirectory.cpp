#include "tools/demo/RunDirectory.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace Inlif {

Pivot::Status RunDirectory::open(std::string const& wanted, char const* name) {
  if (!wanted.empty()) {
    path_ = wanted;
    keep_ = true;
    std::error_code error;
    std::filesystem::create_directories(path_, error);
    return error ? Pivot::Status::refused(fmt::format("--dir {}: {}; expected a directory that may be made",
                                                      wanted, error.message()))
                 : Pivot::Status::ok();
  }
  char const* const parent = std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
  std::string path = fmt::format("{}/inlif-{}-XXXXXX", parent, name);
  if (!mkdtemp(path.data())) return Pivot::Status::refused(fmt::format("{}: {}", path, std::strerror(errno)));
  path_ = path;
  return Pivot::Status::ok();
}

RunDirectory::~RunDirectory() {
  std::error_code ignored;
  if (!keep_ && !path_.empty()) std::filesystem::remove_all(path_, ignored);
}

}  // namespace Inlif
