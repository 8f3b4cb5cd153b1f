#include "host/session/PatientOpening.h"

#include <fmt/format.h>

#include <cmath>
#include <thread>

#include "host/base/System.h"
#include "host/gloves/ModuleNames.h"
#include "host/gloves/OpeningFailure.h"

namespace {

using namespace std::chrono_literals;

// From one attempt to the next: some fail at once, as without a dongle.
constexpr auto minInterval = 500ms;
constexpr auto step = 100ms;

bool isWorthRepeating(const Failure& failure, bool isReconnection)
{
  const auto* const opening = dynamic_cast<const OpeningFailure*>(&failure);
  if (opening == nullptr || failure.code() == ExitCode::interrupted) return false;
  return isReconnection || opening->isTransient();
}

OpeningFailure finalFailure(const Failure& failure, const std::optional<HeardDevices>& heard,
                            const std::string& tries)
{
  std::string text = failure.what();
  if (text.ends_with('.')) text.pop_back();
  text += tries;
  if (failure.code() == ExitCode::noGloves && heard) text += fmt::format("; heard: {}", heardText(*heard));
  return {failure.code(), text + '.', failure.advice(), true};
}

}  // namespace

HostTime HostTime::real()
{
  return {host::uptime, [](std::chrono::nanoseconds time) { std::this_thread::sleep_for(time); }};
}

OpenedGloves openPatiently(GloveConnector& gloves, const OpeningRules& rules, const HostTime& time,
                           const GloveConnector::GoesOn& goesOn,
                           const std::function<void(const FailedAttempt&)>& onFailed)
{
  const auto begin = time.now();
  for (unsigned attempts = 1;; ++attempts) {
    const auto next = time.now() + minInterval;
    try {
      return {gloves.connect(goesOn), attempts};
    } catch (const Failure& failure) {
      if (!isWorthRepeating(failure, rules.isReconnection)) throw;
      const double seconds = std::chrono::duration<double>(time.now() - begin).count();
      if (seconds >= rules.seconds) {
        const bool isOneOfMany = attempts > 1 && !rules.isReconnection;
        throw finalFailure(failure, gloves.heard(),
                           isOneOfMany ? fmt::format("; tried {} times in {:.0f} s", attempts, seconds) : "");
      }
      onFailed({failure, gloves.heard(), rules.seconds - seconds});
    }
    for (;;) {
      if (!goesOn()) throw Failure(ExitCode::interrupted, "interrupted before the gloves were ready.", "");
      if (time.now() >= next) break;
      time.sleep(step);
    }
  }
}

std::string attemptText(const FailedAttempt& attempt)
{
  const std::string heard = attempt.heard ? fmt::format(" Heard: {}.", heardText(*attempt.heard)) : "";
  std::string failure = attempt.failure.what();
  if (!failure.ends_with('.')) failure += '.';
  return fmt::format("{}{} Trying again for up to {:.0f} s.", failure, heard, std::ceil(attempt.secondsLeft));
}

std::string heardText(const HeardDevices& heard)
{
  std::string text;
  for (const HeardGlove& glove : heard.gloves()) {
    const std::string side = sideOfModule(glove.name);
    text += fmt::format("{}{} {} ({} dBm)", text.empty() ? "" : ", ",
                        side == "glove" ? side : side + " glove", glove.name, glove.rssi);
  }
  const std::string others =
      heard.others() == 0 ? ""
                          : fmt::format("{} other device{}", heard.others(), heard.others() == 1 ? "" : "s");
  if (text.empty()) return others.empty() ? "no Bluetooth device" : "no glove, " + others;
  return others.empty() ? text : text + " and " + others;
}
