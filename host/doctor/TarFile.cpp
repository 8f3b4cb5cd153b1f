#include "host/doctor/TarFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string>

#include "host/base/Failure.h"

namespace {

constexpr std::size_t blockSize = 512;

// Fields of a header, by their place.
struct Field {
  std::size_t offset, size;
};
constexpr Field nameField{0, 100}, modeField{100, 8}, userField{108, 8}, groupField{116, 8},
    sizeField{124, 12}, modifiedField{136, 12}, checksumField{148, 8}, typeField{156, 1}, magicField{257, 6},
    versionField{263, 2};
static_assert(TarFile::maxName < nameField.size);

using Header = std::array<char, blockSize>;

void put(Header& header, const Field& field, std::string_view text)
{
  std::ranges::copy(text.substr(0, field.size), header.begin() + static_cast<std::ptrdiff_t>(field.offset));
}

// Octal digits with a zero byte after them.
void putNumber(Header& header, const Field& field, std::uint64_t number)
{
  put(header, field, fmt::format("{:0{}o}", number, field.size - 1));
}

std::string headerOf(std::string_view name, std::uint64_t size, std::uint64_t modified)
{
  Header header{};
  put(header, nameField, name);
  putNumber(header, modeField, 0644);
  putNumber(header, userField, 0);
  putNumber(header, groupField, 0);
  putNumber(header, sizeField, size);
  putNumber(header, modifiedField, modified);
  put(header, typeField, "0");
  put(header, magicField, "ustar");
  put(header, versionField, "00");
  // The sum of all bytes, with spaces in its own place.
  put(header, checksumField, "        ");
  std::uint64_t sum = 0;
  for (const char byte : header) {
    sum += static_cast<unsigned char>(byte);
  }
  put(header, checksumField, fmt::format("{:06o}", sum));
  header[checksumField.offset + 6] = '\0';
  return {header.begin(), header.end()};
}

}  // namespace

TarFile::TarFile(const std::filesystem::path& path, bool replaces)
    : part_(path, PartFile::Kind::file, replaces), file_(part_.growing())
{
}

void TarFile::add(std::string_view name, std::string_view bytes, std::chrono::sys_seconds modified)
{
  constexpr std::uint64_t maxSize = std::uint64_t{1} << 33;  // eleven octal digits
  if (name.size() > maxName || bytes.size() >= maxSize) {
    throw Failure(ExitCode::output,
                  fmt::format("{} is too large for an archive, or its name too long.", name),
                  "Send this file separately.");
  }
  const auto seconds = std::max<std::int64_t>(modified.time_since_epoch().count(), 0);
  file_.append(headerOf(name, bytes.size(), static_cast<std::uint64_t>(seconds)));
  file_.append(bytes);
  file_.append(std::string((blockSize - bytes.size() % blockSize) % blockSize, '\0'));
}

void TarFile::close()
{
  file_.append(std::string(2 * blockSize, '\0'));
  file_.close();
  part_.settle();
}
