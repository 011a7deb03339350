// What the commands of `inlif` share: how one ends, how trace options and signals are taken, and the store it
// works on.
#pragma once

#include <fmt/format.h>
#include <sys/types.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Pivot/Status.h"

namespace Inlif {

inline constexpr char const* kVersion = "inlif 0.1.0";

// How the program ends, whatever the command. docs/operator.md tells what each stands for.
enum ExitStatus : int { kWell = 0, kFound = 1, kWrongCommandLine = 2, kRefused = 3, kNoAnswer = 4 };

inline constexpr char const* kExitStatuses =
    "Exit status: 0 all is well; 1 something was found: a difference, damage, a leak; 2 the command line is "
    "wrong;\n"
    "3 refused, or not possible now; 4 no agent answered.";

// How a command ended: with an exit status, and with a line for the person who called it when not all is well.
struct Outcome {
  Pivot::Status status = Pivot::Status::ok();
  int exitStatus = kWell;

  static Outcome done(int exitStatus = kWell) { return {Pivot::Status::ok(), exitStatus}; }
  static Outcome found(Pivot::Status status) { return {std::move(status), kFound}; }
  static Outcome wrong(Pivot::Status status) { return {std::move(status), kWrongCommandLine}; }
  static Outcome refused(Pivot::Status status) { return {std::move(status), kRefused}; }
  static Outcome noAnswer(Pivot::Status status) { return {std::move(status), kNoAnswer}; }

  bool isWell() const { return status.isOk() && exitStatus == kWell; }
};

// The number of an option, or a refusal that names option, value and bounds.
Pivot::Status numberOption(char const* name, std::string const& text, std::uint64_t least, std::uint64_t most,
                           std::uint64_t& out);

// The refusal for a system call that has just failed on `path`: "PATH: WHAT: the text of errno".
Pivot::Status systemFailure(std::string const& path, char const* what);

// The path from the root; `name` begins the refusal where it cannot be told, as in a directory that was removed.
Pivot::Status absolutePath(char const* name, std::string const& path, std::string& absolute);

// Gives a file new contents. The name leads to the old ones or to the new ones, never to a part; the new ones are on their
// way to the disk, should there be one, before they get the name.
Pivot::Status replaceFile(std::string const& file, std::string const& text, mode_t mode);

// Prints beside the output, on standard error. What that does not take is lost, and no reason to end otherwise than without it.
template <class... Args>
void printAside(fmt::format_string<Args const&...> format, Args const&... args) {
  std::fputs(fmt::format(format, args...).c_str(), stderr);
}

// One row of a table of figures on standard output.
void printRow(char const* name, std::string const& value);

// The facilities of the program's libraries in ascending order, also those that trace only once there is a table.
std::vector<std::string> traceFacilities();
// The levels in "FACILITY/LEVEL" texts, in their order. A facility that no library of the program has is refused, with the
// one that may be meant; `head` begins the refusal.
using TraceLevels = std::vector<std::pair<std::string, int>>;
Pivot::Status traceLevelsFrom(std::vector<std::string> const& texts, std::string const& head,
                              TraceLevels& out);
// Sets them for this process.
void traceLevelsAre(TraceLevels const& levels);
// Both at once, for the option --trace.
Pivot::Status tracesAre(std::vector<std::string> const& options);

// For the start of a program: a reader that has gone and a file at its limit fail a write, and raise no signal.
void letOutputFail();

// For the start of a program: a standard descriptor that is closed would go to the next file that is opened, and what
// is printed into that file. Standard output takes nothing then.
void openStandardDescriptors();

// Runs a command to the end of its output. What it has printed is all it was called for: if standard output did not take
// all of that, this is a refusal, unless the command has one of its own to tell; without a line where the reader has gone,
// who knows.
Outcome withWholeOutput(std::function<Outcome()> const& run);

// What was printed so far goes out now. Throws what fmt throws when standard output does not take it.
void flushOutput();

// The descriptor on which the given signals arrive from now on, instead of interrupting; made before any
// other thread, so that all threads have them blocked.
Pivot::Status signalDescriptor(std::vector<int> const& signals, int& descriptor);

// Names the store directory for the process, making it when `make`; refuses what is no directory or cannot be
// entered, and without `make` a directory in which no agent and no writer has ever made a store.
Pivot::Status storeIs(std::string const& directory, bool make);

}  // namespace Inlif
