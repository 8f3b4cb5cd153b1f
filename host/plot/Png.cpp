#include "host/plot/Png.h"

#include <stb/stb_image_write.h>

#include <stdexcept>
#include <string_view>

std::vector<std::uint8_t> encodePng(std::span<const std::uint8_t> pixels, std::size_t width,
                                    std::size_t height)
{
  constexpr int channels = 3;
  std::vector<std::uint8_t> file;
  const auto append = [](void* context, void* data, int size) {
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    auto& target = *static_cast<std::vector<std::uint8_t>*>(context);
    target.insert(target.end(), bytes, bytes + size);
  };
  const int columns = static_cast<int>(width);
  if (!stbi_write_png_to_func(append, &file, columns, static_cast<int>(height), channels, pixels.data(),
                              channels * columns)) {
    throw std::runtime_error("no memory to encode a picture");
  }
  return file;
}

std::string base64(std::span<const std::uint8_t> bytes)
{
  constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (; !bytes.empty(); bytes = bytes.subspan(bytes.size() < 3 ? bytes.size() : 3)) {
    const auto byte = [&](std::size_t index) { return index < bytes.size() ? unsigned{bytes[index]} : 0U; };
    const unsigned group = byte(0) << 16 | byte(1) << 8 | byte(2);
    text += digits[group >> 18];
    text += digits[group >> 12 & 63];
    text += bytes.size() > 1 ? digits[group >> 6 & 63] : '=';
    text += bytes.size() > 2 ? digits[group & 63] : '=';
  }
  return text;
}
