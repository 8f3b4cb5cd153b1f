#include "host/recording/NpyFile.h"

#include <fmt/core.h>

#include <array>
#include <charconv>
#include <limits>
#include <system_error>

#include "host/base/Text.h"
#include "host/recording/RecordingParts.h"

NpyFile::NpyFile(const std::filesystem::path& path, const Wanted& wanted)
    : path_(path), file_(openInput(path))
{
  const std::string header = readHeader();
  if (header.find(fmt::format("'descr':'{}'", wanted.type)) == std::string::npos ||
      header.find("'fortran_order':False") == std::string::npos) {
    damagedRecording(path_, fmt::format("contains other numbers than '{}' in C order", wanted.type));
  }
  readShape(header, wanted.dimensions);
  std::error_code error;
  const std::uint64_t size = std::filesystem::file_size(path_, error);
  const auto begin = static_cast<std::uint64_t>(file_.tellg());
  if (error || size < begin) damagedRecording(path_, "can't be read");
  rowsInFile_ = (size - begin) / (columns_ * wanted.typeSize);
}

// Magic string, two bytes of version, two bytes of length, then the text of a Python dictionary, which is
// returned without spaces.
std::string NpyFile::readHeader()
{
  constexpr std::string_view magic = "\x93NUMPY";
  std::array<char, 10> start{};
  file_.read(start.data(), start.size());
  checkRead(file_, path_);
  if (!file_ || std::string_view(start.data(), magic.size()) != magic) {
    damagedRecording(path_, "is not a NumPy array");
  }
  if (start[6] != 1 || start[7] != 0) damagedRecording(path_, "is a NumPy array of another format than 1.0");
  const auto low = static_cast<unsigned char>(start[8]);
  const auto high = static_cast<unsigned char>(start[9]);
  std::string header(std::size_t{low} + std::size_t{256} * high, '\0');
  file_.read(header.data(), static_cast<std::streamsize>(header.size()));
  checkRead(file_, path_);
  if (!file_) damagedRecording(path_, "ends within its header");
  std::erase_if(header, [](char character) { return character == ' ' || character == '\n'; });
  return header;
}

// (ROWS,) or (ROWS,COLUMNS).
void NpyFile::readShape(std::string_view header, std::size_t dimensions)
{
  constexpr std::string_view key = "'shape':(";
  const std::size_t at = header.find(key);
  const std::string_view shape = at == std::string_view::npos ? "" : header.substr(at + key.size());
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
  // The stream takes char.
  file_.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));  // NOLINT
  if (!file_) damagedRecording(path_, "can't be read completely", "Check the disk.");
}
