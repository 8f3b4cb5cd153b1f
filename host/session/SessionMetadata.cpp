#include "host/session/SessionMetadata.h"

#include "host/gloves/GloveFirmware.h"
#include "host/gloves/ModuleNames.h"
#include "host/gloves/SettingsFile.h"

namespace {

// Not worth a failure: the gloves are recorded without it.
std::vector<GloveFirmware> firmwareOf(Hardware& hardware)
{
  try {
    return parseFirmware(hardware.ask("GetFirmwareVersion"));
  } catch (const Failure&) {
    return {};
  }
}

}  // namespace

RecordingMetadata describe(Hardware& hardware, const Layout& layout)
{
  RecordingMetadata metadata;
  metadata.layout = layout;
  metadata.settings = settingsJson(hardware.settings());
  metadata.time.method = "plug-in timestamps";
  const std::vector<GloveFirmware> firmware = firmwareOf(hardware);
  for (const ElementGroup& group : layout.groups) {
    if (!group.isGlove()) continue;
    const std::size_t index = metadata.gloves.size();
    metadata.gloves.push_back({.label = group.label,
                               .module = group.module,
                               .serialNumber = serialNumberOfModule(group.module),
                               .firmware = {},
                               .address = {},
                               .disconnectedSeconds = {}});
    if (index < firmware.size()) metadata.gloves.back().firmware = firmwareJson(firmware[index]);
  }
  return metadata;
}

void update(RecordingMetadata& metadata, const RecordingFigures& figures)
{
  metadata.records = figures.records;
  if (figures.records > 1) metadata.recordsPerSecond = figures.gaps.recordsPerSecond();
  if (metadata.started || !figures.first) return;
  const auto sinceFirst =
      std::chrono::duration_cast<std::chrono::system_clock::duration>(host::uptime() - *figures.first);
  metadata.started = std::chrono::system_clock::now() - sinceFirst;
}
