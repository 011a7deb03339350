// The names of the clients that have registered, in a file of the store root: an array of texts as JSON. It is replaced
// whole, so that an agent that is killed at any moment leaves the old names or the new ones. The event loop owns the one
// object that writes; a check of the store reads.
#pragma once

#include <string>
#include <vector>

#include "agent/RestartClients.h"

namespace Inlif {

class ClientsFile final : public LoamAgent::ClientMemory {
 public:
  static constexpr char const* kName = "clients.json";  // below the root

  explicit ClientsFile(std::string path) : path_(std::move(path)) {}

  // None when the file is missing.
  Pivot::Status recall(std::vector<std::string>& names) override;
  Pivot::Status remember(std::vector<std::string> const& names) override;

 private:
  std::string const path_;
};

}  // namespace Inlif
