// The plug-in's own words for each way in which an opening fails, and what the program makes of them.

#include "host/gloves/OpeningFailure.h"

#include <gtest/gtest.h>

#include <set>

#include "HwPlugins/HwTessel/HWTessel.h"
#include "host/base/Text.h"
#include "tests/support/HostLog.h"

namespace {

class Object : public HWTessel {
 public:
  Object() : HWTessel(L"", nullptr, L"")
  {
    bleDevice_ = new BleDevice;  // the words for faulty sensors need a link
  }
  using HWTessel::openingError;
};

TEST(OpeningFailure, EachCodeOfThePluginMeetsItsRow)
{
  const HostLog log(0);
  const Object object;
  const std::string any = "Switch dongle and gloves off and on, then try again.";
  const struct {
    OpeningResult result;
    ExitCode code;
  } cases[] = {
      {OpeningResult::noDongle, ExitCode::noDongle},
      {OpeningResult::portRefused, ExitCode::port},
      {OpeningResult::firmwareTooOld, ExitCode::firmware},
      {OpeningResult::stopped, ExitCode::interrupted},
      {OpeningResult::startFailed, ExitCode::gloves},
      {OpeningResult::portFailed, ExitCode::silence},
      {OpeningResult::modulesMissing, ExitCode::noGloves},
      {OpeningResult::modulesMissing + 1, ExitCode::noGloves},
      {OpeningResult::moduleTimedOut, ExitCode::gloves},
      {OpeningResult::notConfigurable, ExitCode::gloves},
      {OpeningResult::sensorFault, ExitCode::gloves},
      {OpeningResult::sensorFault + 1, ExitCode::gloves},
      {OpeningResult::statusMissing, ExitCode::gloves},
  };
  for (const auto& [result, code] : cases) {
    const std::string words = oneLine(object.openingError(static_cast<std::int32_t>(result)));
    const Failure failure = openingFailure(words, false);
    EXPECT_EQ(failure.code(), code) << words;
    EXPECT_NE(failure.advice(), any) << "no row for: " << words;
  }
  const Failure unknown = openingFailure(oneLine(object.openingError(7)), false);
  EXPECT_EQ(unknown.code(), ExitCode::gloves);
  EXPECT_EQ(unknown.advice(), any);
}

}  // namespace
