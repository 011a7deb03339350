#include "tools/agent/operations/TraceAnswer.h"

#include "Vex/ErrorLog.h"
#include "Vex/Trace.h"
#include "tools/support/Command.h"

namespace Inlif {
namespace {

TraceLevels levelsFrom(ObjectReader& in) {
  TraceLevels levels;
  Value const list = in.member("levels");
  if (!list) return levels;
  std::vector<std::string> texts;
  if (list.isArray()) {
    for (Value const one : list) texts.emplace_back(one.isText() ? one.text() : one.source());
    Pivot::Status const status = traceLevelsFrom(texts, "'levels':", levels);
    if (!status.isOk()) in.refuse(status.message());
  } else {
    in.refuse("'levels' is " + shown(list) + "; expected an array of texts FACILITY/LEVEL");
  }
  return levels;
}

}  // namespace

bool traceAnswer(ObjectReader& in, Json& report) {
  TraceLevels const levels = levelsFrom(in);
  Vex::LineFold::Limit limit = Vex::ErrorLog::limit();
  limit.lines = static_cast<unsigned>(in.numberOr("lines", limit.lines, kMostTraceLines, 1));
  limit.window = std::chrono::seconds(
      in.numberOr("seconds", static_cast<std::uint64_t>(limit.window.count()), kMostTraceSeconds, 1));
  if (!in.finish().isOk()) return false;
  traceLevelsAre(levels);
  Vex::ErrorLog::limitIs(limit);
  report["levels"] = Json::object();
  for (std::string const& facility : Vex::TraceControl::facilities())
    report["levels"][facility] = Vex::TraceControl::level(facility);
  report["lines"] = limit.lines;
  report["seconds"] = limit.window.count();
  return true;
}

}  // namespace Inlif
