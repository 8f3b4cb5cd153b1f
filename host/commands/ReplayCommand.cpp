#include "host/commands/ReplayCommand.h"

#include <fmt/core.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>

#include "host/base/Console.h"
#include "host/base/StopRequest.h"
#include "host/base/Text.h"
#include "host/capture/Dialogue.h"
#include "host/capture/Replay.h"
#include "host/gloves/SimulatedPort.h"
#include "host/trace/MessageTable.h"

namespace {

// Of the program's time: long enough for it to close the port.
constexpr std::chrono::seconds quietAtEnd(5);

void describe(const ReplayOptions& options, const Dialogue& dialogue)
{
  Dialogue::Time time{0};
  for (const Dialogue::Opening& opening : dialogue.openings) {
    time += opening.end - opening.begin;
  }
  console::printLines(fmt::format(
      "Replaying {}: {} in {}, {} of dialogue.", utf8(options.capture),
      dialogue.openings.size() == 1 ? "the port opened once"
                                    : fmt::format("the port opened {} times", dialogue.openings.size()),
      dialogue.sections == 1 ? "1 section" : fmt::format("{} sections", dialogue.sections),
      durationText(std::chrono::duration<double>(time).count())));
  if (dialogue.lostBlocks > 0 || dialogue.skippedBytes > 0) {
    console::printLines(
        fmt::format("The capture lacks {} entries, and {} of its bytes are damaged: a program may see other "
                    "records there.",
                    dialogue.lostBlocks, dialogue.skippedBytes));
  }
}

}  // namespace

void replay(const ReplayOptions& options)
{
  StopRequest stopRequest;
  Dialogue dialogue = readDialogue(options.capture);
  describe(options, dialogue);
  VirtualClock clock;
  Replay device(clock, std::move(dialogue), options.speed);
  SimulatedPort port(clock, device, options.port);
  const auto print = [](const std::string& line) {
    console::printLines(line);
    std::fflush(stdout);
  };
  print(fmt::format("export TESSEL_SERIAL_PORTS='{}'", port.portsVariable()));
  print("Enter that line in another terminal, then the program, for example: tessel record");

  device.onReport = [&](const std::string& text) {
    const std::chrono::duration<double> time = clock.now() / options.speed;
    print(fmt::format("{:8.2f} s  {}", time.count(), text));
  };
  device.nameOf = [](std::uint8_t group, std::uint8_t id) {
    const auto format = messageFormat(MessageKind::command, group, id);
    return format ? std::string(format->name) : "";
  };
  std::atomic<bool> stop{false};
  const std::function<void()> endWhenOver = [&] {
    if (device.isOver() && device.quietTime() > quietAtEnd * options.speed) {
      stop = true;
    } else {
      clock.after(std::chrono::milliseconds(100), endWhenOver);
    }
  };
  endWhenOver();
  stopRequest.during([&] { port.pty().run(stop, options.speed); }, [&] { stop = true; });
  print(device.summary());
}
