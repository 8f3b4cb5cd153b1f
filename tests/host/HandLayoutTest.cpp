#include "host/recording/HandLayout.h"

#include <gtest/gtest.h>

#include <fstream>

#include "host/base/Failure.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using Json = nlohmann::ordered_json;

// What users read, in one text; empty if there is no failure.
std::string failureOf(const std::function<void()>& action)
{
  try {
    action();
    return "";
  } catch (const Failure& failure) {
    EXPECT_EQ(failure.code(), ExitCode::usage);
    EXPECT_NE(failure.advice(), "");
    std::string text = failure.what();
    for (const std::string& detail : failure.details())
      text += "\n" + detail;
    return text;
  }
}

std::filesystem::path written(const TemporaryFolder& folder, const std::string& text)
{
  const auto file = folder.path() / "hand.json";
  std::ofstream(file, std::ios::binary) << text;
  return file;
}

std::string file(const std::string& rest)
{
  return R"({"format": "tessel-layout", "version": 1, )" + rest + "}";
}

std::string leftHand(const std::string& regions)
{
  return file(R"("left": {"regions": [)" + regions + "]}");
}

constexpr const char* threeElements = R"("left": {"regions": [
    {"name": "thumb", "elements": [2, "1-0"], "positions": [[-10, 20], [1.5, 30, 4], [0, 0]]}]})";

TEST(HandLayout, KeepsTheOrderOfRegionsAndMirrorsTheOtherHand)
{
  const HandLayout layout = HandLayout::parse(Json::parse(file(threeElements)), "hand.json");
  EXPECT_EQ(layout.elements(), 3U);
  EXPECT_EQ(layout.mirrored(), "right");
  EXPECT_EQ(layout.left().regions, (std::vector<Region>{{"thumb", {2, 1, 0}}}));
  EXPECT_EQ(layout.left().positions, (std::vector<Position>{{0, 0, 0}, {1.5, 30, 4}, {-10, 20, 0}}));
  EXPECT_EQ(layout.right().regions, layout.left().regions);
  EXPECT_EQ(layout.right().positions, (std::vector<Position>{{0, 0, 0}, {-1.5, 30, 4}, {10, 20, 0}}));
}

TEST(HandLayout, DescribesTheGlovesOfARecordBySide)
{
  const HandLayout layout = HandLayout::parse(Json::parse(file(threeElements)), "hand.json");
  Layout record{.elements = 7, .groups = {{"right", "", 0, 3}, {"glove2", "", 3, 3}, {"aux", "", 6, 1}}};
  layout.describe(record);
  EXPECT_EQ(record.groups[0].hand, layout.right());
  EXPECT_EQ(record.groups[1].hand, layout.left());
  EXPECT_FALSE(record.groups[2].hand.isKnown());
  EXPECT_EQ(elementNames(record.groups[0]),
            (std::vector<std::string>{"right_thumb_02", "right_thumb_01", "right_thumb_00"}));

  record.groups[0].count = 4;
  const std::string failure = failureOf([&] { layout.describe(record); });
  EXPECT_EQ(failure, "the layout hand.json describes 3 elements of a right glove, but the gloves have 4.");
}

struct Mistake {
  const char* name;
  std::string text;
  std::vector<std::string> words;  // all of them are expected
};

