#include "tools/top/TopCommand.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cstdio>
#include <thread>

#include "tools/top/Terminal.h"
#include "tools/top/TopFigures.h"
#include "tools/top/TopScreen.h"

namespace Inlif {
namespace {

constexpr std::uint64_t kMostSecondsBetween = 3600;
// A rate needs two looks.
constexpr std::chrono::milliseconds kBetweenTwo{500};

Outcome lookOnce(TopFigures& figures, TopOptions const& options) {
  figures.take();
  std::this_thread::sleep_for(kBetweenTwo);
  Json const now = figures.take();
  if (options.json) {
    fmt::print("{}\n", jsonText(now));
    return Outcome::done();
  }
  Output(options.verbose).print(topLines(options.store, now, SIZE_MAX));
  return Outcome::done();
}

Outcome lookOn(TopFigures& figures, std::string const& store, std::chrono::milliseconds between) {
  Terminal terminal;
  Pivot::Status status = terminal.open();
  if (!status.isOk()) return Outcome::refused(std::move(status));
  Json now = figures.take();
  for (auto time = kBetweenTwo;; time = between) {
    terminal.draw(topLines(store, now, screenSize().rows));
    Terminal::Event const event = terminal.wait(time);
    if (event == Terminal::Event::ended) return Outcome::done();
    if (event == Terminal::Event::none) now = figures.take();
  }
}

}  // namespace

Outcome runTop(TopOptions const& options) {
  std::uint64_t seconds = 1;
  Pivot::Status status = numberOption("seconds", options.seconds, 1, kMostSecondsBetween, seconds);
  if (!status.isOk()) return Outcome::wrong(std::move(status));
  status = storeIs(options.store, false);
  if (!status.isOk()) return Outcome::refused(std::move(status));
  TopFigures figures(options.store);
  bool const isLive = !options.once && !options.json && isatty(STDOUT_FILENO) == 1;
  return isLive ? lookOn(figures, options.store, std::chrono::seconds(seconds)) : lookOnce(figures, options);
}

}  // namespace Inlif
