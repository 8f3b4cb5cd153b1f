#include "host/recording/NpyFile.h"

#include <fmt/core.h>

#include <array>
#include <charconv>
#include <limits>
#include <system_error>

#include "host/base/Text.h"
#include "host/recording/RecordingParts.h"

NpyFile::NpyFile(const std::filesystem::path& path, const Wanted& wanted)
    : path_(path), file_(openRecording(path))
{
  const std::string head = readHead();
  if (head.find(fmt::format("'descr':'{}'", wanted.type)) == std::string::npos ||
      head.find("'fortran_order':False") == std::string::npos) {
    damagedRecording(path_, fmt::format("holds other numbers than '{}' in C order", wanted.type));
  }
  readShape(head, wanted.dimensions);
  std::error_code error;
  const std::uint64_t size = std::filesystem::file_size(path_, error);
  const auto begin = static_cast<std::uint64_t>(file_.tellg());
  if (error || size < begin) damagedRecording(path_, "can't be read");
  rowsInFile_ = (size - begin) / (columns_ * wanted.typeSize);
}

// Magic text, two bytes of version, two bytes of length, then the text of a Python dictionary; given without
// the blanks.
std::string NpyFile::readHead()
{
  constexpr std::string_view magic = "\x93NUMPY";
  std::array<char, 10> start{};
  file_.read(start.data(), start.size());
  if (!file_ || std::string_view(start.data(), magic.size()) != magic) {
    damagedRecording(path_, "is no NumPy array");
  }
  if (start[6] != 1 || start[7] != 0) damagedRecording(path_, "is a NumPy array of another format than 1.0");
  const auto low = static_cast<unsigned char>(start[8]);
  const auto high = static_cast<unsigned char>(start[9]);
  std::string head(std::size_t{low} + std::size_t{256} * high, '\0');
  file_.read(head.data(), static_cast<std::streamsize>(head.size()));
  if (!file_) damagedRecording(path_, "ends within its head");
  std::erase_if(head, [](char character) { return character == ' ' || character == '\n'; });
  return head;
}

// (ROWS,) or (ROWS,COLUMNS).
void NpyFile::readShape(std::string_view head, std::size_t dimensions)
{
  constexpr std::string_view key = "'shape':(";
  const std::size_t at = head.find(key);
  const std::string_view shape = at == std::string_view::npos ? "" : head.substr(at + key.size());
  const char* next = shape.data();
  const char* const end = next + shape.size();
  const auto readNumber = [&](std::uint64_t& number, char separator) {
    const auto result = std::from_chars(next, end, number);
    if (result.ec != std::errc{} || result.ptr == end || *result.ptr != separator) return false;
    next = result.ptr + 1;
    return true;
  };
  bool isGood = readNumber(rows_, ',');
  if (dimensions == 1) {
    isGood = isGood && next != end && *next == ')';
  } else {
    isGood = isGood && readNumber(columns_, ')') && columns_ >= 1 && columns_ <= maxElements;
  }
  const std::string_view shown = shape.substr(0, shape.find('}'));
  if (!isGood) damagedRecording(path_, fmt::format("has an unusable shape: '({}'", excerpt(shown)));
}

void NpyFile::readBytes(std::span<std::byte> bytes)
{
  // Bytes are what the stream calls char.
  file_.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));  // NOLINT
  if (!file_) damagedRecording(path_, "can't be read to its end", "Check the disk it lies on.");
}
