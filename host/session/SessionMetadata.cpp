#include "host/session/SessionMetadata.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "host/gloves/GloveFirmware.h"
#include "host/gloves/ModuleNames.h"
#include "host/gloves/SettingsFile.h"
#include "host/session/BooksText.h"

namespace {

constexpr const char* clockMethod = "glove clock, fitted to arrivals";
constexpr const char* pluginMethod = "plug-in timestamps";

// Not worth a failure: the gloves are recorded without it.
std::vector<GloveFirmware> firmwareOf(Hardware& hardware)
{
  try {
    return parseFirmware(hardware.ask("GetFirmwareVersion"));
  } catch (const Failure&) {
    return {};
  }
}

// As it is usually written: the last byte on the wire first.
std::string addressText(const LinkDecoder::Address& address)
{
  return fmt::format("{:02x}", fmt::join(address.rbegin(), address.rend(), ":"));
}

void updateFromCapture(RecordingMetadata& metadata, const LiveAccounts::Snapshot& accounts)
{
  metadata.time.residualMs = accounts.residualMs;
  if (accounts.clockError) metadata.time.clockErrorPpm = *accounts.clockError * 1e6;
  if (accounts.observedPhaseMs > 0) metadata.time.observedPhaseMs = accounts.observedPhaseMs;
  for (std::size_t glove = 0; glove < metadata.gloves.size() && glove < accounts.addresses.size(); ++glove) {
    if (const auto& address = accounts.addresses[glove]) {
      metadata.gloves[glove].address = addressText(*address);
    }
  }
}

void updateBooks(RecordingMetadata& metadata, const std::optional<Books>& books)
{
  metadata.books = books ? booksJson(*books, gloveLabels(metadata.layout)) : nullptr;
  for (std::size_t glove = 0; glove < metadata.gloves.size(); ++glove) {
    std::optional<double>& away = metadata.gloves[glove].disconnectedSeconds;
    away.reset();
    if (books && glove < books->gloves.size()) away = books->gloves[glove].awaySeconds;
  }
}

}  // namespace

RecordingMetadata describe(Hardware& hardware, const Layout& layout, bool isFollowed)
{
  RecordingMetadata metadata;
  metadata.layout = layout;
  metadata.settings = settingsJson(hardware.settings());
  metadata.time.method = isFollowed ? clockMethod : pluginMethod;
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
  update(metadata, figures, figures.accounts ? std::optional(figures.accounts->books) : std::nullopt);
}

void update(RecordingMetadata& metadata, const RecordingFigures& figures, const std::optional<Books>& books)
{
  metadata.records = figures.records;
  metadata.reconnections = figures.reconnections;
  if (figures.records > 1) metadata.recordsPerSecond = figures.recordsPerSecond();
  if (figures.accounts) updateFromCapture(metadata, *figures.accounts);
  updateBooks(metadata, books);
  if (metadata.started || !figures.zero) return;
  metadata.started = wallClockAt(*figures.zero);
  metadata.zero = figures.zero;
}
