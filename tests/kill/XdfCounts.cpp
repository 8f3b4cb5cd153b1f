// Prints what an independent reader of XDF finds in a file: `samples NAME COUNT` of each stream, then `event
// TEXT`.

#include <xdf.h>

#include <cstdio>
#include <exception>

int main(int count, char** arguments)
{
  if (count != 2) return 2;
  try {
    Xdf xdf;
    if (xdf.load_xdf(arguments[1]) != 0) return 1;
    for (const Xdf::Stream& stream : xdf.streams) {
      std::printf("samples %s %zu\n", stream.info.name.c_str(), stream.time_stamps.size());
    }
    for (const auto& event : xdf.eventMap) {
      std::printf("event %s\n", event.first.first.c_str());
    }
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
  }
  return 0;
}
