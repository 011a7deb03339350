// Printing again whenever the agent has published something, until interrupted.
#pragma once

#include <chrono>
#include <thread>

#include "Asic/GroupShoal.h"
#include "Shoal/SteadyReader.h"
#include "tools/support/Command.h"
#include "tools/support/Tables.h"

namespace Inlif {

inline constexpr std::chrono::milliseconds kFollow{250};

// Calls print() once, or with `follow` again after each announcement and at least every kFollow. print() tells whether all could be read; the last answer is the exit status.
template <class Print>
Outcome printAndFollow(Print print, bool follow) {
  Shoal::SteadyReader<Asic::AnnouncedRow> announced(announcedPath());
  for (;;) {
    bool const ready = follow && announced.ready();
    std::uint32_t const counter = ready ? announced.reader().changeCounter() : 0;
    bool const whole = print();
    flushOutput();
    if (!follow) return Outcome::done(whole ? kWell : kFound);
    if (ready)
      announced.reader().waitForChange(counter, kFollow);
    else
      std::this_thread::sleep_for(kFollow);
  }
}

}  // namespace Inlif
