// Reads a NumPy array file of format 1.0, little-endian and in C order. Any other file is a Failure with
// ExitCode::recording.
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

class NpyFile {
 public:
  struct Wanted {
    std::string_view type;  // in NumPy's notation
    std::size_t typeSize;
    std::size_t dimensions;  // 1 or 2
  };

  NpyFile(const std::filesystem::path& path, const Wanted& wanted);

  const std::filesystem::path& path() const { return path_; }
  std::uint64_t rows() const { return rows_; }  // according to the header
  std::uint64_t columns() const { return columns_; }
  std::uint64_t rowsInFile() const { return rowsInFile_; }  // complete rows

  // The next numbers, which must be in the file.
  template <class Number>
  void read(std::span<Number> numbers)
  {
    const auto bytes = std::as_writable_bytes(numbers);
    readBytes(bytes);
    if constexpr (std::endian::native == std::endian::big) {
      for (std::size_t i = 0; i < bytes.size(); i += sizeof(Number)) {
        std::reverse(bytes.begin() + i, bytes.begin() + i + sizeof(Number));
      }
    }
  }

 private:
  std::string readHeader();
  void readShape(std::string_view header, std::size_t dimensions);
  void readBytes(std::span<std::byte> bytes);

  std::filesystem::path path_;
  std::ifstream file_;
  std::uint64_t rows_ = 0;
  std::uint64_t columns_ = 1;
  std::uint64_t rowsInFile_ = 0;
};
