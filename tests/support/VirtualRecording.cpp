#include "tests/support/VirtualRecording.h"

#include <stdexcept>

VirtualRecording::VirtualRecording(const RecordingPlan& plan)
    : plan_(plan), gloves_(plan.gloves.size(), plan.elements, plan.seed)
{
  for (const simulator::GloveConfig& config : plan.gloves) {
    gloves_.add(&config == &plan.gloves.front() ? "left" : "right", config);
  }
}

void VirtualRecording::takeCapture()
{
  const auto bytes = gloves_.takeCapture();
  if (onCapture) onCapture(bytes);
}

void VirtualRecording::run()
{
  for (const std::string& command : plan_.setup) {
    gloves_.execute(command);
  }
  {
    VirtualPlugin plugin(gloves_, pluginSettings(plan_.gloves.size(), plan_.elements));
    if (plugin.open()) throw std::runtime_error("the gloves can't be opened");
    if (onBegin) onBegin(gloves_.platform().uptime());
    read(plugin);
    if (onEnd) onEnd(gloves_.platform().uptime());
    plugin.close();
  }
  takeCapture();
}

void VirtualRecording::read(VirtualPlugin& plugin)
{
  const double begin = now();
  gloves_.schedule(plan_.scenario, begin, [this](const std::string& command) { gloves_.execute(command); });
  while (now() - begin < plan_.seconds) {
    const Time before = gloves_.platform().uptime();
    const auto [hasFailed, record] = plugin.read();
    if (record) {
      ++records_;
      if (onRecord) onRecord({before, gloves_.platform().uptime(), *record, plugin.store().elements()});
    }
    takeCapture();
    if (hasFailed && !gloves_.port().present) break;  // a failing read does not wait
  }
}
