#include <gtest/gtest.h>

#include "tests/e2e/Tessel.h"

namespace {

TEST(Layout, IsWrittenCheckedAndDrawn)
{
  TemporaryFolder folder;
  folder.write("wrong.json",
               R"({"format": "tessel-layout", "version": 1, "nmae": "x\u001b[31m", "left": {"regions": [
                   {"name": "a", "elements": ["0-3"], "positions": [[0, 0]]}]}})");
  folder.write("regions.json", R"({"format": "tessel-layout", "version": 1, "right": {"regions": [
                   {"name": "whole-hand", "elements": ["0-3"]}]}})");
  folder.write("regions.svg", "<svg/>");
  folder.write("other.svg", "<svg/>");
  const struct {
    std::string arguments;
    int exitCode;
    std::vector<std::string> texts;  // of output and messages
  } cases[] = {
      {"hand.json", 2, {"there is no layout hand.json"}},
      {"hand.json --elements 60", 2, {"--write"}},
      {"hand.json --write --elements 60", 0, {"Wrote hand.json", "60 elements"}},
      {"hand.json --write", 5, {"already"}},
      {"hand.json", 0, {"60 per glove", "right one is its mirror image", "thumb", "Drew hand.svg"}},
      {"hand.json", 0, {"Drew hand.svg"}},
      {"hand.json --output other.svg", 5, {"already"}},
      {"hand.json --output -", 0, {"Drawn by tessel layout", "</svg>"}},
      {"hand.json --output hand.txt", 2, {"hand.txt can't be written"}},
      {"regions.json", 0, {"whole-hand", "left one is its mirror image", "nothing to draw"}},
      {"wrong.json",
       2,
       {"the layout wrong.json can't be used: it has 2 errors", "- unknown key \"nmae\"",
        "- left: region a: it has 1 positions for 4 elements", "docs/layout.md"}},
  };
  for (const auto& [arguments, exitCode, texts] : cases) {
    const auto result = runTessel(folder, words("layout " + arguments));
    EXPECT_EQ(result.exitCode, exitCode) << arguments << result.messages;
    const std::string all = result.output + result.messages;
    for (const std::string& text : texts) {
      EXPECT_NE(all.find(text), std::string::npos) << arguments << text << all;
    }
  }
  EXPECT_EQ(folder.read("regions.svg"), "<svg/>");
}

TEST(Layout, ExamplesAreValid)
{
  std::size_t checked = 0;
  for (const auto& file : std::filesystem::directory_iterator(TESSEL_LAYOUTS)) {
    TemporaryFolder folder;
    const auto result = runTessel(folder, {"layout", file.path().string(), "--output", "drawn.svg"});
    EXPECT_EQ(result.exitCode, 0) << file.path() << result.messages;
    ++checked;
  }
  EXPECT_GE(checked, 3U);
  TemporaryFolder folder;
  EXPECT_EQ(runTessel(folder, words("layout - --write")).output,
            folder.read(std::string(TESSEL_LAYOUTS) + "/simulated-hand.json"))
      << "as `tessel layout --write` writes it";
}

}  // namespace
