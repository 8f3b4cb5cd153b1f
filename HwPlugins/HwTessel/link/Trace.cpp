#include "link/Trace.h"

#include <array>
#include <cstdarg>
#include <cstdio>

#include "platform/Platform.h"

void ble_trace(const char* format, ...)
{
  std::array<char, 128> text{};
  std::va_list arguments;
  va_start(arguments, format);
  // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is not seen by this check
  std::vsnprintf(text.data(), text.size(), format, arguments);
  va_end(arguments);

  std::array<char, 32> prefix{};
  std::snprintf(prefix.data(), prefix.size(), "TESL: [%08X] ", static_cast<unsigned>(platform::tickCount()));
  platform::debugOutput(prefix.data());
  platform::debugOutput(text.data());
}

char* ble_hex_dump(std::span<const std::uint8_t> bytes, std::span<char> output)
{
  constexpr std::size_t perByte = 3;
  auto free = output;
  for (const std::uint8_t byte : bytes) {
    if (free.size() <= perByte) break;
    std::snprintf(free.data(), free.size(), "%02X ", static_cast<unsigned>(byte));
    free = free.subspan(perByte);
  }
  return output.data();
}
