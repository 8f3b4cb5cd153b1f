// A file, FIFO or standard input, read in the pieces in which its bytes come. Threads: one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <system_error>

namespace host {

class InputFile {
 public:
  // "-" is standard input. Waits for the writer of a FIFO.
  explicit InputFile(const std::filesystem::path& path);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // Waits for some bytes, and returns how many came: 0 at the end, and after an error.
  std::size_t read(std::span<std::uint8_t> buffer);
  // Why the file can't be opened or read, if so.
  std::error_code error() const { return error_; }

 private:
  int file_ = -1;
  std::error_code error_;
};

}  // namespace host
