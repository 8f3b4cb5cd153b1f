#include "bench/plugin/FrameStream.h"

#include <array>
#include <memory>
#include <stdexcept>

#include "simulator/Connection.h"

namespace {

// A radio that records what a dongle would send.
class Recorder final : public simulator::Radio {
 public:
  void send(std::vector<std::uint8_t> message) override
  {
    bytes.insert(bytes.end(), message.begin(), message.end());
  }
  std::size_t connectionCount() const override { return 2; }
  void forget(std::uint8_t) override {}

  std::vector<std::uint8_t> bytes;
};

std::uint16_t movement(std::size_t element, std::uint64_t frame)
{
  return static_cast<std::uint16_t>(element == 0 ? frame : element * 251 + frame * 7);
}

}  // namespace

std::vector<std::uint8_t> makeFrames(std::size_t count)
{
  constexpr simulator::ConnectionParameters parameters{.interval = 8, .timeout = 1000, .latency = 0};
  constexpr std::array<std::uint8_t, 2> notificationsOn{1, 0};

  VirtualClock clock;
  Recorder radio;
  simulator::GloveConfig config;
  config.movement = movement;
  simulator::Glove left(clock, config);
  simulator::Glove right(clock, config);
  const std::array gloves{&left, &right};
  std::vector<std::shared_ptr<simulator::Connection>> connections;
  for (simulator::Glove* const glove : gloves) {
    const auto number = static_cast<std::uint8_t>(connections.size());
    connections.push_back(std::make_shared<simulator::Connection>(clock, radio, *glove, number, parameters));
    connections.back()->establish();
  }
  radio.bytes.clear();
  radio.bytes.reserve((count + 1) * bytesPerFrame);
  for (simulator::Glove* const glove : gloves) {
    glove->write(simulator::handle::configuration, notificationsOn);
  }
  while (radio.bytes.size() < count * bytesPerFrame) {
    if (!clock.next()) throw std::logic_error("the simulated gloves do not send");
    clock.advance(std::chrono::milliseconds(25));
  }
  radio.bytes.resize(count * bytesPerFrame);
  return std::move(radio.bytes);
}
