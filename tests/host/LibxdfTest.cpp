// What is written as XDF is what an independent reader finds in it.

#include <gtest/gtest.h>
#include <xdf.h>

#include <algorithm>

#include "tests/support/SampleRecording.h"
#include "tests/support/TemporaryFolder.h"

namespace {

const Xdf::Stream& streamNamed(const Xdf& xdf, const std::string& name)
{
  const auto found =
      std::ranges::find_if(xdf.streams, [&](const Xdf::Stream& stream) { return stream.info.name == name; });
  if (found == xdf.streams.end()) throw std::runtime_error("no stream " + name);
  return *found;
}

class Libxdf : public testing::Test {
 public:
  Libxdf()
  {
    sample_.write(*makeRecordWriter(RecordFormat::xdf, folder_ / "run.xdf", sample_.metadata));
    xdf_.load_xdf((folder_ / "run.xdf").string());
  }

  double seconds(double ms) const { return std::chrono::duration<double>(sample_.zero).count() + ms / 1000; }

  TemporaryFolder folder_;
  SampleRecording sample_;
  Xdf xdf_;
};

TEST_F(Libxdf, FindsEveryValueAtItsOwnTime)
{
  ASSERT_EQ(xdf_.streams.size(), 5U);
  const struct {
    std::string name, type;
    std::size_t group, glove;
  } cases[] = {{"Tessel left glove", "Tactile", 0, 0},
               {"Tessel right glove", "Tactile", 1, 1},
               {"Tessel auxiliary", "Auxiliary", 2, 2}};
  for (const auto& [name, type, index, glove] : cases) {
    SCOPED_TRACE(name);
    const Xdf::Stream& stream = streamNamed(xdf_, name);
    const ElementGroup& group = sample_.metadata.layout.groups[index];
    EXPECT_EQ(stream.info.type, type);
    EXPECT_EQ(stream.info.channel_format, "int32");
    EXPECT_EQ(stream.info.nominal_srate, 0);
    ASSERT_EQ(stream.time_series.size(), group.count);
    ASSERT_EQ(stream.time_stamps.size(), sample_.rows.size());
    double ms = 0;
    for (std::size_t row = 0; row < sample_.rows.size(); ++row) {
      const SampleRecording::Row& wanted = sample_.rows[row];
      const double sampledMs = glove < 2 ? wanted.frames[glove].sampledMs : Record::unknown;
      if (!std::isnan(sampledMs) || !std::isnan(wanted.timeMs)) {
        ms = std::isnan(sampledMs) ? wanted.timeMs : sampledMs;
      } else {
        ms += row == 7 ? 731 : 1;  // by the arrival, and by the plug-in's timestamp
      }
      EXPECT_NEAR(stream.time_stamps[row], seconds(ms), 1e-9) << row;
      for (std::size_t element = 0; element < group.count; ++element) {
        EXPECT_EQ(stream.time_series[element][row], wanted.elements[group.first + element]) << row;
      }
    }
    EXPECT_EQ(stream.info.sample_count, 21);
    EXPECT_NEAR(stream.info.first_timestamp, stream.time_stamps.front(), 1e-6);
    EXPECT_NEAR(stream.info.last_timestamp, stream.time_stamps.back(), 1e-6);
    EXPECT_NEAR(stream.info.measured_srate, 20 / (stream.time_stamps.back() - stream.time_stamps.front()),
                1e-6);
    EXPECT_GE(stream.clock_times.size(), 3U) << "20 s";
    EXPECT_EQ(std::ranges::count(stream.clock_values, 0.0), stream.clock_values.size());
  }
  const Xdf::Stream& timing = streamNamed(xdf_, "Tessel timing");
  ASSERT_EQ(timing.time_series.size(), 9U);
  EXPECT_EQ(timing.info.channel_format, "double64");
  EXPECT_FLOAT_EQ(timing.time_series[1][20], 20 * 731 + 5000 + 12.25);
  EXPECT_TRUE(std::isnan(timing.time_series[0][7]));
  EXPECT_FLOAT_EQ(timing.time_series[2][5], 4294967295.0F);
  EXPECT_EQ(timing.time_series[2][20], 14);
  EXPECT_EQ(timing.time_series[6][3], -1);
  EXPECT_FLOAT_EQ(timing.time_series[7][4], 1099511627776.0);
}

TEST_F(Libxdf, FindsDescriptionsAndEvents)
{
  const Xdf::Stream& left = streamNamed(xdf_, "Tessel left glove");
  const std::vector<std::string> labels{"left_thumb_01", "left_palm_00", "left_thumb_00"};
  ASSERT_EQ(left.info.channels.size(), labels.size());
  for (std::size_t channel = 0; channel < labels.size(); ++channel) {
    EXPECT_EQ(left.info.channels[channel].at("label"), labels[channel]);
    EXPECT_EQ(left.info.channels[channel].at("unit"), "counts");
  }
  EXPECT_EQ(left.info.channels[1].at("region"), "palm");
  const struct {
    const char* stream;
    bool isInFooter;
    std::string text;
  } texts[] = {
      {"Tessel left glove", false, "<location><X>-1.5</X><Y>20</Y><Z>0.25</Z></location>"},
      {"Tessel left glove", false, "<source_id>tessel-KVXGL00017</source_id>"},
      {"Tessel left glove", false,
       "<acquisition><model>Tessel glove</model><serial_number>17</serial_number><module>KVXGL00017</module>"
       "<firmware><revision>5</revision><date>2020-01-01</date></firmware></acquisition>"},
      {"Tessel right glove", false, "<module>&lt;KVXGR00018&gt;\xEF\xBF\xBD</module>"},
      {"Tessel left glove", false, "by &lt;hand&gt; &amp; &quot;eye&quot;"},
      {"Tessel left glove", true, "<books><sent>21</sent><lost><radio>1</radio></lost></books>"},
      {"Tessel timing", false, R"(&quot;complete&quot;:false,)"},
      {"Tessel timing", false, R"(&quot;monotonic_ns&quot;:12345678901234})"},
      {"Tessel timing", true, R"(&quot;complete&quot;:true,&quot;ended&quot;:&quot;the end&quot;)"},
      {"Tessel timing", true, R"(&quot;events&quot;:4,)"},
  };
  for (const auto& [name, isInFooter, text] : texts) {
    const Xdf::Stream& stream = streamNamed(xdf_, name);
    const std::string& xml = isInFooter ? stream.streamFooter : stream.streamHeader;
    EXPECT_NE(xml.find(text), std::string::npos) << text << "\n" << xml;
  }
  const std::pair<std::string, double> events[] = {{"disconnected (left): <it> & \"that\"", 0},
                                                   {"marker: object (small): lifted\\n\\xFF", 731.25},
                                                   {"stall", 8000},
                                                   {"reconnected (right): \xC3\xA4", 12'500.5}};
  ASSERT_EQ(xdf_.eventMap.size(), std::size(events));
  for (std::size_t event = 0; event < std::size(events); ++event) {
    EXPECT_EQ(xdf_.eventMap[event].first.first, events[event].first);
    EXPECT_NEAR(xdf_.eventMap[event].first.second, seconds(events[event].second), 1e-9);
  }
}

}  // namespace
