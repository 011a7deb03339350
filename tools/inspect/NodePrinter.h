// How the nodes of an inspection are printed as they come: as an indented tree, or as one JSON document.
#pragma once

#include <memory>

#include "tools/json/ObjectReader.h"
#include "tools/support/Text.h"

namespace Inlif {

class NodePrinter {
 public:
  // The output of a tree; a document is written whole.
  static std::unique_ptr<NodePrinter> make(bool json, Output const& output);
  virtual ~NodePrinter() = default;

  // A node of an inspection (TreeWalk.h), parents first.
  virtual void print(Json const& node) = 0;
  // After the last node.
  virtual void end() = 0;
};

}  // namespace Inlif
