// Text commands of a host to a plug-in that has no link yet and, in half of the inputs, to one whose opening
// found no dongle: each is refused or has a short reply, and what it queues is sent as it was written.

#include "fuzz/PluginHost.h"
#include "shared/TextFile.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  fuzz::Input input(data, size);
  fuzz::PluginHost host;
  if (input.below(2) == 1) {
    host.port.present = false;
    host.configure();
  }
  while (!input.atEnd()) {
    // Up to a null character, as the host passes it.
    host.send(textfile::decode(input.part("\n")).c_str());
  }
  return 0;
}
