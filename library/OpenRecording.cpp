#include "library/OpenRecording.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "host/recording/RegionChoice.h"
#include "library/Block.h"
#include "library/JsonText.h"

namespace library {

OpenRecording::OpenRecording(const std::filesystem::path& path)
    : reader_(openRecording(path)),
      gloves_(static_cast<std::size_t>(
          std::ranges::count_if(reader_->metadata().layout.groups, &ElementGroup::isGlove))),
      elements_(reader_->metadata().layout.elements)
{
}

bool OpenRecording::read(tessel_block& block)
{
  const std::scoped_lock lock(mutex_);
  block.count = 0;
  block.first = records_;
  block.overflowed = 0;
  if (failure_) std::rethrow_exception(failure_);
  try {
    while (block.count < block.capacity && readRow(block)) {
    }
  } catch (...) {
    failure_ = std::current_exception();
    if (block.count == 0) throw;
  }
  return block.count > 0;
}

// False after the last record.
bool OpenRecording::readRow(tessel_block& block)
{
  if (hasEnded_) return false;
  const std::optional<Record> record = reader_->next();
  if (!record) {
    events_ = reader_->events();
    hasEnded_ = true;
    return false;
  }
  copyRecord(*record, block, block.count);
  ++block.count;
  ++records_;
  return true;
}

std::string OpenRecording::describe() const
{
  const std::scoped_lock lock(mutex_);
  RecordingMetadata metadata = reader_->metadata();
  if (hasEnded_) metadata.records = records_;
  // The columns of CSV name regions, too.
  if (metadata.hands.is_null()) metadata.hands = handLayoutJson(metadata.layout);

  nlohmann::ordered_json json;
  json["metadata"] = metadataJson(metadata, events_.size(), hasEnded_ && reader_->isComplete());
  // Not this program.
  if (metadata.program.empty()) json["metadata"]["program"] = nullptr;
  json["events"] = nlohmann::ordered_json::array();
  for (const RecordingEvent& event : events_) {
    json["events"].push_back(eventJson(event));
  }
  json["notes"] = reader_->notes();
  return jsonText(json);
}

}  // namespace library
