#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>

#include "host/recording/RecordingMetadata.h"

namespace {

TEST(LocalTime, HasItsOffset)
{
  using namespace std::chrono;
  RecordingMetadata metadata;
  metadata.started = sys_days(year(2024) / 2 / 29) + 86'399s + 42us;
  const struct {
    const char* zone;
    const char* local;
  } cases[] = {{"UTC0", "2024-02-29T23:59:59.000042+00:00"},
               {"XXX-5:45", "2024-03-01T05:44:59.000042+05:45"},
               {"XXX3:30", "2024-02-29T20:29:59.000042-03:30"}};
  for (const auto& [zone, local] : cases) {
    ::setenv("TZ", zone, 1);
    ::tzset();
    const auto json = nlohmann::json::parse(metadataText(metadata, 0, false));
    EXPECT_EQ(json.at("started").at("local"), local);
  }
  ::unsetenv("TZ");
  ::tzset();
}

}  // namespace
