#include "host/recording/XdfInput.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <system_error>

#include "host/recording/RecordingParts.h"

namespace {

// The header of a stream of 4096 elements has a megabyte.
constexpr std::uint64_t maxTextSize = 1 << 24;
// A sample of 4096 elements, or a marker.
constexpr std::uint64_t maxSampleSize = 1 << 16;

std::uint64_t maxSizeOf(xdf::Tag tag)
{
  switch (tag) {
    case xdf::Tag::fileHeader:
    case xdf::Tag::streamHeader:
    case xdf::Tag::streamFooter:
      return maxTextSize;
    case xdf::Tag::samples:
      return maxSampleSize;
    case xdf::Tag::clockOffset:
    case xdf::Tag::boundary:
      return 64;
  }
  return 0;
}

std::string boundaryChunk()
{
  std::string bytes;
  xdf::appendChunk(bytes, xdf::Tag::boundary, xdf::boundary);
  return bytes;
}

}  // namespace

XdfInput::XdfInput(const std::filesystem::path& path) : path_(path), file_(openInput(path))
{
  std::error_code unknown;
  size_ = std::filesystem::file_size(path, unknown);
  if (unknown) size_ = 0;
  std::array<char, xdf::magic.size()> start{};
  if (read(start) < start.size() || std::string_view(start.data(), start.size()) != xdf::magic) {
    damagedRecording(path, "is not an XDF file");
  }
}

std::size_t XdfInput::read(std::span<char> bytes)
{
  file_.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  checkRead(file_, path_);
  const auto got = static_cast<std::size_t>(file_.gcount());
  position_ += got;
  return got;
}

void XdfInput::seek(std::uint64_t position)
{
  file_.clear();
  if (!file_.seekg(static_cast<std::streamoff>(position))) file_.setstate(std::ios_base::badbit);
  checkRead(file_, path_);
  position_ = position;
}

std::optional<XdfInput::Chunk> XdfInput::next()
{
  begin_ = position_;
  char lengthSize = 0;
  isAtEnd_ = read({&lengthSize, 1}) == 0;
  if (isAtEnd_ || (lengthSize != 1 && lengthSize != 4 && lengthSize != 8)) return std::nullopt;
  std::array<char, sizeof(std::uint64_t)> bytes{};
  const auto readBytes = [&](std::size_t count) { return read(std::span(bytes).first(count)) == count; };
  if (!readBytes(static_cast<std::size_t>(lengthSize))) return std::nullopt;
  std::uint64_t length = 0;
  std::memcpy(&length, bytes.data(), sizeof(length));
  xdf::Tag tag{};
  if (length < sizeof(tag) || !readBytes(sizeof(tag))) return std::nullopt;
  std::memcpy(&tag, bytes.data(), sizeof(tag));
  if (length - sizeof(tag) > maxSizeOf(tag)) return std::nullopt;
  content_.resize(static_cast<std::size_t>(length) - sizeof(tag));
  if (read(content_) < content_.size()) return std::nullopt;
  return Chunk{tag, content_};
}

void XdfInput::back()
{
  seek(begin_);
}

bool XdfInput::skipToBoundary()
{
  const std::string wanted = boundaryChunk();
  std::array<char, 1 << 16> block{};
  seek(begin_ + 1);
  for (std::size_t kept = 0;;) {
    const std::size_t got = read(std::span(block).subspan(kept));
    const std::string_view bytes(block.data(), kept + got);
    if (const auto found = bytes.find(wanted); found != std::string_view::npos) {
      seek(position_ - bytes.size() + found + wanted.size());
      return true;
    }
    if (got == 0) return false;
    // It may reach into the next block.
    kept = std::min(bytes.size(), wanted.size() - 1);
    std::copy(bytes.end() - static_cast<std::ptrdiff_t>(kept), bytes.end(), block.begin());
  }
}
