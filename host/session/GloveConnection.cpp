#include "host/session/GloveConnection.h"

#include <fmt/format.h>

#include "host/base/StatusLine.h"
#include "host/session/GloveLayout.h"

std::unique_ptr<LinkCapture> startCapture(const settings::Values& settings, const std::filesystem::path& file,
                                          const std::string& consequence, const Notice& notice,
                                          const SyncRules& sync)
{
  const std::size_t gloves = glovesInRecord(settings);
  try {
    return std::make_unique<LinkCapture>(gloves, static_cast<std::size_t>(settings.elementCount) / gloves,
                                         file, sync);
  } catch (const Failure& failure) {
    if (!file.empty()) throw;
    notice(fmt::format("The link can't be captured: {} {}", failure.what(), consequence));
    return nullptr;
  }
}

RecordSource& openGloves(GloveConnector& gloves, double waitSeconds, const StopRequest& stopRequest,
                         const std::function<void(const FailedAttempt&)>& onFailed)
{
  StatusLine line(std::chrono::seconds(10));
  const auto report = [&](const FailedAttempt& attempt) {
    if (line.isDue()) line.show(attemptText(attempt));
    if (onFailed) onFailed(attempt);
  };
  return openPatiently(
             gloves, {.seconds = waitSeconds}, HostTime::real(), [&] { return !stopRequest.flag(); }, report)
      .source;
}

GloveConnection::GloveConnection(const HardwareOptions& options)
    : waitSeconds_(options.waitSeconds),
      source_(options),
      capture_(startCapture(source_.settings(), takeCaptureVariable(),
                            "It can't be said which devices are heard.", options.notice)),
      connector_(source_, capture_.get())
{
}

Hardware& GloveConnection::open(const StopRequest& stopRequest)
{
  openGloves(connector_, waitSeconds_, stopRequest);
  return connector_.hardware();
}
