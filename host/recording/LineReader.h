// Reads the lines of an untrusted file of any size in bounded memory.
// Threads: one. Errors: a Failure with ExitCode::recording.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string_view>
#include <vector>

class LineReader {
 public:
  // A longer line is an error.
  LineReader(const std::filesystem::path& path, std::size_t maxLength);

  // The next line without its newline, valid until the next call; empty if no complete line is left.
  std::optional<std::string_view> next();

  // Of the line that next() returned, from 1.
  std::size_t number() const { return number_; }
  bool hasRest() const { return begin_ < end_; }
  // How much of the file was read, from 0 to 1.
  double progress() const;

 private:
  bool fill();

  std::filesystem::path path_;
  std::size_t maxLength_;
  std::ifstream file_;
  std::vector<char> buffer_;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::size_t number_ = 0;
  std::uint64_t size_ = 0;  // of the file when it was opened
  std::uint64_t read_ = 0;  // into the buffer so far
};
