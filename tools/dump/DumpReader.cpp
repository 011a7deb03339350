#include "tools/dump/DumpReader.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include "tools/agent/loop/Channel.h"
#include "tools/agent/operations/Target.h"
#include "tools/json/EntryJson.h"
#include "tools/support/Command.h"

namespace Inlif {
namespace {

Pivot::Status lineFrom(Value object, DumpLine& line) {
  ObjectReader in(object, ObjectPlace("load"));
  std::string_view const op = in.text("op");
  line.isUnit = op == "unit";
  if (in.isOk() && !line.isUnit && op != "write")
    in.refuse(fmt::format("'op' is {}; expected unit or write", shownText(op)));
  in.member("id");  // the file may have been spoken to an agent
  line.place = placeFrom(in);
  if (!line.isUnit) entryFrom(in, line.entry);
  return in.finish();
}

}  // namespace

Pivot::Status DumpReader::open(std::string const& file) {
  name_ = file == "-" ? "standard input" : file;
  int const in = file == "-" ? STDIN_FILENO : ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (in < 0) return systemFailure(file, "cannot be opened");
  constexpr std::size_t kPiece = 1 * kMiB;
  ssize_t got = 0;
  do {
    std::size_t const had = text_.size();
    text_.resize(had + kPiece);
    got = ::read(in, text_.data() + had, kPiece);
    text_.resize(had + static_cast<std::size_t>(got < 0 ? 0 : got));
  } while (got > 0);
  Pivot::Status status = got < 0 ? systemFailure(name_, "cannot be read") : Pivot::Status::ok();
  if (in != STDIN_FILENO) ::close(in);
  return status;
}

bool DumpReader::next(DumpLine& line, Pivot::Status& status) {
  std::string_view text;
  do {
    if (at_ >= text_.size()) return false;
    std::size_t const end = std::min(text_.find('\n', at_), text_.size());
    text = std::string_view(text_).substr(at_, end - at_);
    at_ = end + 1;
    ++number_;
  } while (text.find_first_not_of(" \t\r") == std::string_view::npos);
  line.number = number_;
  // With room for the id.
  status = text.size() + kMostId < Channel::kMostLine
               ? operationFrom(text, document_)
               : Pivot::Status::refused("load: the line is longer than an operation may be, 1 MiB");
  if (status.isOk()) status = lineFrom(document_.root(), line);
  return true;
}

Json DumpReader::operation() const {
  Json operation = jsonOf(document_.root());
  operation["id"] = number_;
  return operation;
}

}  // namespace Inlif
