#include "bench/plugin/Writer.h"

#include <fcntl.h>
#include <unistd.h>

#include <system_error>

#include "bench/plugin/FrameStream.h"
#include "simulator/Dongle.h"
#include "simulator/PtyPort.h"

namespace {

void setBlocking(int descriptor, bool isBlocking)
{
  const int flags = ::fcntl(descriptor, F_GETFL);
  ::fcntl(descriptor, F_SETFL, isBlocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK);
}

void writeAll(int descriptor, std::span<const std::uint8_t> bytes)
{
  while (!bytes.empty()) {
    const ssize_t taken = ::write(descriptor, bytes.data(), bytes.size());
    if (taken < 0) throw std::system_error(errno, std::generic_category(), "can't write to the terminal");
    bytes = bytes.subspan(static_cast<std::size_t>(taken));
  }
}

void writePaced(int descriptor, const Plan& plan, Run& run)
{
  const auto stream = plan.stream.subspan(plan.burstFrames * bytesPerFrame);
  auto due = std::chrono::steady_clock::now();
  for (std::size_t frame = 0; frame < plan.pacedFrames; ++frame) {
    due += plan.pace;
    std::this_thread::sleep_until(due);
    run.written[frame] = monotonicNow();
    writeAll(descriptor, stream.subspan(frame * bytesPerFrame, bytesPerFrame));
  }
}

}  // namespace

void writeFrames(const Plan& plan, Run& run)
{
  VirtualClock clock;
  simulator::Dongle dongle(clock);
  for (const char* const name : {"KVXGL00017", "KVXGR00018"}) {
    simulator::GloveConfig config;
    config.name = name;
    config.framesPerSecond = 0.001;  // sends no frames of its own during the run
    dongle.addGlove(config);
  }
  simulator::PtyPort port(clock, dongle, plan.port);
  run.isPortThere = true;
  port.run(run.isReaderReady);

  setBlocking(port.descriptor(), true);
  run.burstBegan = monotonicNow();
  writeAll(port.descriptor(), plan.stream.first(plan.burstFrames * bytesPerFrame));
  waitUntil(run.isBurstRead);
  writePaced(port.descriptor(), plan, run);

  // From here on it only handles the end of the link.
  setBlocking(port.descriptor(), false);
  port.run(run.isOver);
}
