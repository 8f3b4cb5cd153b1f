// Describes the streams of a recording as XDF files and the network have them, so that another program can
// use them without this one's documents: a tree of names and values, and what identifies the stream.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "host/recording/RecordingMetadata.h"

// Has a value or children. The name is one that XML allows; the value is untrusted text.
struct DescriptionNode {
  std::string name;
  std::string value = {};
  std::vector<DescriptionNode> children = {};
};

struct StreamDescription {
  std::string name;
  std::string type;
  std::string sourceId;  // the same for each recording of the same gloves
  std::size_t channels = 0;
  DescriptionNode desc;
};

inline constexpr const char* timingStreamName = "Tessel timing";
inline constexpr const char* eventStreamName = "Tessel events";
// "Tessel left glove", "Tessel glove1"
std::string elementStreamName(const ElementGroup& group);

// The elements of one group of metadata.layout. `synchronization`: how its timestamps are made, for people.
StreamDescription elementStream(const ElementGroup& group, const RecordingMetadata& metadata,
                                const std::string& synchronization);
// The times, counters and clocks of the records, by the names of a CSV file's columns.
StreamDescription timingStream(const RecordingMetadata& metadata, const std::string& synchronization);
// Texts as eventText() makes them.
StreamDescription eventStream(const RecordingMetadata& metadata, const std::string& synchronization);

// The members of an object, of which those that can't be names of nodes are left out.
std::vector<DescriptionNode> nodesOf(const nlohmann::ordered_json& object);
