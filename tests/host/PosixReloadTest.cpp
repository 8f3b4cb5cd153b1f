// Needs a pseudo terminal for its gloves.

#include <optional>

#include "host/session/GloveLayout.h"
#include "host/session/RecordKeeper.h"
#include "host/session/Recorder.h"
#include "tests/host/Reload.h"

namespace {

HardwareOptions simulated()
{
  HardwareOptions options;
  options.isSimulated = true;
  return options;
}

struct NoSink final : RecordSink {
  void add(const Record&) override {}
};

struct RecordingReload : Reload {
  RecordingReload() : Reload(simulated()) {}
};

TEST_F(RecordingReload, RecordingsLeaveNothing)
{
  constexpr std::uint64_t records = 20;
  NoSink sink;
  std::optional<Layout> layout;
  std::optional<RecordKeeper> keeper;
  expectNothingLeft(2, 5, 4096, [&] {
    connect(true);
    if (!layout) {
      layout = gloveLayout(source_.settings(), connector_.hardware().askModules());
      keeper.emplace(*layout, sink, &capture_.accounts());
    }
    Recorder recorder(*layout, *keeper, {.seconds = {}, .records = records});
    EXPECT_TRUE(recorder.run(connector_.hardware(), false, [](const RecordingFigures&) {}));
    disconnect();
    keeper->writeRest();
  });
  EXPECT_GE(keeper->written(), 7 * records);
  EXPECT_EQ(capture_.accounts().close().balanced(), true);
}

}  // namespace
