// Reading XDF files back: all that was recorded, what a kill or damage left, and what is no recording.

#include <gtest/gtest.h>

#include "host/base/Failure.h"
#include "host/recording/EventText.h"
#include "host/recording/RecordReader.h"
#include "host/recording/XdfChunk.h"
#include "tests/support/SampleRecording.h"
#include "tests/support/TemporaryFolder.h"

namespace {

class XdfFile : public testing::Test {
 public:
  // What of a file can be read, or else its failure.
  struct Content {
    std::vector<SampleRecording::Row> rows;
    std::vector<RecordingEvent> events;
    std::string notes, failure;
    RecordingMetadata metadata;
  };

  XdfFile()
  {
    sample_.write(*makeRecordWriter(RecordFormat::xdf, folder_ / "run.xdf", sample_.metadata));
    bytes_ = folder_.read("run.xdf");
  }

  Content read(const std::string& bytes) const
  {
    folder_.write("a.xdf", bytes);
    Content content;
    try {
      const auto reader = openRecording(folder_ / "a.xdf");
      while (const auto record = reader->next()) {
        content.rows.push_back({record->timeMs,
                                record->arrivalMs,
                                record->pluginMs,
                                {record->frames.begin(), record->frames.end()},
                                {record->elements.begin(), record->elements.end()}});
      }
      content.events = reader->events();
      for (const std::string& note : reader->notes()) {
        content.notes += note + "; ";
      }
      content.metadata = reader->metadata();
      EXPECT_EQ(reader->progress(), 1);
    } catch (const Failure& failure) {
      content.failure = failure.what();
    }
    return content;
  }

  static void expectSame(const SampleRecording::Row& is, const SampleRecording::Row& wanted)
  {
    // As texts, since NaN differs from itself.
    const auto text = [](const SampleRecording::Row& row) {
      std::string all =
          testing::PrintToString(std::tuple(row.timeMs, row.arrivalMs, row.pluginMs, row.elements));
      for (const GloveFrame& frame : row.frames) {
        all += testing::PrintToString(std::tuple(frame.number, frame.ticks, frame.sampledMs));
      }
      return all;
    };
    EXPECT_EQ(text(is), text(wanted));
  }

  // Where the nth chunk of this kind begins.
  std::size_t chunkAt(xdf::Tag tag, unsigned skipped) const
  {
    std::size_t at = xdf::magic.size();
    while (at < bytes_.size()) {
      const auto sizeOfLength = static_cast<std::size_t>(bytes_[at]);
      std::uint64_t length = 0;
      bytes_.copy(reinterpret_cast<char*>(&length), sizeOfLength, at + 1);
      if (bytes_[at + 1 + sizeOfLength] == static_cast<char>(tag) && skipped-- == 0) return at;
      at += 1 + sizeOfLength + length;
    }
    throw std::out_of_range("no such chunk");
  }

  TemporaryFolder folder_;
  SampleRecording sample_;
  std::string bytes_;
};

TEST_F(XdfFile, ThatIsDamagedIsReadFromTheNextBoundary)
{
  // In the third record; the second boundary precedes the twelfth.
  const std::size_t damage = chunkAt(xdf::Tag::samples, 12);
  const struct {
    const char* description;
    std::size_t at;
    std::string bytes;
    std::size_t rows, events;
    std::string words;
  } cases[] = {
      {"an impossible length", damage, "\x03", 12, 2, "damaged at 1 place(s)"},
      {"a length beyond the end", damage, {"\x04\xFF\xFF\0\0\3", 6}, 12, 2, "damaged at 1 place(s)"},
      {"a length into another chunk", damage + 1, "\x7F", 12, 2, "damaged at 1 place(s)"},
      {"an unknown kind", damage + 2, "\x09", 12, 2, "damaged at 1 place(s)"},
      {"another stream", damage + 4, "\x77", 12, 2, "damaged at 1 place(s)"},
      {"no value of an element", damage + 20, "\xFF\xFF\xFF\xFF", 12, 2, "9 of its 21 records are missing"},
      {"a boundary", chunkAt(xdf::Tag::boundary, 1) + 8, "\xFF", 21, 4, ""},
      {"the last records", chunkAt(xdf::Tag::samples, 80), "\x03", 19, 4, "2 of its 21 records are missing"},
      {"the footers", chunkAt(xdf::Tag::streamFooter, 0), "\x03", 21, 4, "it was not completed"},
      {"the description at the end", bytes_.rfind("tessel-recording"), "*", 21, 4, "it was not completed"},
  };
  for (const auto& [description, at, replacement, rows, events, words] : cases) {
    std::string damaged = bytes_;
    damaged.replace(at, replacement.size(), replacement);
    const Content content = read(damaged);
    EXPECT_EQ(content.failure, "") << description;
    EXPECT_NE(content.notes.find(words), std::string::npos) << description << ": " << content.notes;
    EXPECT_EQ(content.rows.size(), rows) << description;
    EXPECT_EQ(content.events.size(), events) << description;
    if (!content.rows.empty()) expectSame(content.rows.back(), sample_.rows.at(rows == 19 ? 18 : 20));
  }
}

TEST_F(XdfFile, WithoutOwnStreamsIsRefusedByTheirNames)
{
  const auto header = [](const std::string& xml) {
    std::string chunk;
    xdf::appendChunk(chunk, xdf::Tag::streamHeader, std::string("\1\0\0\0", 4) + xml);
    return chunk;
  };
  std::string twice = bytes_;
  twice.replace(chunkAt(xdf::Tag::streamHeader, 1) + 7, 1, "\1");
  const struct {
    std::string bytes, words;
  } cases[] = {
      {"XDF:" + header("<info><name>Cap &lt;64&gt;</name></info>") + header("<name>\x1B[2J</name>"),
       "of another program, with 2 stream(s): 'Cap <64>', '\\x1B[2J'"},
      {"XDF:" + header("<info attribute=\"1\"><name"), "of another program, with 1 stream(s): ''"},
      {"XDF:", "contains no records"},
      {"XDF:\x03", "is an XDF file without streams"},
      {bytes_.substr(0, chunkAt(xdf::Tag::streamHeader, 2)), "ends or is damaged within the descriptions"},
      {bytes_.substr(0, chunkAt(xdf::Tag::streamHeader, 4)), "lacks the stream 'Tessel events'"},
      {"XDF:" + header("<name>Tessel timing</name>"), "it lacks its metadata"},
      {"XDF:" + header("<name>Tessel timing</name><metadata>{}</metadata>"), "does not describe a recording"},
      {twice, "lacks the stream 'Tessel right glove'"},
  };
  for (const auto& [bytes, words] : cases) {
    EXPECT_NE(read(bytes).failure.find(words), std::string::npos) << words << "\n" << read(bytes).failure;
  }
}

}  // namespace
