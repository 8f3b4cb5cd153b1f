#include "host/plot/Picture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <regex>

#include "host/commands/PictureFile.h"
#include "host/plot/Bands.h"
#include "host/plot/Curves.h"
#include "host/plot/HeatMap.h"
#include "host/plot/MarkerLabels.h"
#include "host/plot/Series.h"
#include "host/plot/TextFit.h"
#include "host/recording/RecordingParts.h"
#include "tests/support/Refusal.h"
#include "tests/support/Timestamps.h"

namespace {

// A glove and auxiliary elements at 40 records a second, with a pause in the middle.
Recording withPause(unsigned records, unsigned pauseMs)
{
  Recording recording;
  recording.groups = {{"left", "", 0, 1}, {"aux", "", 1, 1}};
  recording.elements = 2;
  std::vector<std::uint32_t> timestamps;
  for (unsigned record = 0; record < records; ++record) {
    timestamps.push_back(record * 25 + (record < records / 2 ? 0 : pauseMs));
    recording.samples.insert(recording.samples.end(), {5, 1});
  }
  setTimestamps(recording, timestamps);
  return recording;
}

TEST(MarkerLabels, OverlapNeitherEachOtherNorTheirLines)
{
  constexpr double right = 900;
  for (unsigned seed = 0; seed < 200; ++seed) {
    std::mt19937 random(seed);
    std::vector<MarkedPosition> markers(1 + seed);
    for (auto& [x, text, number] : markers) {
      x = 66 + static_cast<double>(random() % 834);
      text.assign(1 + random() % 60, 'w');
    }
    std::ranges::sort(markers, {}, &MarkedPosition::x);
    const auto labels = placeLabels(markers, right, 11);
    EXPECT_FALSE(labels.empty()) << seed;
    for (const MarkerLabel& label : labels) {
      const double end = label.x + textWidth(label.text, 11);
      EXPECT_LE(end, right) << seed;
      for (const MarkerLabel& other : labels) {
        if (&other == &label || other.row < label.row) continue;
        const bool isOwnLine = other.x == label.x && other.row != label.row;
        EXPECT_TRUE(other.x < label.x || isOwnLine || other.x >= end)
            << "seed " << seed << ": " << label.x << " and " << other.x;
      }
    }
  }
}

TEST(Picture, ShowsMarkersAndAbsencesAsFarAsThereIsRoom)
{
  Recording recording = withPause(1000, 25'000);
  recording.events = {{2, "marker", "", "a<b"},
                      {12, "disconnected", "left", ""},
                      {12.5, "disconnected", "right", ""},
                      {37, "reconnected", "", ""},
                      {40, "disconnected", "left", ""},
                      {40.1, "reconnected", "left", ""},
                      {45, "disconnected", "right", ""},
                      {60, "marker", "", "at the end"}};
  const std::string few = drawPicture(recording, {.title = "", .from = 0, .to = 50});
  for (const char* text : {">a&lt;b<", ">gloves away 25 s<", ">right away 5 s<", ">at the end<", ">away<"}) {
    EXPECT_NE(few.find(text), std::string::npos) << text;
  }
  EXPECT_EQ(few.find("left away"), std::string::npos) << "no room";
  recording.events.assign(200, {0, "marker", "", "dense"});
  for (std::size_t marker = 0; marker < 200; ++marker) {
    recording.events[marker].seconds = static_cast<double>(marker) / 4;
  }
  const std::string dense = drawPicture(recording, {.title = "", .from = 0, .to = 50});
  EXPECT_EQ(dense.find("dense"), std::string::npos);
  EXPECT_NE(dense.find(">200<"), std::string::npos) << "its number";
  const std::string lines = dense.substr(dense.find("d=\"M66.5 "));
  EXPECT_EQ(std::count(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(lines.find("/>")), 'V'),
            200);
}

TEST(Picture, KeepsAShortPeakAndLeavesOnlyPausesEmpty)
{
  Recording recording = withPause(1000, 25'000);
  recording.groups = {{"le<ft", "K<1", 0, 1}, {"right", "", 1, 1}};
  recording.samples[2 * 333] = 900;
  const std::vector<std::size_t> all{0};
  const HeatMap whole = makeHeatMap(recording, recording.groups[0], all, TimeAxis(recording, 0, 50, 8));
  EXPECT_EQ(whole.counts, (std::vector{5, 900, -1, -1, -1, -1, 5, 5}));
  const HeatMap part = makeHeatMap(recording, recording.groups[0], all, TimeAxis(recording, 8.3, 8.4, 8));
  EXPECT_EQ(part.counts, (std::vector{5, 5, 900, 900, 5, 5, 5, 5}));

  const std::string svg = drawPicture(recording, {.title = "a&b\x01.csv", .from = 0, .to = 50});
  for (const char* text :
       {">a&amp;b\xEF\xBF\xBD.csv<", ">le&lt;ft<", ">K&lt;1<", ">right<", "1000 records", "no records"}) {
    EXPECT_NE(svg.find(text), std::string::npos) << text;
  }
}

// A glove of four elements in two regions, which are neither in the order of elements nor of names.
Recording withRegions()
{
  Recording recording;
  recording.groups = {{"left", "", 0, 4, {{{"thumb", {3, 1}}, {"palm", {0, 2}}}, {}}}};
  recording.elements = 4;
  recording.samples = {10, 20, 30, 40, 11, 21, 31, 61};
  setTimestamps(recording, {0, 1000});
  return recording;
}

TEST(Picture, SortsElementsByRegionAndDrawsACurveOfEach)
{
  const Recording recording = withRegions();
  const ElementGroup& glove = recording.groups[0];
  const TimeAxis axis(recording, 0, 2, 2);
  const std::vector<Region> bands = bandsOf(glove);
  ASSERT_EQ(bands.size(), 2U);
  EXPECT_EQ(makeHeatMap(recording, glove, bands[0].elements, axis).counts, (std::vector{40, 61, 20, 21}));
  EXPECT_EQ(makeHeatMap(recording, glove, bands[1].elements, axis).counts, (std::vector{10, 11, 30, 31}));
  ElementGroup unknown = glove;
  unknown.hand = {};
  EXPECT_EQ(bandsOf(unknown), (std::vector<Region>{{"", {0, 1, 2, 3}}}));

  const RegionStyles styles(recording.groups);
  const Scale upright{0, 0, -1};
  const struct {
    CurvesBy by;
    RegionValue value;
    std::vector<std::string> paths;
  } cases[] = {{CurvesBy::region, RegionValue::mean, {"M0 30l1 11 1 0", "M0 20l1 1 1 0"}},
               {CurvesBy::region, RegionValue::maximum, {"M0 40l1 21 1 0", "M0 30l1 1 1 0"}},
               {CurvesBy::element,
                RegionValue::mean,
                {"M0 10l1 1 1 0", "M0 20l1 1 1 0", "M0 30l1 1 1 0", "M0 40l1 21 1 0"}},
               {CurvesBy::glove, RegionValue::mean, {"M0 40l1 21 1 0", "M0 25l1 6 1 0"}}};
  for (const auto& [by, value, paths] : cases) {
    const Series series = seriesOf(recording, glove, axis, by, value, styles);
    std::vector<std::string> found;
    for (std::size_t curve = 0; curve < series.curves.count(); ++curve) {
      found.push_back(series.curves.path(curve, upright));
    }
    EXPECT_EQ(found, paths);
  }
}

TEST(Curves, OfAnHourKeepEachPeakInABoundedSize)
{
  constexpr std::size_t records = 144'000;
  Recording recording;
  recording.seconds.resize(records);
  for (std::size_t record = 0; record < records; ++record) {
    recording.seconds[record] = static_cast<double>(record) / 40;
    recording.gaps.add(static_cast<std::uint32_t>(record * 25));
  }
  const TimeAxis axis(recording, 0, 3600, 800);
  for (const std::size_t count : {1U, 250U}) {
    Curves curves(axis, count, 100'000);
    for (std::size_t record = 0; record < records; ++record) {
      curves.add(record, std::vector<double>(count, record == 71'501   ? 900
                                                    : record == 71'502 ? -300
                                                                       : static_cast<double>(record % 50)));
    }
    curves.finish();
    const std::string path = curves.path(count - 1, {0, 0, 1});
    EXPECT_LT(path.size() * count, 1'000'000U);
    // Each point is relative to the one before.
    const std::regex point("(-?[0-9.]+) ?(-?[0-9.]+)");
    double y = 0;
    double lowest = 0;
    double highest = 0;
    for (std::sregex_iterator found(path.begin(), path.end(), point), end; found != end; ++found) {
      y += std::stod((*found)[2]);
      lowest = std::min(lowest, y);
      highest = std::max(highest, y);
    }
    EXPECT_NEAR(lowest, -900, 0.01) << count;
    EXPECT_NEAR(highest, 300, 0.01) << count;
  }
}

TEST(Moments, AreThoseOfTheRecordsThatLastAtTheirTimes)
{
  Recording recording = withPause(200, 10'000);
  recording.samples[2 * 150] = 9;
  recording.samples[2 * 60 + 1] = 999;
  const TimeAxis axis(recording, 1, 14, 500);
  const struct {
    const char* text;
    std::vector<std::size_t> records;
    const char* error;
  } cases[] = {{"2", {80}, ""},
               {"2.024,1", {40, 80}, ""},
               {"max,12.5", {100, 150}, ""},
               {"0.5", {}, "--at 0.5 is not in the picture"},
               {"15", {}, "--at 15 is not in the picture"},
               {"2.51", {}, "there is no record at --at 2.51"},
               {"", {}, "does not accept ''"},
               {"1,", {}, "does not accept ''"},
               {"1;2", {}, "does not accept '1;2'"},
               {"nan", {}, "does not accept 'nan'"},
               {"1,1,1,1,1,1,1,1,1,1,1,1,1", {}, "13 moments"}};
  for (const auto& [text, records, error] : cases) {
    std::vector<std::size_t> found;
    const std::string reason = refusal([&, &moments = text] {
      for (const Moment& moment : findMoments(recording, axis, parseMoments(moments))) {
        found.push_back(moment.record);
      }
    });
    EXPECT_EQ(found, records) << text;
    EXPECT_EQ(reason.empty(), *error == '\0') << reason;
    EXPECT_NE(reason.find(error), std::string::npos) << reason;
  }
}

TEST(Picture, ShowsTheHandsAtAMomentInTheColoursOfTheHeatMap)
{
  Recording recording = withRegions();
  recording.groups[0].hand.positions = {{0, 0, 0}, {20, 0, 0}, {0, 20, 0}, {20, 20, 0}};
  const std::string svg = drawPicture(recording, {.title = "", .from = 0, .to = 2, .at = {{}, {0.5}}});
  EXPECT_NE(svg.find("1.00 s (highest mean)"), std::string::npos);
  const std::string first = svg.substr(svg.find("0.50 s"), svg.find("1.00 s") - svg.find("0.50 s"));
  EXPECT_NE(first.find("#440154"), std::string::npos) << "the lowest count";
  EXPECT_EQ(first.find("#fde725"), std::string::npos);
  EXPECT_NE(svg.find("#fde725", svg.find("1.00 s")), std::string::npos) << "the highest count";
}

TEST(Picture, RefusesWhatARecordingHasNoDataFor)
{
  Recording known = withRegions();
  Recording unknown = known;
  unknown.groups[0].hand = {};
  const struct {
    const Recording& recording;
    PictureOptions options;
    const char* reason;
  } cases[] = {
      {unknown, {.title = "", .from = 0, .to = 2, .by = CurvesBy::region}, "--by region: it is not known"},
      {unknown, {.title = "", .from = 0, .to = 2, .value = RegionValue::maximum}, "--value"},
      {known,
       {.title = "", .from = 0, .to = 2, .by = CurvesBy::glove, .value = RegionValue::mean},
       "--value"},
      {known, {.title = "", .from = 0, .to = 2, .at = {{0.5}}}, "positions of the elements of 'left'"}};
  for (const auto& [recording, options, reason] : cases) {
    const auto failure = failureOf([&, &of = recording, &with = options] { drawPicture(of, with); });
    ASSERT_TRUE(failure) << reason;
    EXPECT_EQ(failure->code(), ExitCode::usage);
    EXPECT_NE(std::string(failure->what()).find(reason), std::string::npos) << failure->what();
  }
}

TEST(PictureFile, IsOfAFormatThatItsExtensionNames)
{
  const struct {
    PictureFileOptions options;
    bool isAccepted;
  } cases[] = {{{.output = "a.SVG"}, true},           {{.output = "-"}, true},
               {{.output = "a.gif"}, false},          {{.output = ""}, false},
               {{.output = "a", .dpi = 96}, false},   {{.output = "a.pdf", .dpi = 96}, false},
               {{.output = "a.png", .dpi = 96}, true}};
  for (const auto& [options, isAccepted] : cases) {
    const std::string reason = refusal([&with = options] { PictureFile(with, "default.svg", "mark"); });
    EXPECT_EQ(reason.empty(), isAccepted) << *options.output;
  }
}

}  // namespace
