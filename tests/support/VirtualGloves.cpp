#include "tests/support/VirtualGloves.h"

#include <algorithm>
#include <cmath>
#include <utility>

using simulator::Duration;

Duration virtualSeconds(double value)
{
  return Duration{std::llround(value * 1e6)};
}

simulator::GloveConfig VirtualGloves::glove(const std::string& name, std::uint8_t address)
{
  simulator::GloveConfig config;
  config.name = name;
  config.address = {address, 2, 3, 4, 5, 6};
  return config;
}

std::vector<simulator::GloveConfig> VirtualGloves::leftAndRight()
{
  return {glove("KVXGL00017", 1), glove("KVXGR00018", 2)};
}

VirtualGloves::VirtualGloves(std::size_t gloves, std::size_t elements, std::uint64_t seed)
    : port_(platform_.addPort("Bluegiga Bluetooth Low Energy (COM7)")),
      dongle_(platform_.clock),
      control_(dongle_, seed),
      ledger_(gloves, elements)
{
  platform_.capturing = true;
  dongle_.onPresence = [this](bool isPresent) { port_.present = isPresent; };
  dongle_.onSend = [this](std::span<const std::uint8_t> message) { receive(message); };
  port_.onRefusedWrite = [this](std::span<const std::uint8_t> bytes) { ledger_.refuseWrite(bytes); };
  port_.onRead = [this](std::size_t bytes) { ledger_.read(bytes); };
  port_.onPurge = [this] { ledger_.purge(); };
  port_.onWrite = [this](std::span<const std::uint8_t> bytes) {
    ledger_.write(bytes);
    dongle_.receive(bytes);
  };
}

simulator::Glove& VirtualGloves::add(std::string_view name, const simulator::GloveConfig& config)
{
  simulator::Glove& glove = dongle_.addGlove(config);
  control_.addGlove(name, glove);
  ledger_.observe(glove, platform_.clock);
  return glove;
}

void VirtualGloves::schedule(const std::vector<Step>& steps, double begin,
                             const std::function<void(const std::string& command)>& run)
{
  for (const Step& step : steps) {
    runAt(begin + step.at, [run, command = step.command] { run(command); });
  }
}

void VirtualGloves::cutNext(std::size_t bytes, bool snaps)
{
  dongle_.cutNext(bytes);
  snaps_ = snaps;
}

void VirtualGloves::repeatFrameAt(double second)
{
  runAt(second, [this] { repeatsFrame_ = true; });
}

void VirtualGloves::runAt(double second, std::function<void()> action)
{
  platform_.clock.after(std::max(virtualSeconds(second) - platform_.clock.now(), Duration{0}),
                        std::move(action));
}

double VirtualGloves::now() const
{
  return std::chrono::duration<double>(platform_.clock.now()).count();
}

void VirtualGloves::receive(std::span<const std::uint8_t> message)
{
  const auto packet = ledger_.announced();
  ledger_.deliver(message);
  port_.waiting.insert(port_.waiting.end(), message.begin(), message.end());
  // Not from within its own message.
  if (std::exchange(snaps_, false)) platform_.clock.after(Duration{0}, [this] { dongle_.unplug(); });
  constexpr std::size_t whole = 29;
  if (packet && packet->glove == 0 && message.size() == whole) repeatFrame(*packet, message);
}

void VirtualGloves::repeatFrame(const Ledger::Packet& packet, std::span<const std::uint8_t> message)
{
  constexpr std::size_t count = 10;  // in a message with a first packet
  if (std::exchange(latestNumber_, packet.frame.number) != packet.frame.number) latestFrame_.clear();
  latestFrame_.emplace_back(message.begin(), message.end());
  const std::size_t packets = latestFrame_.front()[count] & 0x0FU;
  if (!repeatsFrame_ || latestFrame_.size() != packets) return;
  repeatsFrame_ = false;
  for (const auto& each : std::exchange(latestFrame_, {})) {
    ledger_.announce(packet);
    dongle_.inject(each);
  }
}
