#include "host/base/InputFile.h"

#include <fcntl.h>
#include <io.h>

#include <cerrno>

namespace host {

namespace {

constexpr int standardInput = 0;

}  // namespace

InputFile::InputFile(const std::filesystem::path& path)
    : file_(path == "-" ? standardInput : ::_wopen(path.c_str(), _O_RDONLY | _O_BINARY))
{
  if (file_ == standardInput) ::_setmode(file_, _O_BINARY);
  if (file_ < 0) error_ = {errno, std::generic_category()};
}

InputFile::~InputFile()
{
  if (file_ > standardInput) ::_close(file_);
}

std::size_t InputFile::read(std::span<std::uint8_t> buffer)
{
  if (error_) return 0;
  const int count = ::_read(file_, buffer.data(), static_cast<unsigned>(buffer.size()));
  if (count < 0) error_ = {errno, std::generic_category()};
  return count < 0 ? 0 : static_cast<std::size_t>(count);
}

}  // namespace host
