#include "host/doctor/ComputerSteps.h"

#include <fmt/format.h>

#include "host/doctor/StepResults.h"

namespace {

Step usbStep(const SystemFacts& facts)
{
  constexpr const char* name = "usb";
  if (const Port* const port = facts.port()) return ok(name, port->friendlyText);
  return failed(
      name, noDongle(facts.ports, facts.portsVariable),
      "\nIf it is plugged in, install the driver of its manufacturer. It must be listed under \"Ports\" "
      "in:\ndevmgmt.msc");
}

Step portStep(const SystemFacts& facts)
{
  constexpr const char* name = "port";
  const Port* const port = facts.port();
  if (port == nullptr) return skipped(name, "there is no dongle");
  if (port->state != PortState::free) return failed(name, unusable(*port));
  return ok(name, fmt::format("{} can be opened", port->path));
}

}  // namespace

std::vector<Step> hardwareSteps(const SystemFacts& facts)
{
  return {usbStep(facts), portStep(facts)};
}
