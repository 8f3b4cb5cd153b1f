#include "tests/soak/OpeningRules.h"

#include <algorithm>
#include <array>
#include <utility>

#include "host/base/Text.h"
#include "tests/soak/Expectation.h"

namespace {

constexpr std::array messages{L"No BLE USB dongle detected.",
                              L"The BLE USB dongle is currently being used",
                              L"The BLE USB dongle firmware is out of date.",
                              L"Abandoned connection during program shutdown.",
                              L"Failed to enable notifications",
                              L"Communication error.",
                              L"Not enough remote BLE modules detected.",
                              L"A remote BLE module timed out.",
                              L"Faulty sensor(s) on ",
                              L"Failed to read status",
                              L"Unhandled exception trying to connect over BLE"};

}  // namespace

void OpeningRules::check(const Opening& opening)
{
  const auto& [begin, result, text, isStopped, isSecond] = opening;
  const std::wstring& message = text;  // clang 14 keeps bindings out of lambdas
  const std::string words = narrow(message);
  expect(result == 0 || result == -1, "an opening returned ", result);
  if (result == -1) {
    expect(std::ranges::any_of(messages, [&](const wchar_t* known) { return message.starts_with(known); }),
           "an opening failed with \"", words, '"');
  }
  // The second link of an object reaches no dongle.
  if (isSecond) expect(result == -1, "a second opening succeeded");
  // The plug-in keeps the first version that it reads, whatever the dongle has later.
  const bool mayKnowOldFirmware = world_.wasActiveSince(loaded_, Fault::oldFirmware);
  const bool isFirst = std::exchange(isFirst_, false);
  if (isSecond || isStopped) return;
  if (world_.isSoundSince(begin)) {
    expect(result == 0 || mayKnowOldFirmware, "an opening without any fault failed: ", words);
    return;
  }
  const Fault* const fault = world_.onlyFaultSince(begin);
  if (fault == nullptr || fault->openingError == nullptr) return;
  const bool isNoticed = fault->name == Fault::oldFirmware ? isFirst
                         : fault->name == Fault::badSensor ? !mayKnowOldFirmware && !world_.hidesSensors()
                                                           : !mayKnowOldFirmware;
  if (isNoticed) {
    expect(result == -1, "an opening succeeded although: ", fault->name);
    expect(message.starts_with(fault->openingError), "an opening failed with \"", words,
           "\" although: ", fault->name);
  }
}
