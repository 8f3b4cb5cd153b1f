// A complete host: records two gloves and prints a line for each record.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include "shared/PluginLibrary.h"
#include "shared/RecordStore.h"

// Counted from the start of the program, so that it does not wrap during a recording; never 0.
std::uint32_t clockMs()
{
  using namespace std::chrono;
  static const auto start = steady_clock::now() - minutes(1);
  return static_cast<std::uint32_t>(duration_cast<milliseconds>(steady_clock::now() - start).count());
}

int record(const plugin::Library& library, const std::filesystem::path& settings, int count)
{
  const std::unique_ptr<HwInterface, plugin::Library::Released> gloves(
      library.create(settings.wstring().c_str(), clockMs, L"example"), {&library});
  if (gloves->configure() != 0) {
    std::fprintf(stderr, "%ls\n", gloves->lastError_.c_str());
    return 1;
  }

  plugin::RecordStore store(gloves->getNativeSize());
  gloves->mapping_ = &store.map;
  for (int records = 0; records < count;) {
    if (gloves->readRecord() != 0) {
      std::fprintf(stderr, "The gloves are silent.\n");
      return 1;
    }
    if (!store.takeNew()) continue;  // most reads deliver no record
    ++records;
    std::printf("%u ms: %u %u ...\n", store.timestampMs(), store.elements()[0], store.elements()[1]);
  }

  std::wstring reply;
  if (gloves->sendCommand(L"BatteryLevel", reply) == 0) std::printf("battery %ls\n", reply.c_str());
  return 0;
}

int main(int count, char** arguments)
try {
  if (count != 5) {
    std::fprintf(stderr, "usage: host PLUGIN SETTINGS LOG-FOLDER RECORDS\n");
    return 2;
  }
  // Folders and log outlive the plug-in, which is unloaded before they go.
  folder::FolderMap folders;
  folders[L"log"] = folder::Folder((std::filesystem::path(arguments[3]) / "").wstring());
  folder::folders_ = &folders;
  LogManager log(1);
  currentLogManager = &log;

  const plugin::Library library(arguments[1]);
  library.setFolders(&folders);
  library.setLog(&log);
  return record(library, arguments[2], std::atoi(arguments[4]));
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
} catch (const std::wstring& error) {  // a log file that can't be created
  std::fprintf(stderr, "%ls\n", error.c_str());
  return 1;
}
