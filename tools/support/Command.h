// What the commands of `inlif` share: how one ends, how trace options and signals are taken, and the store it
// works on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Pivot/Status.h"

namespace Inlif {

inline constexpr char const* kVersion = "inlif 0.1.0";

// How a command ended: refused with a line for the person who called it, or done with an exit status.
struct Outcome {
  Pivot::Status status = Pivot::Status::ok();
  int exitStatus = 0;

  static Outcome done(int exitStatus = 0) { return {Pivot::Status::ok(), exitStatus}; }
  static Outcome refused(Pivot::Status status) { return {std::move(status), 1}; }
};

// The number of an option, or a refusal that names option, value and bounds.
Pivot::Status numberOption(char const* name, std::string const& text, std::uint64_t least, std::uint64_t most,
                           std::uint64_t& out);

// The refusal for a system call that has just failed on `path`: "PATH: WHAT: the text of errno".
Pivot::Status systemFailure(std::string const& path, char const* what);

// One row of a table of figures on standard output.
void printRow(char const* name, std::string const& value);

// Sets the levels of "FACILITY/LEVEL" texts. All are checked before any is set.
Pivot::Status tracesAre(std::vector<std::string> const& options);

// For processes that go on when nobody takes what they say: a reader that has gone and a file at its limit fail a
// write, and raise no signal.
void outputMayFail();

// For the start of a program: a standard descriptor that is closed would go to the next file that is opened, and what
// is printed into that file.
void standardDescriptorsOpen();

// The descriptor on which the given signals arrive from now on, instead of interrupting; made before any
// other thread, so that all threads have them blocked.
Pivot::Status signalDescriptor(std::vector<int> const& signals, int& descriptor);

// Names the store directory for the process, making it when `make`; refuses what is no directory or cannot be
// entered.
Pivot::Status storeIs(std::string const& directory, bool make);

}  // namespace Inlif
