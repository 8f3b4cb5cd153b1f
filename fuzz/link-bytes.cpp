// Any bytes from the dongle's port into a plug-in that opens, reads and closes: the first byte chooses the
// settings, the next two how fast the others arrive while the port is open.

#include "fuzz/PluginHost.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  constexpr int maxReads = 200;
  fuzz::Input input(data, size);
  const fuzz::PluginSettings& settings = input.oneOf(fuzz::pluginSettings);
  const std::size_t piece = 1 + std::size_t{input.byte()};
  // Bytes that trickle in more slowly hold a read up that long, too: a stop does not interrupt a message.
  const fuzz::PluginHost::Duration interval = std::chrono::milliseconds(1 + input.below(16));

  fuzz::PluginHost host;
  host.make(settings);
  const std::function<void()> arrive = [&] {
    if (!host.platform.open.empty()) {
      const auto bytes = input.take(piece);
      host.port.waiting.insert(host.port.waiting.end(), bytes.begin(), bytes.end());
    }
    if (!input.atEnd()) host.platform.clock.after(interval, arrive);
  };
  arrive();
  host.configure();
  for (int reads = 0; reads < maxReads && (!input.atEnd() || !host.port.waiting.empty()); ++reads) {
    host.read();
  }
  host.close();
  host.release();
  return 0;
}
