#include "tools/support/ProcessView.h"

#include <fmt/format.h>

#include <chrono>

#include "Vex/UtcTime.h"

namespace Inlif {

using VexSharedMem::StoreRoot;

Json processJson(StoreRoot::Role role) {
  StoreRoot::Holder const holder = StoreRoot::holder(role);
  Json process = {{"alive", holder.alive}};
  if (holder.pid == 0) return process;
  process["pid"] = holder.pid;
  process["since"] = holder.since;
  if (!holder.alive) {
    process["lastSign"] = Vex::utcText(holder.lastSign);
  } else {
    auto const silent = std::chrono::system_clock::now() - holder.lastSign;
    if (silent > kSilence)
      process["silentMs"] = std::chrono::duration_cast<std::chrono::milliseconds>(silent).count();
  }
  return process;
}

Json processesJson() {
  return {{"agent", processJson(StoreRoot::Role::agent)}, {"writer", processJson(StoreRoot::Role::writer)}};
}

std::string processText(std::string const& name, Json const& process) {
  bool const alive = process["alive"].get<bool>();
  if (!process.contains("pid"))
    return fmt::format("{} {}", name, alive ? "starting" : "not running, and none has run here");
  std::string const since = process["since"].get<std::string>();
  if (!alive)
    return fmt::format("{} not running; the last one was process {}, from {} to {}", name,
                       jsonText(process["pid"]), since, process["lastSign"].get<std::string>());
  std::string text = fmt::format("{} running, process {} since {}", name, jsonText(process["pid"]), since);
  if (process.contains("silentMs"))
    text += fmt::format(", but it stands still: its last sign of life is {} old",
                        durationText(std::chrono::milliseconds(process["silentMs"].get<std::int64_t>())));
  return text;
}

Line processLine(std::string const& name, Json const& process) {
  bool const goesOn = process["alive"].get<bool>() && !process.contains("silentMs");
  return {processText(name, process), goesOn ? Tone::plain : Tone::fault};
}

}  // namespace Inlif
