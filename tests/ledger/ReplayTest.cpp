// A capture, played to the plug-in that it was taken of, yields the same records: in virtual time.

#include <gtest/gtest.h>

#include "host/capture/CaptureReader.h"
#include "host/capture/Replay.h"
#include "simulator/Control.h"
#include "tests/support/VirtualPlugin.h"

namespace {

struct Plan {
  const char* name;
  std::size_t gloves = 2;
  std::uint16_t revision = 5;
  std::vector<std::string> setup = {};
  std::vector<VirtualGloves::Step> steps = {};  // virtual seconds after the first opening
  std::size_t records = 300;
  std::size_t minLoads = 1;  // of the plug-in, so that the scenario is what its name says
};

// A host that opens the gloves as long as they can't be opened, and again when reading fails.
struct Host {
  explicit Host(simulator::SerialDevice& device, SimulatedPlatform& where)
      : platform(where), port(platform.addPort("Bluegiga Bluetooth Low Energy (COM7)"))
  {
    platform.capturing = true;
    device.onSend = [this](std::span<const std::uint8_t> message) {
      port.waiting.insert(port.waiting.end(), message.begin(), message.end());
    };
    device.onPresence = [this](bool isPresent) { port.present = isPresent; };
    port.onWrite = [&device](std::span<const std::uint8_t> bytes) { device.receive(bytes); };
  }

  // `maxSeconds`: of virtual time; it has to end.
  void record(const Plan& plan, double maxSeconds = 120)
  {
    const auto isInTime = [&] { return platform.clock.now() < virtualSeconds(maxSeconds); };
    while (records.size() < plan.records && isInTime()) {
      ++loads;
      PlatformPlugin plugin(platform, pluginSettings(plan.gloves, 125));
      if (plugin.open()) {
        plugin.unload();
        platform.clock.advance(virtualSeconds(1));
        continue;
      }
      if (onOpened) std::exchange(onOpened, nullptr)();
      auto outcome = PlatformPlugin::Outcome::nothing;
      while (outcome != PlatformPlugin::Outcome::failed && records.size() < plan.records && isInTime()) {
        outcome = plugin.read();
        if (outcome != PlatformPlugin::Outcome::record) continue;
        const auto elements = plugin.store().elements();
        records.emplace_back(elements.begin(), elements.end());
      }
      plugin.close();
    }
  }

  SimulatedPlatform& platform;
  SimulatedPlatform::Port& port;
  std::vector<std::vector<std::uint16_t>> records;
  std::function<void()> onOpened;
  std::size_t loads = 0;
};

struct Original {
  std::vector<std::vector<std::uint16_t>> records;
  std::vector<std::uint8_t> capture;
  std::size_t loads = 0;
};

Original recordOriginal(const Plan& plan)
{
  SimulatedPlatform platform;
  simulator::Dongle dongle(platform.clock);
  simulator::Control control(dongle, 1);
  Host host(dongle, platform);
  const char* const names[] = {"left", "right"};
  for (std::size_t glove = 0; glove < plan.gloves; ++glove) {
    simulator::GloveConfig config = VirtualGloves::leftAndRight()[glove];
    config.revision = plan.revision;
    control.addGlove(names[glove], dongle.addGlove(config));
  }
  for (const std::string& command : plan.setup) {
    control.execute(command);
  }
  host.onOpened = [&] {
    for (const auto& [at, command] : plan.steps) {
      platform.clock.after(virtualSeconds(at), [&control, command = command] { control.execute(command); });
    }
  };
  host.record(plan);
  return {std::move(host.records), std::move(platform.captured), host.loads};
}

Dialogue dialogueOf(std::span<const std::uint8_t> capture)
{
  CaptureReader reader;
  DialogueBuilder builder;
  reader.add(capture);
  std::uint64_t skipped = 0;
  while (const auto block = reader.next()) {
    if (reader.skippedBytes() > std::exchange(skipped, reader.skippedBytes())) builder.addGap();
    builder.add(*block);
  }
  return builder.finish();
}

void PrintTo(const Plan& plan, std::ostream* stream)
{
  *stream << plan.name;
}

class ReplayedRecording : public testing::TestWithParam<Plan> {};

TEST_P(ReplayedRecording, EqualsTheOriginal)
{
  const Plan& plan = GetParam();
  const Original original = recordOriginal(plan);
  ASSERT_EQ(original.records.size(), plan.records);
  ASSERT_GE(original.loads, plan.minLoads);

  SimulatedPlatform platform;
  Replay replay(platform.clock, dialogueOf(original.capture));
  Host host(replay, platform);
  std::string reports;
  replay.onReport = [&](const std::string& text) { reports += text + '\n'; };
  host.record(plan);
  EXPECT_EQ(host.records, original.records);
  EXPECT_EQ(replay.progress().departures, 0U) << reports;
  EXPECT_EQ(replay.progress().commands, replay.whole().commands);
  EXPECT_EQ(replay.progress().bytes, replay.whole().bytes);
  EXPECT_TRUE(replay.isOver());
}

const Plan plans[] = {
    {.name = "good"},
    {.name = "loss", .setup = {"loss 1", "double 0.5", "swap 0.5"}},
    {.name = "divergingQueues", .setup = {"loss left 8", "loss right 1"}},
    {.name = "drift", .setup = {"drift left 900", "drift right -900"}, .records = 1200},
    {.name = "oneGlove", .gloves = 1, .setup = {"loss 1"}},
    {.name = "oldGloves", .revision = 4, .setup = {"loss 1"}},
    {.name = "dropout", .steps = {{2, "leave left"}, {6, "back left"}}},
    {.name = "silenceOfBoth", .steps = {{2, "leave both"}, {3.5, "back both"}}},
    {.name = "reconnection",
     .steps = {{2, "drop both"}, {2, "hide right"}, {9, "show right"}},
     .minLoads = 3},
    {.name = "unplugged", .steps = {{2, "unplug"}, {6, "plug"}, {9, "drop both"}}, .minLoads = 3},
    {.name = "neighbours", .setup = {"neighbours 6 20"}, .minLoads = 2},
    {.name = "garbage", .steps = {{2, "noise 40"}, {4, "noise 1"}, {5, "noise 300"}}},
    {.name = "mute",
     .steps = {{2, "mute on"}, {2.5, "mute off"}, {4, "mute on"}, {8, "mute off"}},
     .minLoads = 2},
};

INSTANTIATE_TEST_SUITE_P(All, ReplayedRecording, testing::ValuesIn(plans),
                         [](const auto& instance) { return std::string(instance.param.name); });

}  // namespace
