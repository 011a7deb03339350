// The lines of a dump, as `inlif load` takes them: operations `unit` and `write` of the protocol, with or without an id.
//
// The file is kept in memory, so that it can be looked at whole before anything of it is done, also when it comes
// through a pipe.
#pragma once

#include <string>
#include <string_view>

#include "LoamTunnelNiLib/InLifModelEntry.h"
#include "agent/Host.h"
#include "tools/json/ObjectReader.h"

namespace Inlif {

struct DumpLine {
  std::size_t number = 0;  // from 1
  bool isUnit = false;     // otherwise a write
  LoamAgent::UnitPlace place;
  LoamTunnelNiLib::InLifModelEntry entry;
};

class DumpReader {
 public:
  // `file` may be "-", standard input.
  Pivot::Status open(std::string const& file);
  // As it is called in what is told of its lines.
  std::string const& name() const { return name_; }

  // Takes the next line that is not empty; false at the end. `status` is its refusal, without the place.
  bool next(DumpLine& line, Pivot::Status& status);
  // The operation of the line that was taken last, with its number as the id.
  Json operation() const;
  void rewind() { at_ = number_ = 0; }

 private:
  std::string name_;
  std::string text_;
  std::size_t at_ = 0;
  std::size_t number_ = 0;
  Document document_;
};

}  // namespace Inlif
