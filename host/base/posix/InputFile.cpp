#include "host/base/InputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "host/base/posix/Repeated.h"

namespace host {

InputFile::InputFile(const std::filesystem::path& path)
    : file_(path == "-" ? STDIN_FILENO : repeated([&] { return ::open(path.c_str(), O_RDONLY | O_CLOEXEC); }))
{
  if (file_ < 0) error_ = {errno, std::generic_category()};
}

InputFile::~InputFile()
{
  if (file_ > STDIN_FILENO) ::close(file_);
}

std::size_t InputFile::read(std::span<std::uint8_t> buffer)
{
  if (error_) return 0;
  const ssize_t count = repeated([&] { return ::read(file_, buffer.data(), buffer.size()); });
  if (count < 0) error_ = {errno, std::generic_category()};
  return count < 0 ? 0 : static_cast<std::size_t>(count);
}

}  // namespace host
