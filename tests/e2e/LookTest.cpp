// The commands that do not record, and the simulated port.

#include <gtest/gtest.h>
#include <signal.h>

#include <cstdlib>

#include "tests/e2e/Tessel.h"

namespace {

TEST(Look, EachCommandReportsWhatItFinds)
{
  ::unsetenv("TESSEL_SERIAL_PORTS");
  TemporaryFolder folder;
  folder.write("faulty", "TesselElementCount\t250\n\ntesselauxcount 2\nTesselReadTimeout soon\n");
  folder.write("battery", "0 battery 15");
  folder.write("colons", "0 name left KVXGL00017:KVXGR00019:3");
  const struct {
    std::string arguments;
    int exitCode;
    std::vector<std::string> texts;  // of output and messages
  } cases[] = {
      {"info --sim",
       0,
       {"COM7",
        "KVXGR00018 (right), serial number 18\n         part 4711 revision 5, firmware build 212 from", "75%",
        "all working"}},
      {"info --sim --gloves 1", 0, {"KVXGL00017 (left)"}},
      {"info --sim --gloves 1 --scenario colons",
       0,
       {"Glove    KVXGL00017:KVXGR00019:3 (left), serial number 17\n         part"}},
      {"send BatteryLevel --sim --scenario battery", 0, {"0.5\n"}},
      {"send SensorSelect --sim", 16, {"Not enough parameters"}},
      {"send Nonsense --sim", 16, {"no reply to \"Nonsense\""}},
      {"settings new --write", 0, {"Wrote new"}},
      {"settings new", 0, {"TesselElementCount             250", "line 10", "No errors"}},
      {"settings new --write", 5, {"already"}},
      {"settings faulty",
       3,
       {"line 3: \"tesselauxcount\" is not a setting and is skipped. Did you mean `TesselAuxCount`?",
        "line 4: `TesselReadTimeout`", "there will be no records"}},
  };
  for (const auto& [arguments, exitCode, texts] : cases) {
    const auto result = runTessel(folder, words(arguments));
    EXPECT_EQ(result.exitCode, exitCode) << arguments << result.messages;
    const std::string all = result.output + result.messages;
    for (const std::string& text : texts) {
      EXPECT_NE(all.find(text), std::string::npos) << arguments << text << all;
    }
  }
}

TEST(Look, ASimulatedPortServesOtherProgramsAndIsRemovedAtTheEnd)
{
  TemporaryFolder folder;
  TemporaryFolder other;
  Tessel sim(folder, words("sim --port dongle"));
  sim.waitUntil([&] { return sim.output().find("TESSEL_SERIAL_PORTS=") != std::string::npos; });
  ::setenv("TESSEL_SERIAL_PORTS",
           ("Bluegiga Bluetooth Low Energy (COM7)=" + (folder / "dongle").string()).c_str(), 1);
  const auto free = runTessel(other, {"ports"});
  EXPECT_EQ(free.exitCode, 0) << free.messages;
  {
    Tessel holder(other, words("record --output run.csv"));
    holder.waitUntil([&] { return !other.read("run.csv.part").empty(); });
    TemporaryFolder third;
    const auto busy = runTessel(third, {"ports"});
    EXPECT_EQ(busy.exitCode, 11) << busy.output;
    EXPECT_NE(busy.messages.find("tessel (process"), std::string::npos) << busy.messages;
    const auto second = runTessel(third, words("record --output second.csv"));
    EXPECT_EQ(second.exitCode, 11) << second.messages;
    EXPECT_NE(second.messages.find("has it open"), std::string::npos) << second.messages;
    holder.signal(SIGINT);
    const auto held = holder.result();
    EXPECT_EQ(held.exitCode, 0) << held.messages;
    EXPECT_EQ(held.messages.find("NOT RECORDING"), std::string::npos) << "nothing disturbed it";
  }
  EXPECT_EQ(runTessel(other, words("record --frames 10")).exitCode, 0) << "a second host, after the first";
  sim.signal(SIGINT);
  EXPECT_EQ(sim.result().exitCode, 0);
  EXPECT_FALSE(std::filesystem::exists(folder / "dongle"));
}

TEST(Look, APortThatIsPluggedInAgainOverwritesNoFile)
{
  TemporaryFolder folder;
  Tessel sim(folder, {"sim", "--port", "dongle", "--at", "0.2 unplug", "--at", "4 plug"});
  const auto isThere = [&] { return std::filesystem::is_symlink(folder / "dongle"); };
  sim.waitUntil([&] { return sim.output().find("TESSEL_SERIAL_PORTS=") != std::string::npos && !isThere(); });
  folder.write("dongle", "mine");
  const auto result = sim.result();
  EXPECT_EQ(result.exitCode, 5) << result.messages;
  EXPECT_FALSE(isThere());
  EXPECT_EQ(folder.read("dongle"), "mine");
}

}  // namespace
