// A NumPy array in a file of format 1.0, numbers with the low byte first, in C order: its head, checked, and
// then its numbers. A file that is something else is a Failure with ExitCode::recording.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class NpyFile {
 public:
  struct Wanted {
    std::string_view type;  // as NumPy calls it
    std::size_t typeSize;
    std::size_t dimensions;  // 1 or 2
  };

  NpyFile(const std::filesystem::path& path, const Wanted& wanted);

  const std::filesystem::path& path() const { return path_; }
  std::uint64_t rows() const { return rows_; }  // as the head says
  std::uint64_t columns() const { return columns_; }
  std::uint64_t rowsInFile() const { return rowsInFile_; }  // whole ones

  // The first numbers, so many. To be called once.
  template <class Number>
  std::vector<Number> read(std::size_t count)
  {
    std::vector<Number> numbers(count);
    const auto bytes = std::as_writable_bytes(std::span(numbers));
    readBytes(bytes);
    if constexpr (std::endian::native == std::endian::big) {
      for (std::size_t i = 0; i < bytes.size(); i += sizeof(Number)) {
        std::reverse(bytes.begin() + i, bytes.begin() + i + sizeof(Number));
      }
    }
    return numbers;
  }

 private:
  std::string readHead();
  void readShape(std::string_view head, std::size_t dimensions);
  void readBytes(std::span<std::byte> bytes);

  std::filesystem::path path_;
  std::ifstream file_;
  std::uint64_t rows_ = 0;
  std::uint64_t columns_ = 1;
  std::uint64_t rowsInFile_ = 0;
};
