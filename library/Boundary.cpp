#include "library/Boundary.h"

#include <algorithm>
#include <system_error>

namespace library {

void checkText(const char* text, std::size_t size)
{
  if (text == nullptr && size > 0) throw nullArgument("`text`, whose `size` is not 0,");
}

tessel_status copyText(std::string_view source, char* text, std::size_t size, std::size_t* needed)
{
  checkText(text, size);
  if (needed != nullptr) *needed = source.size() + 1;
  if (size <= source.size()) {
    throw Error(TESSEL_ERROR_TOO_SMALL,
                "the text needs " + std::to_string(source.size() + 1) + " bytes, but `size` is " +
                    std::to_string(size) + '.',
                "Call the function again with as many bytes as `*needed` says.");
  }
  std::ranges::copy(source, text);
  text[source.size()] = '\0';
  return TESSEL_OK;
}

void checkSize(std::size_t size, std::size_t sizeOfFirstVersion)
{
  if (size < sizeOfFirstVersion) {
    throw Error(TESSEL_ERROR_ARGUMENT, "the structure's member `size` is too small.",
                "Set it to sizeof of the structure before the call.");
  }
}

std::filesystem::path pathArgument(const char* path, const char* name)
{
  if (path == nullptr) throw nullArgument(name);
  const std::string_view text = path;
  try {
    return std::u8string(text.begin(), text.end());
  } catch (const std::system_error&) {
    throw Error(TESSEL_ERROR_ARGUMENT, std::string(name) + " is not valid UTF-8: " + path,
                "Encode it in UTF-8.");
  }
}

}  // namespace library
