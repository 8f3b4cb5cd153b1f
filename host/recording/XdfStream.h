// One stream of an XDF file: its header, its samples as they are written, and its footer.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "host/recording/StreamDescription.h"

class XdfStream {
 public:
  // `format`: of its channels, as XDF names it.
  XdfStream(std::uint32_t id, std::string format, StreamDescription description);

  // Adds nodes to its description. Before the header.
  void describe(DescriptionNode node) { description_.desc.children.push_back(std::move(node)); }

  void appendHeader(std::string& bytes, double createdAt) const;
  // A chunk with one sample; `values` are the bytes of its channels.
  void appendSample(std::string& bytes, double seconds, std::string_view values);
  // The clock of the timestamps is that of the file.
  void appendClockOffset(std::string& bytes, double seconds);
  // `more`: what is known in the end.
  void appendFooter(std::string& bytes, std::vector<DescriptionNode> more) const;

  std::uint64_t samples() const { return samples_; }

 private:
  void appendText(std::string& bytes, bool isHeader, const DescriptionNode& info) const;

  const std::uint32_t id_;
  const std::string format_;
  StreamDescription description_;
  std::uint64_t samples_ = 0;
  double first_ = 0;
  double last_ = 0;
  // The offset is the same at all times, so the first and the last one say all in the footer.
  std::uint64_t offsets_ = 0;
  double firstOffset_ = 0;
  double lastOffset_ = 0;
  std::string content_;  // a member to reuse its memory
};
