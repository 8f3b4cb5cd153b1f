// `tessel trace` on the capture of a real recording.

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/e2e/Tessel.h"

namespace {

TEST(Trace, ShowsARecordingFromOpeningToClose)
{
  ::unsetenv("TESSEL_SERIAL_PORTS");
  ::unsetenv("TESSEL_CAPTURE");
  TemporaryFolder folder;
  ASSERT_EQ(
      runTessel(folder, words("record --sim --gloves left --frames 5 --output run.csv --capture run.pcapng"))
          .exitCode,
      0);
  const auto result = runTessel(folder, {"trace", "run.pcapng"});
  ASSERT_EQ(result.exitCode, 0) << result.messages;

  // In this order; advertisements and packets may come between.
  constexpr const char* dialogue[] = {
      "- section: the plug-in was loaded at 20",
      "- open COM7",
      "> cmd system_reset                   boot_in_dfu=0",
      "- reset",
      "- close",
      "sender=00:07:80:65:43:21 KVXGL00017  address_type=0 public  bond=255 none  data=flags 0x06, name "
      "\"KVXGL00017\"",
      "> cmd gap_connect_direct             address=00:07:80:65:43:21 KVXGL00017  addr_type=0 public",
      "atthandle=24 version  type=0 read  value=part 4711, revision 5, build 212, commit 5eed1234, of "
      "2020-01-01",
      "atthandle=22 status  type=0 read  value=all 20 OK",
      "> cmd attclient_attribute_write      connection=0 left  atthandle=18 CCCD  data=notifications on",
      "atthandle=17 measurement  type=1 notification  value=packet 0 of 14, counter 0, clock 251",
      "value=packet 13",
      "> cmd connection_disconnect          connection=0 left",
      "- close",
  };
  std::size_t at = 0;
  for (const char* line : dialogue) {
    at = result.output.find(line, at);
    ASSERT_NE(at, std::string::npos) << line << "\n" << result.output;
  }
  // Nothing is unusual; the plug-in reads the whole dialogue.
  for (const char* remark : {"MISSING", "EXTRA", "NO MESSAGE", "PROTOCOL", "DAMAGE"}) {
    EXPECT_EQ(result.output.find(remark), std::string::npos) << result.output;
  }
}

TEST(Trace, RefusesWhatIsNoCapture)
{
  TemporaryFolder folder;
  folder.write("empty", "");
  folder.write("text", std::string(100, 'x'));
  for (const auto& [name, message] : {std::pair("empty", "empty is empty."),
                                      {"text", "text is no capture."},
                                      {"none", "none can't be read: No such"}}) {
    const auto result = runTessel(folder, {"trace", name});
    EXPECT_EQ(result.exitCode, 6) << name;
    EXPECT_EQ(result.output, "") << name;
    EXPECT_NE(result.messages.find(message), std::string::npos) << result.messages;
  }
}

}  // namespace
