#include "tests/soak/Script.h"

#include <algorithm>
#include <array>

#include "simulator/WordReader.h"

using simulator::toText;

std::size_t Surroundings::elements() const
{
  return 8 + 9 * (static_cast<std::size_t>(packets) - 1);
}

std::string describe(const Surroundings& all)
{
  return toText(all.gloves,
                all.gloves == 1    ? " glove, "
                : all.rightIsFirst ? " gloves, the right one first, "
                                   : " gloves, ",
                all.packets, " packets a frame, ", all.rate, " frames/s, clocks: glove ", all.gloveClock,
                " and ", all.clockError * 1e6, " ppm fast, host ", all.hostClock, "; ", all.operationUs,
                " us an operation, log level ", all.logLevel, all.isAtRest ? ", at rest" : "",
                all.isOld ? ", old" : "", all.skipsSensorCheck ? ", sensors not checked" : "",
                all.readsOn ? ", reads on" : "");
}

std::string describe(const Step& step)
{
  // In the order of Kind.
  static constexpr std::array words{
      "load", "create", "configure", "lose the log folder",     "read",   "wait",  "ask",
      "save", "close",  "release",   "release the earlier one", "unload", "event", "begin",
      "end",  "heal"};
  static_assert(words.size() == static_cast<std::size_t>(Step::Kind::heal) + 1);
  std::string text = words.at(static_cast<std::size_t>(step.kind));
  if (!step.text.empty()) text += ": " + step.text;
  if (step.wrapAfter > 0) text += toText(", the system's clock wraps after ", step.wrapAfter, " s");
  if (step.kind == Step::Kind::configure && step.seconds > 0)
    return toText(text, ", stopped after ", step.seconds, " s");
  return step.seconds > 0 ? toText(text, ", ", step.seconds, " s") : text;
}
