#include "tests/support/VirtualRecording.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "simulator/Scenario.h"
#include "simulator/WordReader.h"
#include "tests/support/VirtualPlugin.h"

using simulator::Duration;
using simulator::toText;

namespace {

Duration seconds(double value)
{
  return Duration{std::llround(value * 1e6)};
}

}  // namespace

simulator::GloveConfig RecordingPlan::glove(const std::string& name, std::uint8_t address)
{
  simulator::GloveConfig config;
  config.name = name;
  config.address = {address, 2, 3, 4, 5, 6};
  return config;
}

std::vector<simulator::GloveConfig> RecordingPlan::leftAndRight()
{
  return {glove("KVXGL00017", 1), glove("KVXGR00018", 2)};
}

VirtualRecording::VirtualRecording(const RecordingPlan& plan)
    : plan_(plan),
      port_(platform_.addPort("Bluegiga Bluetooth Low Energy (COM7)")),
      dongle_(platform_.clock),
      control_(dongle_, plan.seed),
      ledger_(plan.gloves.size(), plan.elements)
{
  for (const simulator::GloveConfig& config : plan.gloves) {
    simulator::Glove& glove = dongle_.addGlove(config);
    control_.addGlove(&config == &plan.gloves.front() ? "left" : "right", glove);
    ledger_.observe(glove, platform_.clock);
  }
  dongle_.onPresence = [this](bool isPresent) { port_.present = isPresent; };
  dongle_.onSend = [this](std::span<const std::uint8_t> message) { receive(message); };
  port_.onWrite = [this](std::span<const std::uint8_t> bytes) {
    noteConsumed();
    ledger_.write(bytes);
    dongle_.receive(bytes);
  };
}

double VirtualRecording::now() const
{
  return std::chrono::duration<double>(platform_.clock.now()).count();
}

void VirtualRecording::takeCapture()
{
  if (onCapture) onCapture(platform_.captured);
  platform_.captured.clear();
}

void VirtualRecording::receive(std::span<const std::uint8_t> message)
{
  const auto packet = ledger_.announced();
  ledger_.deliver(message);
  port_.waiting.insert(port_.waiting.end(), message.begin(), message.end());
  if (packet && packet->glove == 0 && !plan_.repeats.empty()) repeatFrame(*packet, message);
}

// Sends the frame again behind its last packet.
void VirtualRecording::repeatFrame(const Ledger::Packet& packet, std::span<const std::uint8_t> message)
{
  constexpr std::size_t count = 10;  // in a message with a first packet
  if (std::exchange(latestNumber_, packet.frame) != packet.frame) latestFrame_.clear();
  latestFrame_.emplace_back(message.begin(), message.end());
  const std::size_t packets = latestFrame_.front()[count] & 0x0FU;
  if (!repeatsFrame_ || latestFrame_.size() != packets) return;
  repeatsFrame_ = false;
  for (const auto& each : std::exchange(latestFrame_, {})) {
    ledger_.announce(packet);
    dongle_.inject(each);
  }
}

void VirtualRecording::run()
{
  for (const std::string& command : plan_.setup) {
    control_.execute(command);
  }
  platform_.capturing = true;
  record();
  ledger_.end();
  takeCapture();
}

void VirtualRecording::record()
{
  VirtualPlugin plugin{platform_, plan_.gloves.size(), plan_.elements};
  if (const std::int32_t result = plugin.hardware().configure(); result != 0) {
    throw std::runtime_error(toText("the gloves can't be opened: ", result));
  }
  noteConsumed();
  if (onBegin) onBegin(platform_.uptime());
  read(plugin.hardware(), plugin.store());
  if (onEnd) onEnd(platform_.uptime());
  plugin.hardware().close();
  noteConsumed();
}

void VirtualRecording::read(HwInterface& hardware, plugin::RecordStore& store)
{
  const double begin = now();
  simulator::Scenario scenario;
  for (const RecordingPlan::Step& step : plan_.scenario) {
    scenario.push_back({seconds(begin + step.at), step.command, control_.understand(step.command)});
  }
  simulator::schedule(std::move(scenario), platform_.clock, {});
  for (const double at : plan_.repeats) {
    platform_.clock.after(seconds(at), [this] { repeatsFrame_ = true; });
  }
  auto pause = plan_.pauses.begin();
  while (now() - begin < plan_.seconds) {
    if (pause != plan_.pauses.end() && now() - begin >= pause->at) {
      platform_.clock.advance(seconds(pause++->seconds));
    }
    const Time before = platform_.uptime();
    const std::int32_t result = hardware.readRecord();
    const bool isNew = result == 0 && store.takeNew();
    noteConsumed();
    accept(store, isNew, before, now() - begin);
    takeCapture();
    if (result != 0 && !port_.present) break;  // a failing read does not wait
  }
}

void VirtualRecording::accept(plugin::RecordStore& store, bool isNew, Time before, double second)
{
  const bool isWritten = second < plan_.writtenSeconds;
  const auto expected = ledger_.turn(isWritten);
  if (expected.has_value() != isNew || (isNew && !std::ranges::equal(expected->elements, store.elements()))) {
    throw std::runtime_error(toText("after ", now(), " s the plug-in delivered ",
                                    isNew ? "another record than expected" : "no record"));
  }
  if (!isNew) return;
  ++records_;
  if (onRecord) onRecord({before, platform_.uptime(), isWritten, *expected, store.elements()});
}