TEST(HandLayout, NamesAllMistakes)
{
  const std::string thumb = R"({"name": "thumb", "elements": ["0-2"]})";
  const std::vector<Mistake> mistakes{
      {"not JSON", "{\n  \"format\": tessel", {"it is not JSON: line 2, column 14"}},
      {"another file", R"({"name": "x", "version": "1.0"})", {"no layout: \"format\" is missing"}},
      {"a list", "[]", {"no layout"}},
      {"version", R"({"format": "tessel-layout", "version": 2})", {"\"version\" is 2", "reads version 1"}},
      {"no hand", file(R"("name": "x")"), {R"(neither "left" nor "right")"}},
      {"key twice", file(R"("left": 1, "left": 2)"), {R"(the key "left" twice)"}},
      {"unknown keys",
       file(R"("rihgt": 1, "left": {"regoins": [], "regions": [{"name": "a", "elements": [0], "pos": 1}]})"),
       {"it has 3 errors", R"(unknown key "rihgt"; known are "format",)", R"(left: unknown key "regoins")",
        R"(left: region a: unknown key "pos")"}},
      {"comment",
       file(R"("comment": {}, "left": 1)"),
       {"\"comment\" is neither", "left: it is not an object"}},
      {"no regions",
       file(R"("left": {"regions": []}, "right": {})"),
       {"left: there is no list of \"regions\"", "right: there is no list"}},
      {"region names",
       leftHand(thumb + R"(, {"name": "a b", "elements": [3]}, {"name": "thumb", "elements": [4]},
                {"elements": [5]}, 7)"),
       {"region 2: its name \"a b\" is not usable", "region 3: its name \"thumb\" is also that of region 1",
        "region 4: it has no \"name\"", "region 5: it is not an object"}},
      {"twice",
       leftHand(thumb + R"(, {"name": "palm", "elements": ["1-4", 4]})"),
       {"left: region palm: it has what is also in region thumb: elements 1-2",
        "palm: more than once in it: element 4"}},
      {"missing",
       leftHand(thumb + R"(, {"name": "palm", "elements": [5, "8-9"]})"),
       {"left: in no region: elements 3-4, 6-7"}},
      {"hands that differ",
       file(R"("left": {"regions": [)" + thumb + R"(]}, "right": {"regions": [
           {"name": "palm", "elements": [0, 1]}]})"),
       {"right: in no region: element 2"}},
      {"out of range",
       file(R"("elements": 2, "left": {"regions": [)" + thumb + "]}"),
       {"region thumb: out of range with 2 elements", ": element 2"}},
      {"too many elements",
       leftHand(R"({"name": "a", "elements": ["0-999999999999"]})"),
       {"element 999999999999 is out of range: 4095"}},
      {"no number of elements",
       file(R"("elements": 0, "left": {"regions": [)" + thumb + "]}"),
       {"\"elements\" is 0, not a number from 1 to 4096"}},
      {"no elements",
       leftHand(R"({"name": "a", "elements": []}, {"name": "b"})"),
       {"region a: there is no list of \"elements\"", "region b: there is no list"}},
      {"no element",
       leftHand(R"({"name": "a", "elements": [-1, 0.5, "x", "1-", "1-2-3", [[]], null]})"),
       {"-1 is neither", "0.5 is neither", "\"x\" is", "\"1-\" is", "\"1-2-3\" is", "a list is", "null is"}},
      {"positions for some",
       leftHand(R"({"name": "a", "elements": [0], "positions": [[0, 1]]},
                {"name": "b", "elements": [1]})"),
       {"region b: it has no \"positions\", but other regions have"}},
      {"too few positions",
       leftHand(R"({"name": "a", "elements": ["0-2"], "positions": [[0, 1]]})"),
       {"region a: it has 1 positions for 3 elements"}},
      {"no positions",
       leftHand(R"({"name": "a", "elements": ["0-4"],
                "positions": [[0], [1, 2, 3, 4], ["0", 1], [0, 1001], 7]})"),
       {"position 1 is not [x, y] or [x, y, z] in mm, from -1000 to 1000", "position 2 is", "position 3 is",
        "position 4 is", "position 5 is"}},
      {"too large", std::string((1 << 20) + 1, ' '), {"it is larger than 1024 KiB"}},
      {"deep", std::string(500'000, '[') + std::string(500'000, ']'), {"no layout"}},
      {"deep within",
       leftHand(R"({"name": "a", "elements": )" + std::string(400'000, '[') + std::string(400'000, ']') +
                "}"),
       {"a list is neither the number"}},
      {"many",
       leftHand([] {
         std::string all = "{}";
         for (int count = 1; count < 3000; ++count)
           all += ",{}";
         return all;
       }()),
       {"it has 1000 errors", "and 975 more"}},
  };
  for (const Mistake& mistake : mistakes) {
    const TemporaryFolder folder;
    const auto path = written(folder, mistake.text);
    const std::string failure = failureOf([&] { HandLayout::read(path); });
    for (const std::string& words : mistake.words) {
      EXPECT_NE(failure.find(words), std::string::npos) << mistake.name << ": \"" << words << "\" in\n"
                                                        << failure;
    }
  }
}

TEST(HandLayout, ReadsOnlyFilesAndKnowsItsOwn)
{
  const TemporaryFolder folder;
  const auto read = [](const std::filesystem::path& path) {
    return failureOf([&] { HandLayout::read(path); });
  };
  EXPECT_NE(read(folder.path() / "none.json").find("there is no layout"), std::string::npos);
  EXPECT_NE(read(folder.path()).find("can't be read: "), std::string::npos);
  EXPECT_TRUE(HandLayout::isLayout(written(folder, R"({"format": "tessel-layout", )")));
  EXPECT_FALSE(HandLayout::isLayout(written(folder, R"({"format": "keyboard"})")));
}

}  // namespace
