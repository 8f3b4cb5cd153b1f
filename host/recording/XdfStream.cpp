#include "host/recording/XdfStream.h"

#include <fmt/format.h>

#include <iterator>
#include <utility>

#include "host/base/Xml.h"
#include "host/recording/XdfChunk.h"

namespace {

void appendXml(std::string& xml, const DescriptionNode& node)
{
  fmt::format_to(std::back_inserter(xml), "<{}>{}", node.name, xmlText(node.value));
  for (const DescriptionNode& child : node.children) {
    appendXml(xml, child);
  }
  fmt::format_to(std::back_inserter(xml), "</{}>", node.name);
}

// With all digits that distinguish it from others.
std::string number(double value)
{
  return fmt::format("{}", value);
}

DescriptionNode offsetNode(double seconds)
{
  return {.name = "offset", .children = {{"time", number(seconds)}, {"value", "0"}}};
}

}  // namespace

XdfStream::XdfStream(std::uint32_t id, std::string format, StreamDescription description)
    : id_(id), format_(std::move(format)), description_(std::move(description))
{
}

void XdfStream::appendHeader(std::string& bytes, double createdAt) const
{
  appendText(bytes, true,
             {.name = "info",
              .children = {{"name", description_.name},
                           {"type", description_.type},
                           {"channel_count", fmt::format("{}", description_.channels)},
                           {"nominal_srate", "0"},
                           {"channel_format", format_},
                           {"source_id", description_.sourceId},
                           {"version", "1.1"},
                           {"created_at", number(createdAt)},
                           description_.desc}});
}

void XdfStream::appendSample(std::string& bytes, double seconds, std::string_view values)
{
  content_.clear();
  xdf::append(content_, id_);
  xdf::appendLength(content_, 1);
  content_ += xdf::hasTimestamp;
  xdf::append(content_, seconds);
  content_ += values;
  xdf::appendChunk(bytes, xdf::Tag::samples, content_);
  if (samples_ == 0) first_ = seconds;
  last_ = seconds;
  ++samples_;
}

void XdfStream::appendClockOffset(std::string& bytes, double seconds)
{
  content_.clear();
  xdf::append(content_, id_);
  xdf::append(content_, seconds);
  xdf::append(content_, 0.0);
  xdf::appendChunk(bytes, xdf::Tag::clockOffset, content_);
  if (offsets_ == 0) firstOffset_ = seconds;
  lastOffset_ = seconds;
  ++offsets_;
}

void XdfStream::appendFooter(std::string& bytes, std::vector<DescriptionNode> more) const
{
  DescriptionNode info{.name = "info"};
  if (samples_ > 0) {
    info.children.push_back({"first_timestamp", number(first_)});
    info.children.push_back({"last_timestamp", number(last_)});
  }
  info.children.push_back({"sample_count", fmt::format("{}", samples_)});
  if (last_ > first_) {
    info.children.push_back({"measured_srate", number(static_cast<double>(samples_ - 1) / (last_ - first_))});
  }
  DescriptionNode offsets{.name = "clock_offsets"};
  if (offsets_ > 0) offsets.children.push_back(offsetNode(firstOffset_));
  if (offsets_ > 1) offsets.children.push_back(offsetNode(lastOffset_));
  info.children.push_back(std::move(offsets));
  for (DescriptionNode& node : more) {
    info.children.push_back(std::move(node));
  }
  appendText(bytes, false, info);
}

void XdfStream::appendText(std::string& bytes, bool isHeader, const DescriptionNode& info) const
{
  std::string content;
  xdf::append(content, id_);
  content += "<?xml version=\"1.0\"?>";
  appendXml(content, info);
  xdf::appendChunk(bytes, isHeader ? xdf::Tag::streamHeader : xdf::Tag::streamFooter, content);
}
