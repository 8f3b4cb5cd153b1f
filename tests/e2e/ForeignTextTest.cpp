// Untrusted text in radio names, files, paths and variables never reaches a terminal unescaped.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "tests/e2e/Tessel.h"

namespace {

// Everything that a terminal, a JSON parser or a browser could interpret, around a word that shows that the
// text was printed.
const std::string onOneLine =
    "\x1B]x\x07\x1B[2J\x7F\xC2\x9B\x33m\xE2\x80\xAE\xE2\x81\xA6\xFF\xC3\xBCMARK<i>&\"";
const std::string hostile = onOneLine + "\nforged\r\t";
// A name on the radio has 32 bytes.
const std::string radioName = "KVXGL00017\x1B[2J\x07\xC2\x9B\xE2\x80\xAE\xC3\xBCMARK";

void expectHarmless(const std::string& text, const std::string& what)
{
  for (const char* harmful :
       {"\x1B", "\x07", "\x7F", "\xC2\x9B", "\xE2\x80\xAE", "\xE2\x81\xA6", "\xFF", "\r", "\t", "\nforged"}) {
    EXPECT_EQ(text.find(harmful), std::string::npos)
        << what << " lets through " << testing::PrintToString(harmful) << ":\n"
        << text;
  }
}

class ForeignText : public testing::Test {
 public:
  ForeignText()
  {
    ::unsetenv("TESSEL_SERIAL_PORTS");
    folder_.write("renamed", "0 name left " + radioName);
    folder_.write("stranger", "0 name right " + onOneLine.substr(0, 30));
    folder_.write("settings",
                  "TesselElementCount\t125\nTesselNumSensors\t1\nTesselNumBleModules\t1\n"
                  "TesselMetaData\t\"\x1B[2JMARK\xC2\x9B\xE2\x80\xAE\n\x07\"\n"
                  "\x1B]MARK\x07\t1\nTesselAuxCount\t\x1B[2J\n");
    folder_.write("label.csv", "time_ms," + onOneLine + "_0\n1,2\n2,3\n");
    folder_.write("number.csv", "time_ms,left_0\n1," + onOneLine + "\n");
    folder_.write("heading.csv", onOneLine + "\n");
    std::filesystem::create_directory(folder_ / "npy");
    const std::string group = R"({"label":"\u001b[2J\u009b\u202eMARK<i>","first":)";
    folder_.write("npy/meta.json", R"({"format":"tessel-recording","version":1,"groups":[)" + group +
                                       R"(0,"count":1},)" + group + R"(1,"count":1}]})");
    folder_.write("layout",
                  R"({"format":"tessel-layout","version":1,"\u001b[2J\u009b\u202eMARK\n":1,"left":1})");
    folder_.write("serial", "");
    std::ofstream(folder_ / hostile) << "no dongle";
  }

  TemporaryFolder folder_;
};

TEST_F(ForeignText, NeverReachesATerminalUnescaped)
{
  const std::string dongle = "Bluegiga Bluetooth Low Energy (COM7)";
  const std::string port = "COM port " + onOneLine + "\nforged (COM8)=" + (folder_ / "serial").string() + ";";
  const std::string file = dongle + "=" + (folder_ / hostile).string();
  const struct {
    std::vector<std::string> arguments;
    int exitCode;
    std::string ports;  // TESSEL_SERIAL_PORTS
  } cases[] = {
      {{"info", "--sim", "--gloves", "1", "--scenario", "renamed"}, 0, ""},
      {{"info", "--sim", "--gloves", "1", "--scenario", "renamed", "--json"}, 0, ""},
      {{"send", "GetModuleMap", "--sim", "--gloves", "1", "--scenario", "renamed"}, 0, ""},
      {{"send", hostile, "--sim"}, 2, ""},
      {{"send", radioName, "--sim"}, 16, ""},
      {{"record", "--sim", "--gloves", "1", "--scenario", "renamed", "--frames", "5", "--output",
        hostile + "new"},
       0,
       ""},
      {{"record", "--sim", "--gloves", "1", "--scenario", "renamed", "--frames", "5", "--json", "--format",
        "npy", "--output", "MARK"},
       0,
       ""},
      {{"record", "--sim", "--settings", "settings", "--frames", "5", "--output", "MARK.csv"}, 0, ""},
      {{"settings", "settings"}, 3, ""},
      {{"settings", "settings", "--json"}, 3, ""},
      {{"settings", hostile}, 2, ""},
      {{"settings", hostile + "nowhere"}, 3, ""},
      {{"settings", hostile + "other", "--write"}, 0, ""},
      {{"ports"}, 11, port + file},
      {{"ports", "--json"}, 11, port + file},
      {{"info"}, 11, file},
      {{"record"}, 10, port},
      {{"plot", "label.csv"}, 0, ""},
      {{"plot", "number.csv"}, 6, ""},
      {{"plot", "heading.csv"}, 6, ""},
      {{"plot", "npy"}, 6, ""},
      {{"plot", hostile}, 6, ""},
      {{"plot", "label.csv", "--output", hostile}, 2, ""},
      {{"plot", "label.csv", "--at", hostile}, 2, ""},
      {{"convert", hostile, "new.csv"}, 6, ""},
      {{"convert", "number.csv", "new.npy"}, 6, ""},
      {{"convert", "label.csv", hostile}, 2, ""},
      {{"layout", hostile}, 2, ""},
      {{"layout", "layout"}, 2, ""},
      {{"trace", hostile}, 6, ""},
      {{"trace", hostile + "nowhere"}, 6, ""},
      {{"doctor", "--sim", "--report", hostile + "/MARK"}, 5, ""},
      {{"record", "--sim", "--output", "new.csv", "--capture", hostile}, 5, ""},
      {{"record", "--sim", "--output", "new.csv", "--markers", hostile}, 5, ""},
      {{"stream", "--sim", "--lsl-library", hostile}, 4, ""},
      {{"view", "--sim", "--listen", hostile}, 2, ""},
      {{"sim", "--replay", hostile}, 6, ""},
      {{"sim", "--gloves", "left", "--at", "0 name left " + onOneLine, "--at", "0.1 quit"}, 0, ""},
      {{"sim", "--port", hostile}, 5, ""},
      {{"sim", "--at", "1 " + hostile}, 2, ""},
      {{"sim", "--battery", hostile}, 2, ""},
      {{"sim", "--gloves", hostile}, 2, ""},
      {{"sim", "--scenario", hostile + "nowhere"}, 2, ""},
      {{"record", "--seconds", hostile}, 2, ""},
      {{"record", "--frames", hostile}, 2, ""},
      {{"record", "--format", hostile}, 2, ""},
      {{"record", "--plugin", hostile + "nowhere"}, 4, ""},
      {{"record", "--log", hostile + "/MARK"}, 5, ""},
      {{"record", hostile}, 2, ""},
      {{"record", "--" + hostile}, 2, ""},
      {{"plot", "label.csv", "--width", hostile}, 2, ""},
      {{hostile}, 2, ""},
      {{"--" + hostile}, 2, ""},
  };
  for (const auto& [arguments, exitCode, ports] : cases) {
    ports.empty() ? ::unsetenv("TESSEL_SERIAL_PORTS") : ::setenv("TESSEL_SERIAL_PORTS", ports.c_str(), 1);
    const auto result = runTessel(folder_, arguments);
    const std::string what = testing::PrintToString(arguments);
    EXPECT_EQ(result.exitCode, exitCode) << what << result.messages;
    EXPECT_NE((result.output + result.messages).find("MARK"), std::string::npos)
        << what << result.output << result.messages;
    expectHarmless(result.output + result.messages, what);
  }
  for (const char* name : {"MARK/meta.json", "MARK.json"}) {
    EXPECT_NE(folder_.read(name).find("MARK"), std::string::npos) << name;
    expectHarmless(folder_.read(name), name);
  }
  expectHarmless(folder_.read("label.svg"), "the picture");
  EXPECT_NE(folder_.read("label.svg").find("\xC3\xBCMARK&lt;i&gt;&amp;&quot;"), std::string::npos);
  EXPECT_EQ(folder_.read("label.svg").find("<i>"), std::string::npos);
}

TEST_F(ForeignText, FromADeviceThatIsNoGloveIsNotShown)
{
  const auto result = runTessel(folder_, words("send GetModuleMap --sim --scenario stranger --wait 0"));
  EXPECT_EQ(result.exitCode, 13) << result.messages;
  EXPECT_NE(result.messages.find("detected: 1"), std::string::npos) << result.messages;
  expectHarmless(result.output + result.messages, "the stranger");
}

}  // namespace
