#include "host/base/UnbufferedFile.h"

#include <fstream>
#include <iostream>
#include <system_error>

namespace host {

struct UnbufferedFile::Stream {
  std::filesystem::path path;
  std::ofstream file;
  std::ostream* output = &file;
};

UnbufferedFile::UnbufferedFile() : stream_(std::make_unique<Stream>()) {}

UnbufferedFile::~UnbufferedFile() = default;

bool UnbufferedFile::open(const std::filesystem::path& path, Content content)
{
  stream_->path = path;
  stream_->file.rdbuf()->pubsetbuf(nullptr, 0);
  stream_->file.open(
      path, (content == Content::appended ? std::ios_base::app : std::ios_base::out) | std::ios_base::binary);
  return stream_->file.is_open();
}

void UnbufferedFile::useStandardOutput()
{
  stream_->output = &std::cout;
}

bool UnbufferedFile::write(std::string_view bytes)
{
  stream_->output->clear();
  return stream_->output->write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush().good();
}

void UnbufferedFile::cut(std::uint64_t size)
{
  std::error_code ignored;
  if (!std::filesystem::is_regular_file(stream_->path, ignored)) return;
  std::filesystem::resize_file(stream_->path, size, ignored);
  stream_->file.clear();
  stream_->file.seekp(static_cast<std::streamoff>(size));
}

bool UnbufferedFile::close()
{
  if (!stream_->file.is_open()) return true;
  stream_->file.close();
  return !stream_->file.fail();
}

}  // namespace host
