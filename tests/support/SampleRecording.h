// A short recording with everything that formats must keep: two gloves and auxiliary elements, positions,
// unknown values, a gap, and events with foreign text.
#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "host/recording/RecordWriter.h"
#include "host/recording/RecordingMetadata.h"

struct SampleRecording {
  struct Row {
    double timeMs, arrivalMs;
    std::uint32_t pluginMs;
    std::vector<GloveFrame> frames;
    std::vector<std::uint16_t> elements;

    Record record() const { return {timeMs, arrivalMs, pluginMs, frames, elements}; }
  };

  std::chrono::nanoseconds zero{12'345'678'901'234};
  RecordingMetadata metadata;
  std::vector<Row> rows;
  std::vector<RecordingEvent> events;

  SampleRecording()
  {
    const Hand hand{.regions = {{"thumb", {2, 0}}, {"palm", {1}}},
                    .positions = {{-1.5, 20, 0.25}, {0, -3, 0}, {4, 5, 6}}};
    metadata.layout = {
        .elements = 6,
        .groups = {
            {"left", "KVXGL00017", 0, 3, hand}, {"right", "<KVXGR00018>\x1B", 3, 2}, {"aux", "", 5, 1}}};
    metadata.gloves = {{.label = "left",
                        .module = "KVXGL00017",
                        .serialNumber = 17,
                        .firmware = {{"revision", 5}, {"date", "2020-01-01"}, {"no name", 1}},
                        .address = {},
                        .disconnectedSeconds = {}},
                       {.label = "right",
                        .module = "<KVXGR00018>\x1B",
                        .serialNumber = 18,
                        .firmware = {},
                        .address = {},
                        .disconnectedSeconds = {}}};
    metadata.time.method = "by <hand> & \"eye\"";
    metadata.books = {{"left", {{"sent", 21}, {"lost", {{"radio", 1}}}}}};
    const double unknown = Record::unknown;
    // 20 s, of which 5 s are a gap, then what is unknown.
    for (unsigned row = 0; row < 21; ++row) {
      const double ms = row * 731.0 + (row > 10 ? 5000 : 0);
      rows.push_back(
          {ms,
           ms + 12.25,
           4'294'967'290U + row,
           {{row, row * 7310, ms - 3.5}, {row + 100, 1LL << 40, ms}},
           {static_cast<std::uint16_t>(row), 65535, 0, 1, 258, static_cast<std::uint16_t>(7 * row)}});
    }
    rows[3].frames[1] = {};
    rows[7].timeMs = unknown;
    rows[7].frames[0] = rows[7].frames[1] = {};
    rows[8].timeMs = rows[8].arrivalMs = unknown;
    rows[8].frames[0].sampledMs = unknown;
    events = {{unknown, "disconnected", "left", "<it> & \"that\""},
              {731.25, "marker", "", "object (small): lifted\n\xFF"},
              {8000, "stall", "", ""},
              {12'500.5, "reconnected", "right", "\xC3\xA4"}};
  }

  // Each event follows the records up to its time.
  void write(RecordWriter& writer, bool isComplete = true)
  {
    auto event = events.begin();
    for (const Row& row : rows) {
      while (event != events.end() && !(event->timeMs >= row.timeMs)) {
        writer.addEvent(*event++);
      }
      if (&row == &rows.front()) writer.begin(zero);
      writer.add(row.record());
    }
    metadata.records = rows.size();
    metadata.ended = "the end";
    writer.close(isComplete);
  }
};
