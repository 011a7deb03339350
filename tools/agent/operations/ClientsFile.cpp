#include "tools/agent/operations/ClientsFile.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "tools/json/Document.h"
#include "tools/support/Command.h"

namespace Inlif {
namespace {

using LoamAgent::RestartClients;

bool writeAll(int descriptor, std::string_view text) {
  while (!text.empty()) {
    ssize_t const count = ::write(descriptor, text.data(), text.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

// The name leads to the old contents or the new ones, never to a part. The new ones are on their way to the
// disk, should there be one, before they get the name.
Pivot::Status replaceFile(std::string const& file, std::string const& text) {
  std::string const fresh = file + ".new";
  int const descriptor = ::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (descriptor < 0) return systemFailure(fresh, "cannot be made");
  bool const written = writeAll(descriptor, text) && ::fsync(descriptor) == 0;
  Pivot::Status status = written ? Pivot::Status::ok() : systemFailure(fresh, "cannot be written");
  ::close(descriptor);
  if (status.isOk() && ::rename(fresh.c_str(), file.c_str()) != 0)
    status = systemFailure(file, "cannot be replaced");
  if (!status.isOk()) ::unlink(fresh.c_str());
  return status;
}

}  // namespace

Pivot::Status ClientsFile::recall(std::vector<std::string>& names) {
  constexpr char const* kMeaning =
      "The file names the clients that a sweep has to wait for; without it none is waited for that does not "
      "register again";
  if (::access(path_.c_str(), F_OK) != 0 && errno == ENOENT) return Pivot::Status::ok();
  Document document;
  Pivot::Status status = document.read(path_);
  if (!status.isOk()) return Pivot::Status::refused(fmt::format("{}. {}", status.message(), kMeaning));
  Value const root = document.root();
  bool const good = root.isArray() && std::ranges::all_of(root, [](Value name) {
                      return name.isText() && RestartClients::isName(std::string(name.text()));
                    });
  if (!good)
    return Pivot::Status::refused(
        fmt::format("{}: holds {}; expected an array of names of up to {} bytes. {}", path_, shown(root),
                    RestartClients::kMostName, kMeaning));
  for (Value const name : root) names.emplace_back(name.text());
  return status;
}

Pivot::Status ClientsFile::remember(std::vector<std::string> const& names) {
  return replaceFile(path_, Json(names).dump(-1, ' ', false, Json::error_handler_t::replace) + "\n");
}

}  // namespace Inlif
