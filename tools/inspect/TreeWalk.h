// A walk over what stands at a place and what it consists of, one node a step, parents first.
//
// Each node is a JSON object: `depth` (0 at the place), `name`, and one of
//   value                  a word: number, truth value, text, or null
//   type                   an object, or a struct: its class. Where the parts of a struct do not follow, its text
//                          stands beside it as `value`
//   count, keyType, type   a collection or queue: number of members, type of key and of member
//   problem                what the reading raised
// Children follow down to the depth. Objects are kept by the walk, and collections are walked by key, so that
// it may go on over turns of the agent's loop while they change. On the agent's one thread.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "tools/inspect/PathWalk.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {

class TreeWalk {
 public:
  // The nodes of one level under one parent.
  class Level {
   public:
    virtual ~Level() = default;
    // Adds the next node's members to `node`, and gives the level of its children if it may have some; false
    // at the end.
    virtual bool next(Json& node, std::unique_ptr<Level>& below) = 0;
  };

  // depth: levels below the place that are walked.
  TreeWalk(Place const& place, std::string name, unsigned depth);
  // Over all roots.
  TreeWalk(std::vector<Root> const& roots, unsigned depth);

  // The next node; false at the end.
  bool step(Json& node);

 private:
  std::string name_;
  unsigned depth_;
  std::vector<std::unique_ptr<Level>> levels_;
};

}  // namespace Inlif
