#include "host/session/Markers.h"

#include <gtest/gtest.h>

namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;

TEST(Markers, AreLinesOfBoundedHarmlessText)
{
  const std::string umlaut = "\xC3\xA4";
  const struct {
    const char* name;
    std::vector<std::string> pieces;
    std::vector<std::string> markers;
  } cases[] = {
      {"lines in pieces", {"gr", "asp\nrel", "", "ease\n"}, {"grasp", "release"}},
      {"numbers count all markers", {"\n", "a\r\n", " \t\r\n"}, {"marker 1", "a", "marker 3"}},
      {"the last line needs no newline", {"a\nb"}, {"a", "b"}},
      {"harmful characters", {"\x1B[2J\xFF\0\"x\"\n"s}, {R"(\x1B[2J\xFF\x00"x")"}},
      {"a cut within a character", {std::string(999, 'a') + umlaut + "\nb\n"}, {std::string(999, 'a'), "b"}},
      {"up to the limit", {std::string(998, 'a') + umlaut + "b\n"}, {std::string(998, 'a') + umlaut}},
      {"a cut within an escape", {std::string(998, 'a') + "\x01\n"}, {std::string(998, 'a')}},
      {"far beyond the limit",
       {std::string(3000, 'a'), std::string(3000, 'b') + "\n"},
       {std::string(1000, 'a')}},
  };
  for (const auto& [name, pieces, expected] : cases) {
    MarkerQueue queue;
    MarkerLines lines(markersInto(queue));
    for (const std::string& piece : pieces) {
      lines.add(7s, piece);
    }
    lines.finish(8s);
    std::vector<std::string> texts;
    for (const Marker& marker : queue.take(100'000)) {
      texts.push_back(marker.text);
      EXPECT_TRUE(marker.time == 7s || marker.time == 8s) << name;
    }
    EXPECT_EQ(texts, expected) << name;
    EXPECT_TRUE(queue.take(100'000).empty()) << name;
  }
}

TEST(Markers, AreCountedWhereTooManyWait)
{
  MarkerQueue queue;
  for (int marker = 0; marker < 10'003; ++marker) {
    queue.add(0s, "");
  }
  EXPECT_EQ(queue.take(100'000).size(), 10'000U);
  queue.add(0s, "");
  EXPECT_EQ(queue.take(100'000).at(0).text, "marker 10001") << "those that were dropped have no number";
  EXPECT_EQ(queue.dropped(), 3U);
}

}  // namespace
