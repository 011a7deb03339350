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
  return replaceFile(path_, jsonText(Json(names)) + "\n", 0600);
}

}  // namespace Inlif
