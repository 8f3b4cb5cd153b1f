#include "host/recording/LineReader.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstring>
#include <system_error>

#include "host/recording/RecordingParts.h"

LineReader::LineReader(const std::filesystem::path& path, std::size_t maxLength)
    : path_(path), maxLength_(maxLength), file_(openInput(path)), buffer_(2 * maxLength)
{
  std::error_code unknown;
  size_ = std::filesystem::file_size(path, unknown);
  if (unknown) size_ = 0;
}

double LineReader::progress() const
{
  const std::uint64_t taken = read_ - (end_ - begin_);
  // The file may grow.
  return size_ == 0 ? 1 : std::min(static_cast<double>(taken) / static_cast<double>(size_), 1.0);
}

std::optional<std::string_view> LineReader::next()
{
  for (;;) {
    const char* const start = buffer_.data() + begin_;
    const std::size_t size = end_ - begin_;
    const auto* newline = static_cast<const char*>(std::memchr(start, '\n', size));
    const std::size_t length = newline ? static_cast<std::size_t>(newline - start) : size;
    if (length > maxLength_)
      damagedRecording(path_, fmt::format("has no newline in the first bytes of line {}", number_ + 1));
    if (newline) {
      begin_ += length + 1;
      ++number_;
      const bool endsWithReturn = length > 0 && start[length - 1] == '\r';
      return std::string_view(start, endsWithReturn ? length - 1 : length);
    }
    if (!fill()) return std::nullopt;
  }
}

bool LineReader::fill()
{
  std::copy(buffer_.data() + begin_, buffer_.data() + end_, buffer_.data());
  end_ -= begin_;
  begin_ = 0;
  file_.read(buffer_.data() + end_, static_cast<std::streamsize>(buffer_.size() - end_));
  checkRead(file_, path_);
  const auto got = static_cast<std::size_t>(file_.gcount());
  end_ += got;
  read_ += got;
  return got > 0;
}
